// The frame codec: golden bytes of the layout, round trips of every request
// and answer kind, and malformed input of every sort (truncated at each byte,
// wrong magic, version, flags and kind, bad fields) as error values.

#include "Polt/DeviceStackProtocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>
#include <utility>

namespace {

using namespace Polt::DeviceStackProtocol;
using Bytes = std::vector<std::uint8_t>;
using Polt::IDeviceStackClient;

// The frame without its length prefix, as the decoders take it.
Bytes Frame(const Bytes& withPrefix) {
  return Bytes(withPrefix.begin() + LengthPrefixSize, withPrefix.end());
}

// Every shorter copy of the frame (exactly `size` bytes, so that a read past
// it is caught by ASan) fails to decode.
template <class Decode>
void ExpectEveryTruncationFails(const Bytes& frame, Decode decode) {
  for (std::size_t size = 0; size < frame.size(); ++size) {
    const Bytes truncated(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size));
    const auto decoded = decode(truncated.data(), truncated.size());
    ASSERT_FALSE(decoded) << "size " << size;
    EXPECT_EQ(decoded.Error().code, ErrorCode::MalformedFrame) << "size " << size;
    // A cut inside the body still reports the header, so that it can be answered.
    EXPECT_EQ(decoded.Error().header.has_value(), size >= HeaderSize) << "size " << size;
  }
}

TEST(DeviceStackProtocol, FramesHaveTheDocumentedBytes) {
  const Bytes getValue = {0x00, 0x00, 0x00, 0x15, // length: 16 header + 5 body
                          0x41, 0x56, 0x44, 0x53, // "AVDS"
                          0x01,                   // version
                          0x01,                   // kind GetValue
                          0x00, 0x00,             // flags
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x02, // request id 258
                          0x00, 0x01, 0x87, 0x05,                         // object id 100101
                          0x01};                                          // flag
  EXPECT_EQ(EncodeRequest({258, GetValueRequest{100101, true}}), getValue);

  const Answer answer{MessageKind::SetValue, 9, {2, "D", "", "M"}, 1, "u", "1:"};
  const Bytes setValueAnswer = {
      0x00, 0x00, 0x00, 0x31,                         // length 49
      0x41, 0x56, 0x44, 0x53, 0x01, 0x02, 0x00, 0x01, // magic, version, SetValue, answer flag
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x09, // request id
      0x00, 0x00, 0x00, 0x02,                         // error code
      0x00, 0x00, 0x00, 0x01, 'D',                    // description
      0x00, 0x00, 0x00, 0x00,                         // details
      0x00, 0x00, 0x00, 0x01, 'M',                    // message
      0x00, 0x00, 0x00, 0x01,                         // object id
      0x00, 0x00, 0x00, 0x01, 'u',                    // urn
      0x00, 0x00, 0x00, 0x02, '1',  ':'};             // value text
  EXPECT_EQ(EncodeAnswer(answer), setValueAnswer);
}

TEST(DeviceStackProtocol, EveryRequestKindRoundTripsAndEveryTruncationIsAnError) {
  const Request requests[] = {
      {1, GetValueRequest{100101, true}},
      {2, SetValueRequest{4294967295U, false, "10:\"a\\\"b\""}},
      {3, FreeFormRequest{std::string("with\0nul", 8)}},
      {4, RegisterApplicationRequest{"app", "", "third"}},
      {5, SendConfigurationRequest{"{\"x\":1}"}},
      {6, SetConfigurationRequest{7,
                                  true,
                                  {{IDeviceStackClient::ptName, {"lamp"}},
                                   {IDeviceStackClient::ptDefaultValue, {""}},
                                   {static_cast<IDeviceStackClient::PropertyType>(-3), {"odd"}}}}},
      {7, GetDeviceConfigRequest{true}},
      {8, SetDeviceConfigRequest{{{"a", "1"}, {"", ""}}}},
      {9, SetValueFormatRequest{"Native"}},
      {0xFFFFFFFFFFFFFFFFULL, SetInternalValueFormatRequest{true}},
      {11, SetDeviceConfigRequest{}},
      {12, SetConfigurationRequest{}},
  };
  for (const Request& request : requests) {
    SCOPED_TRACE(KindName(KindOf(request.body)));
    const Bytes encoded = EncodeRequest(request);
    const Decoded<std::uint32_t> length = DecodeFrameLength(encoded.data());
    ASSERT_TRUE(length);
    EXPECT_EQ(length.Value(), encoded.size() - LengthPrefixSize);
    const Bytes frame = Frame(encoded);
    const Decoded<Request> decoded = DecodeRequest(frame.data(), frame.size());
    ASSERT_TRUE(decoded) << decoded.Error().message;
    EXPECT_EQ(decoded.Value().requestId, request.requestId);
    // Equal bodies encode to equal bytes; the variant index must match too.
    EXPECT_EQ(decoded.Value().body.index(), request.body.index());
    EXPECT_EQ(EncodeRequest(decoded.Value()), encoded);
    ExpectEveryTruncationFails(frame, DecodeRequest);
  }
}

TEST(DeviceStackProtocol, AnswersCarryThePayloadOfTheirKind) {
  // The kind; whether objectId and urn travel; whether the text travels.
  const std::tuple<MessageKind, bool, bool> cases[] = {
      {MessageKind::GetValue, true, true},
      {MessageKind::SetValue, true, true},
      {MessageKind::Request, false, true},
      {MessageKind::GetDeviceConfig, false, true},
      {MessageKind::RegisterApplication, false, false},
      {MessageKind::SendConfiguration, false, false},
      {MessageKind::SetConfiguration, false, false},
      {MessageKind::SetDeviceConfig, false, false},
      {MessageKind::SetValueFormat, false, false},
      {MessageKind::SetInternalValueFormat, false, false},
      {MessageKind::ProtocolError, false, false},
      {static_cast<MessageKind>(77), false, false}, // only with the UnknownKind error
  };
  const auto fields = [](const Answer& a) {
    return std::tie(a.kind, a.requestId, a.error.code, a.error.description, a.error.details,
                    a.error.message, a.objectId, a.urn, a.text);
  };
  for (const auto& [kind, value, text] : cases) {
    SCOPED_TRACE(KindName(kind));
    const std::int32_t code = kind == static_cast<MessageKind>(77) ? ErrorCode::UnknownKind : 0;
    const Answer answer{kind, 42, {code, "d", "e", "m"}, 5, "urn:x", "t"};
    const Bytes frame = Frame(EncodeAnswer(answer));
    const Decoded<Answer> decoded = DecodeAnswer(frame.data(), frame.size());
    ASSERT_TRUE(decoded) << decoded.Error().message;
    const Answer expected{kind,           42, answer.error, value ? 5U : 0U, value ? "urn:x" : "",
                          text ? "t" : ""};
    EXPECT_EQ(fields(decoded.Value()), fields(expected));
    ExpectEveryTruncationFails(frame, DecodeAnswer);
  }
}

// Byte offsets in a frame without prefix.
constexpr std::size_t VersionAt = 4, KindAt = 5, FlagsAt = 6, BodyAt = HeaderSize;

TEST(DeviceStackProtocol, BadRequestFramesAreReportedWithTheirCode) {
  const Bytes getValue = Frame(EncodeRequest({77, GetValueRequest{1, false}}));
  const Bytes setDeviceConfig =
      Frame(EncodeRequest({77, SetDeviceConfigRequest{{{"k", "v"}, {"l", "w"}}}}));
  struct Case {
    const char* name;
    Bytes frame;
    std::int32_t code;
    bool header; // the header (request id 77) comes with the error
    const char* message;
  };
  auto with = [](Bytes frame, std::size_t at, std::uint8_t byte) {
    frame.at(at) = byte;
    return frame;
  };
  Bytes trailing = getValue;
  trailing.push_back(0);
  const Bytes freeForm = Frame(EncodeRequest({77, FreeFormRequest{"abc"}}));
  const Case cases[] = {
      {"wrong magic", with(getValue, 0, 'X'), ErrorCode::MalformedFrame, false,
       "frame does not start with the protocol's magic"},
      {"version 2", with(getValue, VersionAt, 2), ErrorCode::UnsupportedVersion, true,
       "protocol version 2 is not supported (this side speaks 1)"},
      {"kind 0", with(getValue, KindAt, 0), ErrorCode::UnknownKind, true,
       "unknown request kind ProtocolError"},
      {"kind 200", with(getValue, KindAt, 200), ErrorCode::UnknownKind, true,
       "unknown request kind Kind200"},
      {"answer flag", with(getValue, FlagsAt + 1, 1), ErrorCode::MalformedFrame, true,
       "a request frame carries the answer flag"},
      {"unknown flag", with(getValue, FlagsAt, 0x80), ErrorCode::MalformedFrame, true,
       "unknown header flags 32768"},
      {"boolean 2", with(getValue, BodyAt + 4, 2), ErrorCode::MalformedFrame, true,
       "GetValue request: a boolean field holds 2"},
      {"trailing byte", trailing, ErrorCode::MalformedFrame, true,
       "GetValue request: 1 bytes after the last field"},
      {"duplicate key", with(setDeviceConfig, BodyAt + 18, 'k'),
       /* the second key "l" */ ErrorCode::MalformedFrame, true,
       "SetDeviceConfig request: device configuration key 'k' appears twice"},
      {"huge count", with(setDeviceConfig, BodyAt, 0x7F), ErrorCode::MalformedFrame, true,
       "SetDeviceConfig request: a count of 2130706434 entries exceeds the frame"},
      {"huge string", with(freeForm, BodyAt, 0xFF), ErrorCode::MalformedFrame, true,
       "Request request: the frame ends inside a field"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Decoded<Request> decoded = DecodeRequest(c.frame.data(), c.frame.size());
    ASSERT_FALSE(decoded);
    EXPECT_EQ(decoded.Error().code, c.code);
    EXPECT_EQ(decoded.Error().message, c.message);
    const std::optional<FrameHeader>& header = decoded.Error().header;
    EXPECT_EQ(header ? header->requestId : 0U, c.header ? 77U : 0U);
  }
}

TEST(DeviceStackProtocol, AnswerDecodingRefusesRequestsAndUnknownKindsWithoutError) {
  const Bytes request = Frame(EncodeRequest({1, GetValueRequest{}}));
  const Decoded<Answer> fromRequest = DecodeAnswer(request.data(), request.size());
  ASSERT_FALSE(fromRequest);
  EXPECT_EQ(fromRequest.Error().message, "an answer frame lacks the answer flag");
  const Bytes unknown = Frame(EncodeAnswer({static_cast<MessageKind>(99), 1, {}, 0, "", ""}));
  const Decoded<Answer> decoded = DecodeAnswer(unknown.data(), unknown.size());
  ASSERT_FALSE(decoded);
  EXPECT_EQ(decoded.Error().code, ErrorCode::UnknownKind);
}

TEST(DeviceStackProtocol, FrameSizeIsBoundedOnBothSides) {
  const std::pair<Bytes, std::int32_t> prefixes[] = {
      {{0x00, 0x10, 0x00, 0x00}, 0},                        // exactly MaxFrameSize
      {{0x00, 0x10, 0x00, 0x01}, ErrorCode::FrameTooLarge}, // one above
      {{0xFF, 0xFF, 0xFF, 0xFF}, ErrorCode::FrameTooLarge},
      {{0x00, 0x00, 0x00, 0x10}, 0},                         // a bare header
      {{0x00, 0x00, 0x00, 0x0F}, ErrorCode::MalformedFrame}, // shorter than a header
      {{0x00, 0x00, 0x00, 0x00}, ErrorCode::MalformedFrame},
  };
  for (const auto& [prefix, code] : prefixes) {
    const Decoded<std::uint32_t> length = DecodeFrameLength(prefix.data());
    EXPECT_EQ(length ? 0 : length.Error().code, code);
  }
  const std::string justFits(MaxFrameSize - HeaderSize - 4, 'x');
  EXPECT_EQ(EncodeRequest({1, FreeFormRequest{justFits}}).size(), LengthPrefixSize + MaxFrameSize);
  EXPECT_THROW(EncodeRequest({1, FreeFormRequest{justFits + "x"}}), std::length_error);
  EXPECT_THROW(EncodeAnswer({MessageKind::Request, 1, {}, 0, "", justFits}), std::length_error);
}

} // namespace
