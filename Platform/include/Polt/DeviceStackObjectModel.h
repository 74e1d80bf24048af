#pragma once
/// @file
/// Polt::DeviceStackObjectModel: what a device stack keeps and how its
/// requests change it, without any transport. The simulated device stack and
/// the device stack service both answer from one.

#include "Avo/PlatformExport.h"
#include "Polt/DeviceStackError.h"
#include "Polt/IDeviceStackClient.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace Polt {

/// The objects of the object model (identifier -> value text, URN and
/// properties), the configuration texts and application registrations
/// received, and the device configuration entries.
///
/// Value texts are stored as given; checking them is the owner's business.
/// Not thread-safe: the owner serialises every access.
class AVO_PLATFORM_EXPORT DeviceStackObjectModel {
public:
  /// Properties of an object, by kind.
  using PropertyMap = std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property>;
  /// The three texts of one application registration, in request order.
  using ApplicationRegistration = std::array<std::string, 3>;

  /// One object of the object model.
  struct Object {
    std::string value;      ///< value text
    std::string urn;        ///< the object's URN
    PropertyMap properties; ///< properties set on the object
  };

  /// Error code of an answer for an object that does not exist.
  static constexpr int UnknownObjectErrorCode = 2;

  /// The error that answers a request (operation, e.g. "GetValue") for an
  /// object that does not exist: code 2, "Unknown object",
  /// "GetValue(7)", "Object 7 does not exist".
  static DeviceStackError UnknownObject(const std::string& operation, unsigned long id);

  /// Creates or replaces an object (its properties are kept when it existed).
  void SetObject(unsigned long id, std::string valueText, std::string urn);
  /// The object with this identifier; nullptr when there is none.
  const Object* FindObject(unsigned long id) const;
  /// Writes the value text of an existing object; false (and no change) when
  /// there is no such object.
  bool SetValue(unsigned long id, std::string valueText);
  /// Sets the given properties of an existing object (others are kept);
  /// false (and no change) when there is no such object.
  bool SetProperties(unsigned long id, const PropertyMap& properties);

  /// Appends a configuration text.
  void AddConfiguration(std::string configuration);
  /// Appends an application registration.
  void AddRegistration(ApplicationRegistration registration);
  /// Sets the given device configuration entries (others are kept).
  void SetDeviceConfigEntries(const std::map<std::string, std::string>& entries);
  /// The device configuration as "key=value" lines (each ending in a line
  /// feed), in key order.
  std::string GetDeviceConfigText() const;

  /// Whether a value format name is accepted: any name but the empty one.
  static bool IsValidValueFormat(const std::string& format);

  /// Every object, by identifier.
  const std::map<unsigned long, Object>& GetObjects() const { return m_objects; }
  /// The configuration texts received, in order.
  const std::vector<std::string>& GetConfigurations() const { return m_configurations; }
  /// The application registrations received, in order.
  const std::vector<ApplicationRegistration>& GetRegistrations() const { return m_registrations; }
  /// The device configuration entries.
  const std::map<std::string, std::string>& GetDeviceConfigEntries() const {
    return m_deviceConfig;
  }

private:
  std::map<unsigned long, Object> m_objects;
  std::vector<std::string> m_configurations;
  std::vector<ApplicationRegistration> m_registrations;
  std::map<std::string, std::string> m_deviceConfig;
};

} // namespace Polt
