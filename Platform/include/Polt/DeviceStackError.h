#pragma once
/// Polt::DeviceStackError: the error state that comes with every answer of
/// the device stack.

#include "Polt/IDeviceStackClient.h"

#include <string>

namespace Polt {

/// A concrete IDeviceStackClient::IError. A default-constructed one is "no
/// error": code 0 and empty texts, as every successful answer carries.
class DeviceStackError final : public IDeviceStackClient::IError {
public:
  /// No error.
  DeviceStackError() = default;
  /// An error (code non-zero) with its class, what it concerns, and the
  /// message meant for the requester.
  DeviceStackError(int code, std::string description, std::string details, std::string message);

  int GetCode() const override;
  const std::string& GetDescription() const override;
  const std::string& GetDetails() const override;
  std::string GetMessage() const override;

private:
  int m_code = 0;
  std::string m_description;
  std::string m_details;
  std::string m_message;
};

} // namespace Polt
