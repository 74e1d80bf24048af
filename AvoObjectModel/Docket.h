#pragma once
/// @file
/// Avo::Docket: the outcome of one request to the device stack.

#include "AvoObjectModel/Export.h"

#include <string>
#include <utility> // std::move

namespace Avo {

/// The record of one request's outcome: the reply payload, the device stack's
/// error message, and whether the request was answered and without error.
///
/// A default docket (not answered) is also what a blocking request returns
/// when it got no answer, was aborted or ran out of retries, so callers test
/// IsAnswered() first and never infer it from the strings. A docket has no
/// lock of its own: whoever shares it between threads guards it.
class AVO_OBJECTMODEL_EXPORT Docket {
public:
  /// Empty strings, not answered, reply not valid.
  Docket() = default;

  /// A docket with all four fields set.
  Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered)
      : m_reply(std::move(reply)), m_deliveryError(std::move(deliveryError)),
        m_replyValid(replyValid), m_answered(answered) {}

  Docket(const Docket&) = default;                ///< Copies all four fields.
  Docket(Docket&&) noexcept = default;            ///< Takes the strings over.
  Docket& operator=(const Docket&) = default;     ///< Copies all four fields.
  Docket& operator=(Docket&&) noexcept = default; ///< Takes the strings over.
  ~Docket() = default;

  /// Overwrites all four fields at once.
  void SetContent(std::string reply, std::string deliveryError, bool replyValid, bool answered) {
    m_reply = std::move(reply);
    m_deliveryError = std::move(deliveryError);
    m_replyValid = replyValid;
    m_answered = answered;
  }

  /// True when the answer carried no error.
  bool IsReplyValid() const { return m_replyValid; }
  /// True once an answer has been stored.
  bool IsAnswered() const { return m_answered; }
  /// The payload of the answer: a response, value or configuration text, or empty.
  const std::string& ReadReply() const { return m_reply; }
  /// The device stack's error message of the answer (normally empty without an error).
  const std::string& ReadDeliveryError() const { return m_deliveryError; }

private:
  std::string m_reply;
  std::string m_deliveryError;
  bool m_replyValid = false;
  bool m_answered = false;
};

} // namespace Avo
