#pragma once
/// The wire protocol between a device stack client and the device stack
/// service over a local stream socket: length-prefixed frames with a versioned
/// header. docs/devicestack-protocol.md describes the bytes.
///
/// Decoding never throws and never reads outside the buffer it is given:
/// malformed input comes back as a DecodeError value.

#include "Polt/IDeviceStackClient.h"

#include <cstddef> // std::size_t
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility> // std::move
#include <variant>
#include <vector>

namespace Polt {
namespace DeviceStackProtocol {

/// "AVDS", the first four bytes of every frame header.
constexpr std::uint32_t Magic = 0x41564453U;
/// The protocol version that this codec writes and reads.
constexpr std::uint8_t Version = 1;
/// Bytes of the length prefix (big-endian, counts the header and the body).
constexpr std::size_t LengthPrefixSize = 4;
/// Bytes of the header: magic (4), version (1), kind (1), flags (2), request id (8).
constexpr std::size_t HeaderSize = 16;
/// The largest frame (header and body, without the prefix) either side accepts.
constexpr std::size_t MaxFrameSize = 1024U * 1024U;

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
std::string KindName(MessageKind kind);

/// Error codes carried in answers (the IError code). 0 is success.
namespace ErrorCode {
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
  std::uint8_t version = Version;
  MessageKind kind = MessageKind::ProtocolError;
  std::uint16_t flags = 0;
  std::uint64_t requestId = 0;
};

using PropertyMap = std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property>;
using DeviceConfig = std::map<std::string, std::string>;

/// Request bodies, one per request kind.
struct GetValueRequest {
  std::uint32_t objectId = 0;
  bool flag = false;
};
struct SetValueRequest {
  std::uint32_t objectId = 0;
  bool flag = false;
  std::string value; ///< value text
};
struct FreeFormRequest {
  std::string text;
};
struct RegisterApplicationRequest {
  std::string first;
  std::string second;
  std::string third;
};
struct SendConfigurationRequest {
  std::string configuration;
};
struct SetConfigurationRequest {
  std::uint32_t objectId = 0;
  bool flag = false;
  PropertyMap properties;
};
struct GetDeviceConfigRequest {
  bool flag = false;
};
struct SetDeviceConfigRequest {
  DeviceConfig entries;
};
struct SetValueFormatRequest {
  std::string format;
};
struct SetInternalValueFormatRequest {
  bool enabled = false;
};

/// One request body; the alternative decides the frame's kind.
using RequestBody =
    std::variant<GetValueRequest, SetValueRequest, FreeFormRequest, RegisterApplicationRequest,
                 SendConfigurationRequest, SetConfigurationRequest, GetDeviceConfigRequest,
                 SetDeviceConfigRequest, SetValueFormatRequest, SetInternalValueFormatRequest>;

/// A request: the client's identifier and the body.
struct Request {
  std::uint64_t requestId = 0;
  RequestBody body;
};

/// The kind of frame that carries a request body.
MessageKind KindOf(const RequestBody& body);

/// The error state of an answer (the fields of IDeviceStackClient::IError).
struct AnswerError {
  std::int32_t code = ErrorCode::None;
  std::string description;
  std::string details;
  std::string message;
};

/// An answer. Which payload fields travel depends on the kind:
/// GetValue and SetValue carry objectId, urn and text (the value text);
/// Request (the response) and GetDeviceConfig (the configuration) carry text;
/// the other kinds carry no payload. Every answer carries its error.
struct Answer {
  MessageKind kind = MessageKind::ProtocolError;
  std::uint64_t requestId = 0;
  AnswerError error;
  std::uint32_t objectId = 0;
  std::string urn;
  std::string text;
};

/// Why a frame could not be decoded. The header is there when it could be
/// read (so that the error can be answered under the request's identifier).
struct DecodeError {
  std::int32_t code = ErrorCode::MalformedFrame;
  std::string message;
  std::optional<FrameHeader> header;
};

/// Either a decoded value or the reason why there is none.
template <class T>
class Decoded {
public:
  Decoded(T value) : m_result(std::move(value)) {}            // NOLINT: implicit by design
  Decoded(DecodeError error) : m_result(std::move(error)) {}  // NOLINT: implicit by design

  /// True when a value was decoded.
  bool IsOk() const { return m_result.index() == 0; }
  explicit operator bool() const { return IsOk(); }
  /// The value; only when IsOk().
  const T& Value() const { return std::get<0>(m_result); }
  T& Value() { return std::get<0>(m_result); }
  /// The error; only when !IsOk().
  const DecodeError& Error() const { return std::get<1>(m_result); }

private:
  std::variant<T, DecodeError> m_result;
};

/// A whole frame (length prefix, header, body) for a request. Throws
/// std::length_error when the frame would exceed MaxFrameSize.
std::vector<std::uint8_t> EncodeRequest(const Request& request);
/// A whole frame for an answer. Throws std::length_error when the frame would
/// exceed MaxFrameSize.
std::vector<std::uint8_t> EncodeAnswer(const Answer& answer);

/// Reads the length prefix (LengthPrefixSize bytes at data). Fails with
/// FrameTooLarge above MaxFrameSize and with MalformedFrame below HeaderSize.
Decoded<std::uint32_t> DecodeFrameLength(const std::uint8_t* data);

/// Reads the header at the start of a frame (the bytes after the prefix).
/// Fails on a short frame or a wrong magic; any version and kind are returned.
Decoded<FrameHeader> DecodeHeader(const std::uint8_t* frame, std::size_t size);

/// Decodes a request frame (header and body, without the prefix): checks the
/// magic, version, flags and kind, and that the body has exactly the fields
/// of its kind.
Decoded<Request> DecodeRequest(const std::uint8_t* frame, std::size_t size);

/// Decodes an answer frame (header and body, without the prefix).
Decoded<Answer> DecodeAnswer(const std::uint8_t* frame, std::size_t size);

} // namespace DeviceStackProtocol
} // namespace Polt
