#pragma once
/// @file
/// Object-model identifiers of the KNX device, its logical devices, their
/// communication objects (CO) and parameters and the app host's app-control
/// objects; and, per DPT main number, the value type, subtype and default
/// value of the values it carries.

#include "Avo/BoundedInt.h"
#include "AvoObjectModel/Export.h"
#include "VelValue.h"

#include <boost/optional.hpp>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace Avo {

/// Name of the app that the app connector host runs, shared with other
/// programs of the device.
inline constexpr char kConnectorAppName[] = "ConnectorApp";
/// Name of the configuration entry of the device's app configuration, shared
/// with other programs of the device.
inline constexpr char kYonConfigName[] = "YonConfig";
/// The device stack's object-model configuration file.
inline constexpr char kObjectModelConfigPath[] = "/opt/userdata/devicestack/avoOM/config.json";

struct LogicalDeviceIdTag {};
/// A logical KNX device of the device: 1 or 2.
using LogicalDeviceId = BoundedInt<int, 1, 2, LogicalDeviceIdTag>;

/// A flat object-model identifier. 32 bits on every platform, so identifiers
/// and the arithmetic on them are the same on the 32-bit target and elsewhere.
using ObjModelId = std::uint32_t;

/// A DPT as one number: main number in the upper 16 bits, sub number in the
/// lower 16 bits (DPT 9.001 is 0x00090001).
using PackedDpt = std::uint32_t;

/// Main number of a packed DPT.
constexpr std::uint32_t MainNumberOf(PackedDpt dpt) { return dpt >> 16; }
/// Sub number of a packed DPT.
constexpr std::uint32_t SubNumberOf(PackedDpt dpt) { return dpt & 0xFFFFU; }

/// The kinds of parameters of a logical device.
enum class ParameterType : std::uint8_t {
  Ip = 0,     ///< IP parameters, numbers 0..100
  Number = 1, ///< number parameters, numbers 0..200
  Text = 2    ///< text parameters, numbers 0..500
};

/// Prints the type's number (0, 1, 2), as log lines print numbers.
inline std::ostream& operator<<(std::ostream& os, ParameterType type) {
  return os << static_cast<unsigned>(type);
}

/// Where things sit in the object-model number space, and what a number
/// denotes. Static functions only; no state.
///
/// Layout, per logical device ld (block = 100000):
///
/// | ID                                         | denotes                             |
/// |--------------------------------------------|-------------------------------------|
/// | 1000                                       | the device                          |
/// | 100000 * ld                                | logical KNX device ld               |
/// | 100000 * ld + 20                           | app control channel                 |
/// | 100000 * ld + 21 .. 24                     | state, event, alive heartbeat, app debug |
/// | 100000 * ld + 98 + 2 * co                  | channel of CO co (co < 4096)        |
/// | 100000 * ld + 60000 + 10000 * type + 2 * n | channel of parameter n of type      |
/// | 100000 * (ld + 1) - 1                      | last ID of logical device ld        |
///
/// The value of a channel is the channel + 1.
///
/// Channels are even and values odd. The classifying functions keep their
/// established arithmetic, including its blind spots, because identifiers
/// already handed out by the device stack are read back through them:
/// - CO 0 has a channel (offset 98), but IsCoChannel does not recognise it.
/// - GetCoNumberFromObjModelId takes the ID modulo ld * 100000 and does not
///   check that the ID lies in ld's block.
/// - IsParameterChannel has no parity test (values pass as well), works on
///   the ID modulo 100000 modulo 60000, and does not recognise number 0 of
///   the IP and number parameters.
/// - GetParameterNumberFromObjModelId answers in 8 bits (text parameters
///   256..500 come back modulo 256).
class AVO_OBJECTMODEL_EXPORT KnxKelMapping {
public:
  KnxKelMapping() = delete;

  // --- The device and its logical devices ---------------------------------

  /// 1000.
  static ObjModelId GetDeviceObjModelId();
  /// 1000: the KNX device is the device object.
  static ObjModelId GetKnxDeviceObjModelId();
  /// 100000 * ld.
  static ObjModelId GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld);
  /// 100000 * (ld + 1) - 1.
  static ObjModelId GetLastObjModelId(LogicalDeviceId ld);
  /// True from the first block on (id >= 100000), with no upper bound.
  static bool IsAnyLogicalKnxDeviceId(ObjModelId id);
  /// ld for 100000 <= id < 300000 (id / 100000); none otherwise.
  static boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(ObjModelId id);

  // --- App host app control -----------------------------------------------

  /// 100000 * ld + 20.
  static ObjModelId GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld);
  /// Channel + 1.
  static ObjModelId GetAppHostAppControlStateObjModelId(LogicalDeviceId ld);
  /// Channel + 2.
  static ObjModelId GetAppHostAppControlEventObjModelId(LogicalDeviceId ld);
  /// Channel + 3.
  static ObjModelId GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld);
  /// Channel + 4.
  static ObjModelId GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld);
  /// id == 100000 * ld + 21.
  static bool IsAppHostAppControlState(ObjModelId id, LogicalDeviceId ld);
  /// id == 100000 * ld + 22.
  static bool IsAppHostAppControlEvent(ObjModelId id, LogicalDeviceId ld);
  /// id == 100000 * ld + 23.
  static bool IsAppHostAppControlAliveHeartbeat(ObjModelId id, LogicalDeviceId ld);
  /// id == 100000 * ld + 24.
  static bool IsAppHostAppControlAppDebug(ObjModelId id, LogicalDeviceId ld);

  // --- Communication objects ----------------------------------------------

  /// 100000 * ld + 98 + 2 * co; none for co >= 4096. co 0 is accepted.
  static boost::optional<ObjModelId> GetCoChannelObjModelId(std::uint16_t co, LogicalDeviceId ld);
  /// channelId + 1 when IsCoChannel(channelId); none otherwise.
  static boost::optional<ObjModelId> GetCoValueObjModelId(ObjModelId channelId);
  /// The value ID of CO co of ld; none where the channel is none or not
  /// recognised (co 0).
  static boost::optional<ObjModelId> GetCoValueObjModelId(std::uint16_t co, LogicalDeviceId ld);
  /// id >= 100000, even, and its offset in its block lies in 100..8289.
  static bool IsCoChannel(ObjModelId id);
  /// id != 0 and IsCoChannel(id - 1).
  static bool IsCoValue(ObjModelId id);
  /// The CO number of a CO value ID (odd IDs only; channels give none),
  /// computed modulo ld * 100000.
  static boost::optional<std::uint16_t> GetCoNumberFromObjModelId(ObjModelId id,
                                                                  LogicalDeviceId ld);

  // --- Parameters ---------------------------------------------------------

  /// 100 (IP), 200 (number), 500 (text); 0 for any other type.
  static std::uint32_t GetMaxParametersOfType(ParameterType type);
  /// 100000 * ld + 60000 + 10000 * type + 2 * n; none for n above the type's
  /// maximum. n = 0 is accepted.
  static boost::optional<ObjModelId>
  GetParameterChannelObjModelId(std::uint16_t n, LogicalDeviceId ld, ParameterType type);
  /// Channel + 1 of IP parameter n; none for n > 100.
  static boost::optional<ObjModelId> GetIpParameterValueObjModelId(std::uint16_t n,
                                                                   LogicalDeviceId ld);
  /// Channel + 1 of number parameter n; none for n > 200.
  static boost::optional<ObjModelId> GetNumberParameterValueObjModelId(std::uint16_t n,
                                                                       LogicalDeviceId ld);
  /// Channel + 1 of text parameter n; none for n > 500.
  static boost::optional<ObjModelId> GetTextParameterValueObjModelId(std::uint16_t n,
                                                                     LogicalDeviceId ld);
  /// Channel + 1 where the channel exists.
  static boost::optional<ObjModelId>
  GetParameterValueObjModelId(std::uint16_t n, LogicalDeviceId ld, ParameterType type);
  /// channelId + 1 when IsParameterChannel(channelId); for a value ID that
  /// gives value + 1.
  static boost::optional<ObjModelId> GetParameterValueObjModelId(ObjModelId channelId);
  /// Whether id lies on a parameter of some logical device (values pass as
  /// well as channels; see the class comment).
  static bool IsParameterChannel(ObjModelId id);
  /// The parameter type of a parameter ID of ld; none where IsParameterChannel
  /// is false or the ID lies beyond the text parameters of ld.
  static boost::optional<ParameterType> GetParameterTypeFromObjModelId(ObjModelId id,
                                                                       LogicalDeviceId ld);
  /// The parameter number of a parameter ID of ld, in 8 bits (numbers above
  /// 255 come back modulo 256); none where there is no type.
  static boost::optional<std::uint8_t> GetParameterNumberFromObjModelId(ObjModelId id,
                                                                        LogicalDeviceId ld);

  // --- DPT main types -----------------------------------------------------
  //
  // A fixed table, built while the library loads, names for each known DPT
  // main number the value type and subtype of its values. The main numbers
  // 4, 29, 219, 222, 229 and 230 are known with the empty type: they carry
  // no value and are treated like unknown numbers by the group value bridge.

  /// One row of the main-type table.
  struct DptMainType {
    std::uint32_t mainNumber;            ///< the DPT main number
    VelValueType valueType;              ///< type of the main number's values
    VelDP::VelValueSubType valueSubType; ///< subtype of the main number's values
  };
  /// Every row of the main-type table, by main number (smallest first), for
  /// programs that show the table; the default value of a row is
  /// GetDefaultValueFromDpt of its main number.
  static std::vector<DptMainType> GetDptMainTypes();
  /// The value type of the DPT's main number; ivtEmpty for unknown numbers.
  static VelValueType GetIvtFromDpt(PackedDpt dpt);
  /// The name of the main number's value type; "Empty" for unknown numbers.
  static std::string GetIvtFromMainType(std::uint32_t mainNumber);
  /// The name of the main number's value subtype; "Generic" for unknown numbers.
  static std::string GetIstFromMainType(std::uint32_t mainNumber);
  /// The default value of the DPT, serialised with VELVALUE::Serialize(text,
  /// internalFormat); "" for unknown main numbers.
  ///
  /// The default is zero, the empty text or a cleared time, by value type,
  /// with two exceptions:
  /// - DPT 6.020 (status with mode) defaults to the byte 1: its low three bits
  ///   are a mode field that must name exactly one mode, so a zero byte would
  ///   be refused on the bus; 1 is mode 0 with every status flag clear. All
  ///   other byte DPTs default to 0, which each of them accepts.
  /// - Main number 234 (two-character language codes) defaults to the word
  ///   0x656E, the characters "en", rather than two NUL characters.
  static std::string GetDefaultValueFromDpt(PackedDpt dpt, bool internalFormat);
  /// An ivtEmpty record. Only for ivt == ivtEmpty: any other type fails
  /// AVO_ASSERT2(emptyVelValue.ivt == ivt).
  static VELVALUE CreateDefaultValueEmpty(VelValueType ivt);
};

} // namespace Avo
