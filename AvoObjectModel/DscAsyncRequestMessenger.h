#pragma once
/// @file
/// Avo::DscAsyncRequestMessenger: blocking requests over the device stack's
/// asynchronous request and response traffic.

#include "Avo/Function.h" // Avo::BoolReader
#include "AvoObjectModel/Docket.h"
#include "AvoObjectModel/Export.h"
#include "AvoObjectModel/RequestMessengerDeviceStack.h"
#include "Polt/IDeviceStackClient.h"
#include "VelValue.h"

#include <boost/date_time/posix_time/posix_time_types.hpp> // boost::posix_time::time_duration
#include <boost/optional/optional.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_types.hpp> // boost::unique_lock
#include <boost/thread/mutex.hpp>

#include <cstddef> // std::size_t
#include <map>
#include <memory>
#include <string>

namespace Avo {

/// Turns the device stack's asynchronous requests into blocking calls.
///
/// Each request returns a request identifier at once; the caller's thread then
/// sleeps until the answer with that identifier has arrived through one of the
/// response handlers (on the device stack client's delivery thread), or until
/// the timeout, and retries a request that got no identifier or no answer in
/// time. The result is a Docket: answered with the reply and error state, or a
/// default docket when there was no answer.
///
/// The owner calls SetAsResponseHandler before the first blocking request and
/// UnsetAsResponseHandler before destroying the messenger. Any number of
/// threads may call the operations at once.
///
/// Failures of the blocking requests: a request that gets an empty identifier
/// is logged ("Request ID is empty, retrying", ERROR) and sent again; one
/// whose answer does not come in time is logged ("No response received for
/// ID ... with timeout ..., retrying", ERROR) and sent again; after the last
/// attempt "Maximum number of retries (n) reached." is logged at ERROR and a
/// default docket returned. An answer that carries an error is logged
/// ("KEL error for request ...", ERROR) and returned as an answered docket
/// whose reply is not valid, with the error's message. Nothing throws.
class AVO_OBJECTMODEL_EXPORT DscAsyncRequestMessenger
    : public Polt::IDeviceStackClient::IResponseHandler {
public:
  /// Timeouts of the blocking requests.
  using time_duration = boost::posix_time::time_duration;
  /// Properties of an object, by kind.
  using Properties = RequestMessengerDeviceStack::Properties;

  /// messenger must outlive this object. A zero timeout given to an operation
  /// means defaultTimeout; every request is tried at most maxRetries + 1 times
  /// (counted in an unsigned int, so 4294967295 retries make no attempt at all).
  DscAsyncRequestMessenger(RequestMessengerDeviceStack& messenger, time_duration defaultTimeout,
                           unsigned int maxRetries);
  /// Does not unregister: call UnsetAsResponseHandler first.
  ~DscAsyncRequestMessenger() override;

  DscAsyncRequestMessenger(const DscAsyncRequestMessenger&) = delete;
  DscAsyncRequestMessenger& operator=(const DscAsyncRequestMessenger&) = delete;

  /// Registers an application (the three texts are passed through); empty reply.
  Docket RegisterApplication(const std::string& first, const std::string& second,
                             const std::string& third);
  /// Writes a value; the reply is the value text of the answer.
  Docket SetValue(unsigned long id, const VELVALUE& value, bool flag);
  /// Reads a value; the reply is its value text (VELVALUE::Deserialize reads it).
  Docket GetValue(unsigned long id, bool flag);
  /// Sends a free-form request; the reply is the response text. A zero timeout
  /// means the default timeout; the timeout applies to every attempt.
  Docket Request(const std::string& request, time_duration timeout);
  /// Sends a configuration text; empty reply. Stops waiting, without further
  /// attempts, as soon as isStillRelevant returns false.
  Docket SetConfiguration(const std::string& configuration, time_duration timeout,
                          const BoolReader& isStillRelevant);

  /// Writes a value without waiting for the answer, which is then dropped.
  /// True when the request could be sent (it got a request identifier).
  bool SetValueAndIgnoreResponse(unsigned long id, const VELVALUE& value, bool flag);

  /// Sets properties of an object synchronously. Always answered; the reply is
  /// valid exactly when the device stack accepted the properties.
  Docket SetConfiguration(unsigned long id, const Properties& properties, bool flag);
  /// Reads the device configuration text into config, synchronously; false
  /// when the device stack refuses.
  bool GetDeviceConfig(std::string& config, bool flag);
  /// Writes device configuration entries, synchronously; false when the
  /// device stack refuses.
  bool SetDeviceConfig(const std::map<std::string, std::string>& config);
  /// Makes this messenger the receiver of the device stack's answers.
  void SetAsResponseHandler();
  /// Stops the device stack from delivering answers to this messenger.
  void UnsetAsResponseHandler();
  /// Selects the device stack's native value format; false when the device
  /// stack refuses.
  bool EnableNativeFormat();

  /// Number of requests that are waiting for their answer right now.
  std::size_t GetOutstandingRequestCount() const;

  /// Response handlers, called by the device stack client on its delivery
  /// thread. Each stores the answer in the docket of its request identifier and
  /// wakes the waiters; an answer that nobody waits for is logged and dropped.
  void OnResponse(void* context, const std::string& requestId, const std::string& response,
                  const Polt::IDeviceStackClient::IError& error) override;
  void OnRegisterApplication(void* context, const std::string& requestId,
                             const Polt::IDeviceStackClient::IError& error) override;
  void OnGetConfiguration(void* context, const std::string& requestId, const std::string& config,
                          const Polt::IDeviceStackClient::IError& error) override;
  void OnSetConfiguration(void* context, const std::string& requestId,
                          const Polt::IDeviceStackClient::IError& error) override;
  void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                  const std::string& urn, const std::string& value,
                  const Polt::IDeviceStackClient::IError& error) override;
  void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                  const std::string& urn, const std::string& value,
                  const Polt::IDeviceStackClient::IError& error) override;

private:
  template <class DoAsyncRequest>
  Docket SynchronizeRequest(const DoAsyncRequest& doAsyncRequest, time_duration timeout,
                            const BoolReader& isStillRelevant);
  boost::optional<Docket> WaitForDocket(boost::unique_lock<boost::mutex>& lock,
                                        const std::string& requestId, time_duration timeout,
                                        const BoolReader& isStillRelevant);
  bool WaitForAnswer(boost::unique_lock<boost::mutex>& lock, const std::string& requestId,
                     time_duration timeout, const BoolReader& isStillRelevant);
  void UpdateDocketList(const std::string& requestId, const std::string& reply,
                        const Polt::IDeviceStackClient::IError& error);

  RequestMessengerDeviceStack& m_messenger;
  time_duration m_defaultTimeout;
  unsigned int m_maxAttempts;
  mutable boost::mutex m_mutex;          // guards m_dockets and every docket listed there
  boost::condition_variable m_condition; // signalled when a docket has been filled
  std::map<std::string, std::weak_ptr<Docket>> m_dockets;
};

} // namespace Avo
