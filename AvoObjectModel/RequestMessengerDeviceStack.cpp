#include "AvoObjectModel/RequestMessengerDeviceStack.h"

#include "Avo/Logging.h"

#include <cmath> // std::isnan

namespace Avo {

RequestMessengerDeviceStack::~RequestMessengerDeviceStack() = default;

RemoteRequestMessengerDeviceStack::RemoteRequestMessengerDeviceStack(
    Polt::IDeviceStackClient& client)
    : m_client(client) {}

RemoteRequestMessengerDeviceStack::~RemoteRequestMessengerDeviceStack() = default;

void RemoteRequestMessengerDeviceStack::SetResponseHandler(
    Polt::IDeviceStackClient::IResponseHandler* handler) {
  m_client.SetResponseHandler(handler, 0);
}

std::string RemoteRequestMessengerDeviceStack::RegisterApplicationAsync(const std::string& first,
                                                                        const std::string& second,
                                                                        const std::string& third) {
  return m_client.RegisterApplication(first, second, third);
}

std::string RemoteRequestMessengerDeviceStack::ValueText(const VELVALUE& value,
                                                         bool internalFormat) {
  // The serialiser has no text for a NaN float; the device stack reads these
  // two fixed forms as "no number".
  if (value.ivt == ivtFloat && std::isnan(value.dblVal)) {
    return internalFormat ? "3.7:nan" : "nan";
  }
  std::string text;
  value.Serialize(text, internalFormat);
  return text;
}

std::string RemoteRequestMessengerDeviceStack::SetValueAsync(unsigned long id,
                                                             const VELVALUE& value, bool flag) {
  // Read the format once, so that one write never mixes both forms.
  const bool internalFormat = m_internalValueFormat.load();
  return m_client.SetValue(id, ValueText(value, internalFormat), flag, nullptr);
}

std::string RemoteRequestMessengerDeviceStack::GetValueAsync(unsigned long id, bool flag) {
  return m_client.GetValue(id, flag);
}

std::string RemoteRequestMessengerDeviceStack::RequestAsync(const std::string& request) {
  return m_client.Request(request);
}

std::string
RemoteRequestMessengerDeviceStack::SetConfigurationAsync(const std::string& configuration) {
  return m_client.SendConfiguration(configuration);
}

bool RemoteRequestMessengerDeviceStack::SetConfiguration(unsigned long id,
                                                         const Properties& properties, bool flag) {
  return m_client.SetConfiguration(id, properties, flag);
}

bool RemoteRequestMessengerDeviceStack::GetDeviceConfig(std::string& config, bool flag) {
  return m_client.GetDeviceConfig(config, flag);
}

bool RemoteRequestMessengerDeviceStack::SetDeviceConfig(
    const std::map<std::string, std::string>& config) {
  return m_client.SetDeviceConfig(config);
}

bool RemoteRequestMessengerDeviceStack::EnableNativeFormat() {
  return m_client.SetValueFormat("Native");
}

void RemoteRequestMessengerDeviceStack::EnableInternalValueFormat() {
  m_client.SetInternalValueFormat(true);
  m_internalValueFormat = true;
  AVO_LOG_DEBUG("Internal value format now enabled.");
}

void RemoteRequestMessengerDeviceStack::EnableDefaultValueFormat() {
  m_client.SetInternalValueFormat(false);
  m_internalValueFormat = false;
}

} // namespace Avo
