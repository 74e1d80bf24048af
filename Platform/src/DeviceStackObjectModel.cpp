#include "Polt/DeviceStackObjectModel.h"

#include <utility> // std::move

namespace Polt {

DeviceStackError DeviceStackObjectModel::UnknownObject(const std::string& operation,
                                                       unsigned long id) {
  const std::string object = std::to_string(id);
  return DeviceStackError(UnknownObjectErrorCode, "Unknown object", operation + "(" + object + ")",
                          "Object " + object + " does not exist");
}

void DeviceStackObjectModel::SetObject(unsigned long id, std::string valueText, std::string urn) {
  Object& object = m_objects[id];
  object.value = std::move(valueText);
  object.urn = std::move(urn);
}

const DeviceStackObjectModel::Object* DeviceStackObjectModel::FindObject(unsigned long id) const {
  const auto object = m_objects.find(id);
  return object == m_objects.end() ? nullptr : &object->second;
}

bool DeviceStackObjectModel::SetValue(unsigned long id, std::string valueText) {
  const auto object = m_objects.find(id);
  if (object == m_objects.end()) {
    return false;
  }
  object->second.value = std::move(valueText);
  return true;
}

bool DeviceStackObjectModel::SetProperties(unsigned long id, const PropertyMap& properties) {
  const auto object = m_objects.find(id);
  if (object == m_objects.end()) {
    return false;
  }
  for (const auto& property : properties) {
    object->second.properties[property.first] = property.second;
  }
  return true;
}

void DeviceStackObjectModel::AddConfiguration(std::string configuration) {
  m_configurations.push_back(std::move(configuration));
}

void DeviceStackObjectModel::AddRegistration(ApplicationRegistration registration) {
  m_registrations.push_back(std::move(registration));
}

void DeviceStackObjectModel::SetDeviceConfigEntries(
    const std::map<std::string, std::string>& entries) {
  for (const auto& entry : entries) {
    m_deviceConfig[entry.first] = entry.second;
  }
}

std::string DeviceStackObjectModel::GetDeviceConfigText() const {
  std::string config;
  for (const auto& entry : m_deviceConfig) {
    config += entry.first;
    config += '=';
    config += entry.second;
    config += '\n';
  }
  return config;
}

bool DeviceStackObjectModel::IsValidValueFormat(const std::string& format) {
  return !format.empty();
}

} // namespace Polt
