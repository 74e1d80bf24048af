#pragma once
/// @file
/// The device stack as the request messenger sees it: an abstract interface
/// and its implementation over the device stack client.

#include "AvoObjectModel/Export.h"
#include "Polt/IDeviceStackClient.h"
#include "VelValue.h"

#include <boost/core/noncopyable.hpp>

#include <atomic>
#include <map>
#include <string>

namespace Avo {

/// The operations through which the request messenger reaches the device
/// stack. Every ...Async operation returns the request identifier that the
/// device stack assigned (empty when the request could not be sent); its answer
/// arrives later through the registered response handler.
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions): boost::noncopyable
class AVO_OBJECTMODEL_EXPORT RequestMessengerDeviceStack : private boost::noncopyable {
public:
  /// Properties of an object, by kind.
  using Properties =
      std::map<Polt::IDeviceStackClient::PropertyType, Polt::IDeviceStackClient::Property>;

  virtual ~RequestMessengerDeviceStack();

  /// Registers the receiver of answers; nullptr unregisters.
  virtual void SetResponseHandler(Polt::IDeviceStackClient::IResponseHandler* handler) = 0;
  /// Registers an application; answered through OnRegisterApplication.
  virtual std::string RegisterApplicationAsync(const std::string& first, const std::string& second,
                                               const std::string& third) = 0;
  /// Writes a value; answered through OnSetValue.
  virtual std::string SetValueAsync(unsigned long id, const VELVALUE& value, bool flag) = 0;
  /// Reads a value; answered through OnGetValue.
  virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
  /// Sends a free-form request; answered through OnResponse.
  virtual std::string RequestAsync(const std::string& request) = 0;
  /// Sends a configuration text; answered through OnSetConfiguration.
  virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
  /// Sets properties of an object synchronously; true on success.
  virtual bool SetConfiguration(unsigned long id, const Properties& properties, bool flag) = 0;
  /// Reads the device configuration text into config.
  virtual bool GetDeviceConfig(std::string& config, bool flag) = 0;
  /// Writes device configuration entries.
  virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
  /// Selects the device stack's native value format.
  virtual bool EnableNativeFormat() = 0;
  /// Switches the internal value format on.
  virtual void EnableInternalValueFormat() = 0;
  /// Switches the internal value format off (the initial state).
  virtual void EnableDefaultValueFormat() = 0;
};

/// RequestMessengerDeviceStack over a device stack client (not owned). It turns
/// a VELVALUE into the text that the client sends, in the internal value format
/// when that is switched on; everything else is forwarded unchanged, and so
/// are the client's results and exceptions (an empty request identifier or
/// false when the client refuses). EnableNativeFormat selects the format
/// named "Native".
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions): noncopyable base
class AVO_OBJECTMODEL_EXPORT RemoteRequestMessengerDeviceStack
    : public RequestMessengerDeviceStack {
public:
  /// The client must outlive the adapter.
  explicit RemoteRequestMessengerDeviceStack(Polt::IDeviceStackClient& client);
  ~RemoteRequestMessengerDeviceStack() override;

  void SetResponseHandler(Polt::IDeviceStackClient::IResponseHandler* handler) override;
  std::string RegisterApplicationAsync(const std::string& first, const std::string& second,
                                       const std::string& third) override;
  std::string SetValueAsync(unsigned long id, const VELVALUE& value, bool flag) override;
  std::string GetValueAsync(unsigned long id, bool flag) override;
  std::string RequestAsync(const std::string& request) override;
  std::string SetConfigurationAsync(const std::string& configuration) override;
  bool SetConfiguration(unsigned long id, const Properties& properties, bool flag) override;
  bool GetDeviceConfig(std::string& config, bool flag) override;
  bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
  bool EnableNativeFormat() override;
  void EnableInternalValueFormat() override;
  void EnableDefaultValueFormat() override;

  /// The text that SetValueAsync sends for value in the given format: "3.7:nan"
  /// (internal) or "nan" (default) for a NaN float, otherwise VELVALUE::Serialize.
  static std::string ValueText(const VELVALUE& value, bool internalFormat);

private:
  Polt::IDeviceStackClient& m_client;
  // Format switches and value writes may come from different threads.
  std::atomic<bool> m_internalValueFormat{false};
};

} // namespace Avo
