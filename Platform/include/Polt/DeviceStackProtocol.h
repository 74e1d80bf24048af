#pragma once
/// @file
/// The wire protocol between a device stack client and the device stack
/// service over a local stream socket: length-prefixed frames with a versioned
/// header. docs/devicestack-protocol.md describes the bytes.
///
/// Decoding never throws and never reads outside the buffer it is given:
/// malformed input comes back as a DecodeError value.

#include "Avo/PlatformExport.h"
#include "Polt/IDeviceStackClient.h"

#include <cstddef> // std::size_t
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility> // std::move
#include <variant>
#include <vector>

namespace Polt::DeviceStackProtocol {

/// "AVDS", the first four bytes of every frame header.
constexpr std::uint32_t Magic = 0x41564453U;
/// The protocol version that this codec writes and reads.
constexpr std::uint8_t Version = 1;
/// Bytes of the length prefix (big-endian, counts the header and the body).
constexpr std::size_t LengthPrefixSize = 4;
/// Bytes of the header: magic (4), version (1), kind (1), flags (2), request id (8).
constexpr std::size_t HeaderSize = 16;
/// The largest frame (header and body, without the prefix) either side accepts.
constexpr std::size_t MaxFrameSize = std::size_t{1024} * 1024U;

/// Header flag: the frame is an answer (set by the service, clear in requests).
constexpr std::uint16_t AnswerFlag = 0x0001U;

/// What a frame asks for; an answer carries the kind of its request.
enum class MessageKind : std::uint8_t {
  /// Only in answers: the service could not tell which request a frame was.
  ProtocolError = 0,
  GetValue = 1,
  SetValue = 2,
  Request = 3,
  RegisterApplication = 4,
  SendConfiguration = 5,
  SetConfiguration = 6,
  GetDeviceConfig = 7,
  SetDeviceConfig = 8,
  SetValueFormat = 9,
  SetInternalValueFormat = 10,
};

/// The name of a kind ("GetValue", ...); "Kind<n>" for a number outside the enumeration.
AVO_PLATFORM_EXPORT std::string KindName(MessageKind kind);

/// Error codes carried in answers (the IError code). 0 is success.
namespace ErrorCode {
/// Success: the answer carries no error.
constexpr std::int32_t None = 0;
/// The object identifier names no object of the object model.
constexpr std::int32_t UnknownObject = 2;
/// A value text that is not in the value text form.
constexpr std::int32_t InvalidValue = 3;
/// An argument that the operation does not accept (e.g. an empty format name).
constexpr std::int32_t InvalidArgument = 4;
/// The change was made in memory but could not be saved; it is not acknowledged.
constexpr std::int32_t NotSaved = 5;
/// The frame does not follow this protocol (bad magic, truncated, bad field).
constexpr std::int32_t MalformedFrame = 100;
/// The frame's version is not one the receiver speaks.
constexpr std::int32_t UnsupportedVersion = 101;
/// The frame's kind is not one the receiver knows.
constexpr std::int32_t UnknownKind = 102;
/// The frame's length prefix is above MaxFrameSize (or the answer would be).
constexpr std::int32_t FrameTooLarge = 103;
} // namespace ErrorCode

/// The fixed header of every frame.
struct FrameHeader {
  std::uint8_t version = Version;                ///< protocol version
  MessageKind kind = MessageKind::ProtocolError; ///< what the frame asks for or answers
  std::uint16_t flags = 0;                       ///< AnswerFlag or 0
  std::uint64_t requestId = 0;                   ///< the client's request identifier
};

/// Properties of an object, by kind.
using PropertyMap = std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property>;
/// Device configuration entries, key to value.
using DeviceConfig = std::map<std::string, std::string>;

// Request bodies, one per request kind.
/// Body of IDeviceStackClient::GetValue.
struct GetValueRequest {
  std::uint32_t objectId = 0; ///< the object
  bool flag = false;          ///< passed through from the caller
};
/// Body of IDeviceStackClient::SetValue.
struct SetValueRequest {
  std::uint32_t objectId = 0; ///< the object
  bool flag = false;          ///< passed through from the caller
  std::string value;          ///< value text
};
/// Body of IDeviceStackClient::Request.
struct FreeFormRequest {
  std::string text; ///< the request text
};
/// Body of IDeviceStackClient::RegisterApplication.
struct RegisterApplicationRequest {
  std::string first;  ///< first text, passed through
  std::string second; ///< second text, passed through
  std::string third;  ///< third text, passed through
};
/// Body of IDeviceStackClient::SendConfiguration.
struct SendConfigurationRequest {
  std::string configuration; ///< the configuration text
};
/// Body of IDeviceStackClient::SetConfiguration.
struct SetConfigurationRequest {
  std::uint32_t objectId = 0; ///< the object
  bool flag = false;          ///< passed through from the caller
  PropertyMap properties;     ///< the properties to set
};
/// Body of IDeviceStackClient::GetDeviceConfig.
struct GetDeviceConfigRequest {
  bool flag = false; ///< passed through from the caller
};
/// Body of IDeviceStackClient::SetDeviceConfig.
struct SetDeviceConfigRequest {
  DeviceConfig entries; ///< the entries to set
};
/// Body of IDeviceStackClient::SetValueFormat.
struct SetValueFormatRequest {
  std::string format; ///< the format's name
};
/// Body of IDeviceStackClient::SetInternalValueFormat.
struct SetInternalValueFormatRequest {
  bool enabled = false; ///< the switch's new state
};

/// One request body; the alternative decides the frame's kind.
using RequestBody =
    std::variant<GetValueRequest, SetValueRequest, FreeFormRequest, RegisterApplicationRequest,
                 SendConfigurationRequest, SetConfigurationRequest, GetDeviceConfigRequest,
                 SetDeviceConfigRequest, SetValueFormatRequest, SetInternalValueFormatRequest>;

/// A request: the client's identifier and the body.
struct Request {
  std::uint64_t requestId = 0; ///< the client's identifier, echoed in the answer
  RequestBody body;            ///< what is asked
};

/// The kind of frame that carries a request body.
AVO_PLATFORM_EXPORT MessageKind KindOf(const RequestBody& body);

/// The error state of an answer (the fields of IDeviceStackClient::IError).
struct AnswerError {
  std::int32_t code = ErrorCode::None; ///< an ErrorCode; None for success
  std::string description;             ///< the error's class
  std::string details;                 ///< what the error concerns
  std::string message;                 ///< the message meant for the requester
};

/// An answer. Which payload fields travel depends on the kind:
/// GetValue and SetValue carry objectId, urn and text (the value text);
/// Request (the response) and GetDeviceConfig (the configuration) carry text;
/// the other kinds carry no payload. Every answer carries its error.
struct Answer {
  MessageKind kind = MessageKind::ProtocolError; ///< the kind of the request answered
  std::uint64_t requestId = 0;                   ///< the request's identifier
  AnswerError error;                             ///< the error state
  std::uint32_t objectId = 0;                    ///< GetValue and SetValue: the object
  std::string urn;                               ///< GetValue and SetValue: its URN
  std::string text;                              ///< value, response or configuration text
};

/// Why a frame could not be decoded. The header is there when it could be
/// read (so that the error can be answered under the request's identifier).
struct DecodeError {
  std::int32_t code = ErrorCode::MalformedFrame; ///< the ErrorCode to answer with
  std::string message;                           ///< what is wrong, for the log
  std::optional<FrameHeader> header;             ///< the header, when it could be read
};

/// Either a decoded value or the reason why there is none.
template <class T>
class Decoded {
public:
  /// A decoded value.
  // NOLINTNEXTLINE(google-explicit-constructor): implicit by design
  Decoded(T value) : m_result(std::move(value)) {}
  /// The reason why there is no value.
  // NOLINTNEXTLINE(google-explicit-constructor): implicit by design
  Decoded(DecodeError error) : m_result(std::move(error)) {}

  /// True when a value was decoded.
  bool IsOk() const { return m_result.index() == 0; }
  /// IsOk().
  explicit operator bool() const { return IsOk(); }
  /// The value; only when IsOk().
  const T& Value() const { return std::get<0>(m_result); }
  /// The value, to move it out; only when IsOk().
  T& Value() { return std::get<0>(m_result); }
  /// The error; only when !IsOk().
  const DecodeError& Error() const { return std::get<1>(m_result); }

private:
  std::variant<T, DecodeError> m_result;
};

/// A whole frame (length prefix, header, body) for a request. Throws
/// std::length_error when the frame would exceed MaxFrameSize.
AVO_PLATFORM_EXPORT std::vector<std::uint8_t> EncodeRequest(const Request& request);
/// A whole frame for an answer. Throws std::length_error when the frame would
/// exceed MaxFrameSize.
AVO_PLATFORM_EXPORT std::vector<std::uint8_t> EncodeAnswer(const Answer& answer);

/// Reads the length prefix (LengthPrefixSize bytes at data). Fails with
/// FrameTooLarge above MaxFrameSize and with MalformedFrame below HeaderSize.
AVO_PLATFORM_EXPORT Decoded<std::uint32_t> DecodeFrameLength(const std::uint8_t* data);

/// Reads the header at the start of a frame (the bytes after the prefix).
/// Fails on a short frame or a wrong magic; any version and kind are returned.
AVO_PLATFORM_EXPORT Decoded<FrameHeader> DecodeHeader(const std::uint8_t* frame, std::size_t size);

/// Decodes a request frame (header and body, without the prefix): checks the
/// magic, version, flags and kind, and that the body has exactly the fields
/// of its kind.
AVO_PLATFORM_EXPORT Decoded<Request> DecodeRequest(const std::uint8_t* frame, std::size_t size);

/// Decodes an answer frame (header and body, without the prefix).
AVO_PLATFORM_EXPORT Decoded<Answer> DecodeAnswer(const std::uint8_t* frame, std::size_t size);

} // namespace Polt::DeviceStackProtocol
