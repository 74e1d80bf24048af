#pragma once
// What the service does with one decoded request: the change to the object
// model and the answer. No I/O; the server saves and sends.

#include "Polt/DeviceStackObjectModel.h"
#include "Polt/DeviceStackProtocol.h"

#include <string>

namespace DeviceStackd {

/// The value-format switches of one connection; each client has its own.
struct ConnectionFormat {
  bool internalValueFormat = false;
  std::string valueFormat; ///< the name last selected ("" at first)
};

/// The answer to a request, and whether the object model changed (and must
/// be saved before the answer goes out).
struct HandledRequest {
  Polt::DeviceStackProtocol::Answer answer;
  bool changed = false;
};

/// Answers requests from one object model.
class RequestHandler {
public:
  explicit RequestHandler(Polt::DeviceStackObjectModel& model) : m_model(model) {}

  /// Carries the request out on the model (or the connection's format).
  HandledRequest Handle(const Polt::DeviceStackProtocol::Request& request,
                        ConnectionFormat& format);

private:
  Polt::DeviceStackObjectModel& m_model;
};

} // namespace DeviceStackd
