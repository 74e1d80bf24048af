#pragma once
/// @file
/// Polt::DeviceStackError: the error state that comes with every answer of
/// the device stack.

#include "Avo/PlatformExport.h"
#include "Polt/IDeviceStackClient.h"

#include <string>

namespace Polt {

/// A concrete IDeviceStackClient::IError. A default-constructed one is "no
/// error": code 0 and empty texts, as every successful answer carries.
class AVO_PLATFORM_EXPORT DeviceStackError final : public IDeviceStackClient::IError {
public:
  /// No error.
  DeviceStackError() = default;
  /// An error (code non-zero) with its class, what it concerns, and the
  /// message meant for the requester.
  DeviceStackError(int code, std::string description, std::string details, std::string message);

  /// The code given at construction; 0 for no error.
  int GetCode() const override;
  /// The error's class.
  const std::string& GetDescription() const override;
  /// What the error concerns.
  const std::string& GetDetails() const override;
  /// The message meant for the requester.
  std::string GetMessage() const override;

private:
  int m_code = 0;
  std::string m_description;
  std::string m_details;
  std::string m_message;
};

} // namespace Polt
