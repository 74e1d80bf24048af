#include "Polt/DeviceStackProtocol.h"

#include <stdexcept> // std::length_error
#include <type_traits>

namespace Polt::DeviceStackProtocol {
namespace {

// --- writing ---------------------------------------------------------------

// Every number is big-endian; a string is its byte count (u32) and its bytes.
class FrameWriter {
public:
  FrameWriter() { m_bytes.resize(LengthPrefixSize); }

  void U8(std::uint8_t value) { m_bytes.push_back(value); }
  void Bool(bool value) { U8(value ? 1U : 0U); }
  void U16(std::uint16_t value) { BigEndian(value, 2); }
  void U32(std::uint32_t value) { BigEndian(value, 4); }
  void I32(std::int32_t value) { U32(static_cast<std::uint32_t>(value)); }
  void U64(std::uint64_t value) { BigEndian(value, 8); }
  void String(const std::string& text) {
    if (text.size() > MaxFrameSize) {
      throw std::length_error("device stack frame: text of " + std::to_string(text.size()) +
                              " bytes exceeds the frame size limit");
    }
    U32(static_cast<std::uint32_t>(text.size()));
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
  }
  void Header(MessageKind kind, std::uint16_t flags, std::uint64_t requestId) {
    U32(Magic);
    U8(Version);
    U8(static_cast<std::uint8_t>(kind));
    U16(flags);
    U64(requestId);
  }

  // The frame with its length prefix filled in.
  std::vector<std::uint8_t> Finish() {
    const std::size_t frameSize = m_bytes.size() - LengthPrefixSize;
    if (frameSize > MaxFrameSize) {
      throw std::length_error("device stack frame of " + std::to_string(frameSize) +
                              " bytes exceeds the limit of " + std::to_string(MaxFrameSize));
    }
    for (std::size_t i = 0; i < LengthPrefixSize; ++i) {
      m_bytes[i] = static_cast<std::uint8_t>(frameSize >> (8 * (LengthPrefixSize - 1 - i)));
    }
    return std::move(m_bytes);
  }

private:
  void BigEndian(std::uint64_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
      m_bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
  }

  std::vector<std::uint8_t> m_bytes;
};

struct BodyWriter {
  FrameWriter& out;

  void operator()(const GetValueRequest& body) const {
    out.U32(body.objectId);
    out.Bool(body.flag);
  }
  void operator()(const SetValueRequest& body) const {
    out.U32(body.objectId);
    out.Bool(body.flag);
    out.String(body.value);
  }
  void operator()(const FreeFormRequest& body) const { out.String(body.text); }
  void operator()(const RegisterApplicationRequest& body) const {
    out.String(body.first);
    out.String(body.second);
    out.String(body.third);
  }
  void operator()(const SendConfigurationRequest& body) const { out.String(body.configuration); }
  void operator()(const SetConfigurationRequest& body) const {
    out.U32(body.objectId);
    out.Bool(body.flag);
    out.U32(static_cast<std::uint32_t>(body.properties.size()));
    for (const auto& property : body.properties) {
      out.I32(static_cast<std::int32_t>(property.first));
      out.String(property.second.value);
    }
  }
  void operator()(const GetDeviceConfigRequest& body) const { out.Bool(body.flag); }
  void operator()(const SetDeviceConfigRequest& body) const {
    out.U32(static_cast<std::uint32_t>(body.entries.size()));
    for (const auto& entry : body.entries) {
      out.String(entry.first);
      out.String(entry.second);
    }
  }
  void operator()(const SetValueFormatRequest& body) const { out.String(body.format); }
  void operator()(const SetInternalValueFormatRequest& body) const { out.Bool(body.enabled); }
};

// --- reading ---------------------------------------------------------------

// Reads fields from a bounded buffer. A read past the end sets the failure
// and yields zero or empty values, so a decoder reads its fields in a row and
// checks once at the end.
class FrameReader {
public:
  FrameReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

  std::uint8_t U8() { return static_cast<std::uint8_t>(BigEndian(1)); }
  std::uint16_t U16() { return static_cast<std::uint16_t>(BigEndian(2)); }
  std::uint32_t U32() { return static_cast<std::uint32_t>(BigEndian(4)); }
  std::int32_t I32() {
    const std::uint32_t bits = U32();
    // Two's complement without relying on an implementation-defined cast.
    return bits <= 0x7FFFFFFFU ? static_cast<std::int32_t>(bits)
                               : -static_cast<std::int32_t>(~bits) - 1;
  }
  std::uint64_t U64() { return BigEndian(8); }

  bool Bool() {
    const std::uint8_t value = U8();
    if (value > 1U) {
      Fail("a boolean field holds " + std::to_string(value));
    }
    return value == 1U;
  }

  std::string String() {
    const std::uint32_t length = U32();
    if (!Take(length)) {
      return std::string();
    }
    const char* begin = reinterpret_cast<const char*>(m_data + m_position - length);
    return std::string(begin, length);
  }

  // A count of entries, each at least minEntrySize bytes: a count that the
  // remaining bytes cannot hold fails at once rather than after a long loop.
  std::uint32_t Count(std::size_t minEntrySize) {
    const std::uint32_t count = U32();
    if (m_failure.empty() && count > Remaining() / minEntrySize) {
      Fail("a count of " + std::to_string(count) + " entries exceeds the frame");
      return 0;
    }
    return count;
  }

  void ExpectEnd() {
    if (m_failure.empty() && Remaining() != 0) {
      Fail(std::to_string(Remaining()) + " bytes after the last field");
    }
  }

  void Fail(std::string message) {
    if (m_failure.empty()) {
      m_failure = std::move(message);
    }
  }

  bool Failed() const { return !m_failure.empty(); }
  const std::string& Failure() const { return m_failure; }

private:
  std::size_t Remaining() const { return m_size - m_position; }

  bool Take(std::size_t bytes) {
    if (!m_failure.empty()) {
      return false;
    }
    if (bytes > Remaining()) {
      Fail("the frame ends inside a field");
      return false;
    }
    m_position += bytes;
    return true;
  }

  std::uint64_t BigEndian(std::size_t bytes) {
    if (!Take(bytes)) {
      return 0;
    }
    std::uint64_t value = 0;
    for (std::size_t i = m_position - bytes; i < m_position; ++i) {
      value = (value << 8) | m_data[i];
    }
    return value;
  }

  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_position = 0;
  std::string m_failure;
};

DecodeError Malformed(std::string message, std::optional<FrameHeader> header) {
  return DecodeError{ErrorCode::MalformedFrame, std::move(message), header};
}

bool IsKnownRequestKind(MessageKind kind) {
  const auto number = static_cast<std::uint8_t>(kind);
  return number >= static_cast<std::uint8_t>(MessageKind::GetValue) &&
         number <= static_cast<std::uint8_t>(MessageKind::SetInternalValueFormat);
}

// Bytes of the smallest property or device configuration entry.
constexpr std::size_t MinPropertySize = 4 + 4;
constexpr std::size_t MinEntrySize = 4 + 4;

// Fills the body of a request of a known kind from the frame. (The body is
// filled in place: returning the variant by value trips a false
// maybe-uninitialized warning of g++ 12.)
void ReadRequestBody(MessageKind kind, FrameReader& in, RequestBody& out) {
  switch (kind) {
  case MessageKind::GetValue: {
    auto& body = out.emplace<GetValueRequest>();
    body.objectId = in.U32();
    body.flag = in.Bool();
    return;
  }
  case MessageKind::SetValue: {
    auto& body = out.emplace<SetValueRequest>();
    body.objectId = in.U32();
    body.flag = in.Bool();
    body.value = in.String();
    return;
  }
  case MessageKind::Request:
    out.emplace<FreeFormRequest>().text = in.String();
    return;
  case MessageKind::RegisterApplication: {
    auto& body = out.emplace<RegisterApplicationRequest>();
    body.first = in.String();
    body.second = in.String();
    body.third = in.String();
    return;
  }
  case MessageKind::SendConfiguration:
    out.emplace<SendConfigurationRequest>().configuration = in.String();
    return;
  case MessageKind::SetConfiguration: {
    auto& body = out.emplace<SetConfigurationRequest>();
    body.objectId = in.U32();
    body.flag = in.Bool();
    const std::uint32_t count = in.Count(MinPropertySize);
    for (std::uint32_t i = 0; i < count && !in.Failed(); ++i) {
      // The enumeration has a fixed underlying type: every int is a valid value.
      const auto type = static_cast<IDeviceStackClient::PropertyType>(in.I32());
      std::string value = in.String();
      if (!in.Failed() &&
          !body.properties.emplace(type, IDeviceStackClient::Property{std::move(value)}).second) {
        in.Fail("property " + std::to_string(static_cast<int>(type)) + " appears twice");
      }
    }
    return;
  }
  case MessageKind::GetDeviceConfig:
    out.emplace<GetDeviceConfigRequest>().flag = in.Bool();
    return;
  case MessageKind::SetDeviceConfig: {
    auto& body = out.emplace<SetDeviceConfigRequest>();
    const std::uint32_t count = in.Count(MinEntrySize);
    for (std::uint32_t i = 0; i < count && !in.Failed(); ++i) {
      std::string key = in.String();
      std::string value = in.String();
      if (!in.Failed() && !body.entries.emplace(key, std::move(value)).second) {
        in.Fail("device configuration key '" + key + "' appears twice");
      }
    }
    return;
  }
  case MessageKind::SetValueFormat:
    out.emplace<SetValueFormatRequest>().format = in.String();
    return;
  case MessageKind::SetInternalValueFormat:
    out.emplace<SetInternalValueFormatRequest>().enabled = in.Bool();
    return;
  case MessageKind::ProtocolError:
    break;
  }
  in.Fail("no request body for " + KindName(kind));
}

bool CarriesValue(MessageKind kind) {
  return kind == MessageKind::GetValue || kind == MessageKind::SetValue;
}

bool CarriesText(MessageKind kind) {
  return kind == MessageKind::Request || kind == MessageKind::GetDeviceConfig;
}

// Reads the header and checks what every frame must have: its size and magic.
Decoded<FrameHeader> ReadHeader(FrameReader& in, std::size_t size) {
  if (size < HeaderSize) {
    return Malformed("frame of " + std::to_string(size) + " bytes is shorter than its header",
                     std::nullopt);
  }
  const std::uint32_t magic = in.U32();
  FrameHeader header;
  header.version = in.U8();
  header.kind = static_cast<MessageKind>(in.U8());
  header.flags = in.U16();
  header.requestId = in.U64();
  if (magic != Magic) {
    return Malformed("frame does not start with the protocol's magic", std::nullopt);
  }
  return header;
}

// The checks that a decodable frame of either direction must pass.
std::optional<DecodeError> CheckHeader(const FrameHeader& header, bool answer) {
  if (header.version != Version) {
    return DecodeError{ErrorCode::UnsupportedVersion,
                       "protocol version " + std::to_string(header.version) +
                           " is not supported (this side speaks " + std::to_string(Version) + ")",
                       header};
  }
  if (((header.flags & AnswerFlag) != 0) != answer) {
    return Malformed(answer ? "an answer frame lacks the answer flag"
                            : "a request frame carries the answer flag",
                     header);
  }
  if ((header.flags & ~AnswerFlag) != 0) {
    return Malformed("unknown header flags " + std::to_string(header.flags & ~AnswerFlag), header);
  }
  return std::nullopt;
}

} // namespace

std::string KindName(MessageKind kind) {
  switch (kind) {
  case MessageKind::ProtocolError:
    return "ProtocolError";
  case MessageKind::GetValue:
    return "GetValue";
  case MessageKind::SetValue:
    return "SetValue";
  case MessageKind::Request:
    return "Request";
  case MessageKind::RegisterApplication:
    return "RegisterApplication";
  case MessageKind::SendConfiguration:
    return "SendConfiguration";
  case MessageKind::SetConfiguration:
    return "SetConfiguration";
  case MessageKind::GetDeviceConfig:
    return "GetDeviceConfig";
  case MessageKind::SetDeviceConfig:
    return "SetDeviceConfig";
  case MessageKind::SetValueFormat:
    return "SetValueFormat";
  case MessageKind::SetInternalValueFormat:
    return "SetInternalValueFormat";
  }
  return "Kind" + std::to_string(static_cast<unsigned>(kind));
}

MessageKind KindOf(const RequestBody& body) {
  // The alternatives are listed in the order of the kinds, from GetValue on.
  static_assert(std::is_same_v<std::variant_alternative_t<0, RequestBody>, GetValueRequest>);
  static_assert(std::variant_size_v<RequestBody> ==
                static_cast<std::size_t>(MessageKind::SetInternalValueFormat));
  return static_cast<MessageKind>(body.index() + 1);
}

std::vector<std::uint8_t> EncodeRequest(const Request& request) {
  FrameWriter out;
  out.Header(KindOf(request.body), 0, request.requestId);
  std::visit(BodyWriter{out}, request.body);
  return out.Finish();
}

std::vector<std::uint8_t> EncodeAnswer(const Answer& answer) {
  FrameWriter out;
  out.Header(answer.kind, AnswerFlag, answer.requestId);
  out.I32(answer.error.code);
  out.String(answer.error.description);
  out.String(answer.error.details);
  out.String(answer.error.message);
  if (CarriesValue(answer.kind)) {
    out.U32(answer.objectId);
    out.String(answer.urn);
    out.String(answer.text);
  } else if (CarriesText(answer.kind)) {
    out.String(answer.text);
  }
  return out.Finish();
}

Decoded<std::uint32_t> DecodeFrameLength(const std::uint8_t* data) {
  FrameReader in(data, LengthPrefixSize);
  const std::uint32_t length = in.U32();
  if (length > MaxFrameSize) {
    return DecodeError{ErrorCode::FrameTooLarge,
                       "frame of " + std::to_string(length) + " bytes exceeds the limit of " +
                           std::to_string(MaxFrameSize),
                       std::nullopt};
  }
  if (length < HeaderSize) {
    return Malformed("frame of " + std::to_string(length) + " bytes is shorter than its header",
                     std::nullopt);
  }
  return length;
}

Decoded<FrameHeader> DecodeHeader(const std::uint8_t* frame, std::size_t size) {
  FrameReader in(frame, size);
  return ReadHeader(in, size);
}

Decoded<Request> DecodeRequest(const std::uint8_t* frame, std::size_t size) {
  FrameReader in(frame, size);
  Decoded<FrameHeader> header = ReadHeader(in, size);
  if (!header) {
    return header.Error();
  }
  if (auto error = CheckHeader(header.Value(), false)) {
    return std::move(*error);
  }
  const MessageKind kind = header.Value().kind;
  if (!IsKnownRequestKind(kind)) {
    return DecodeError{ErrorCode::UnknownKind, "unknown request kind " + KindName(kind),
                       header.Value()};
  }
  Request request;
  request.requestId = header.Value().requestId;
  ReadRequestBody(kind, in, request.body);
  in.ExpectEnd();
  if (in.Failed()) {
    return Malformed(KindName(kind) + " request: " + in.Failure(), header.Value());
  }
  return request;
}

Decoded<Answer> DecodeAnswer(const std::uint8_t* frame, std::size_t size) {
  FrameReader in(frame, size);
  Decoded<FrameHeader> header = ReadHeader(in, size);
  if (!header) {
    return header.Error();
  }
  if (auto error = CheckHeader(header.Value(), true)) {
    return std::move(*error);
  }
  Answer answer;
  answer.kind = header.Value().kind;
  answer.requestId = header.Value().requestId;
  answer.error.code = in.I32();
  answer.error.description = in.String();
  answer.error.details = in.String();
  answer.error.message = in.String();
  // The service answers a request of a kind it does not know with an error
  // under that kind; any other answer must be of a known kind.
  const bool known = IsKnownRequestKind(answer.kind) || answer.kind == MessageKind::ProtocolError;
  if (!in.Failed() && !known && answer.error.code == ErrorCode::None) {
    return DecodeError{ErrorCode::UnknownKind, "answer of unknown kind " + KindName(answer.kind),
                       header.Value()};
  }
  if (CarriesValue(answer.kind)) {
    answer.objectId = in.U32();
    answer.urn = in.String();
    answer.text = in.String();
  } else if (CarriesText(answer.kind)) {
    answer.text = in.String();
  }
  in.ExpectEnd();
  if (in.Failed()) {
    return Malformed(KindName(answer.kind) + " answer: " + in.Failure(), header.Value());
  }
  return answer;
}

} // namespace Polt::DeviceStackProtocol
