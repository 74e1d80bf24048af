// The running service: every request kind, bad input of every sort (clients
// leaving inside a frame too) on one connection while another keeps being
// served, and 64 clients at once.

#include "ServiceProcess.h"
#include "TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <memory>

namespace {

namespace Protocol = Polt::DeviceStackProtocol;
using namespace DeviceStackTest;
using Bytes = std::vector<std::uint8_t>;
using Client = Polt::IDeviceStackClient;
using Protocol::MessageKind;
using namespace Protocol::ErrorCode;
using ::testing::ContainsRegex;

constexpr std::uint32_t Lamp = 100101;

// A service seeded with `count` objects 100101, 100103, ... holding "3:21.5".
void StartSeeded(ServiceProcess& service, int count = 1) {
  std::string lines;
  for (int i = 0; i < count; ++i) {
    lines += std::to_string(Lamp + 2 * i) + " 3:21.5\n";
  }
  service.Seed(lines);
  service.Start();
}

// A frame laid out by hand, so that every header field can be wrong.
Bytes RawFrame(MessageKind kind, const Bytes& body, std::uint8_t version = 1) {
  Bytes frame;
  for (const std::size_t field :
       {Protocol::HeaderSize + body.size(), std::size_t{Protocol::Magic}}) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      frame.push_back(static_cast<std::uint8_t>(field >> shift));
    }
  }
  frame.insert(frame.end(), {version, static_cast<std::uint8_t>(kind), 0, 0});
  frame.insert(frame.end(), {0, 0, 0, 0, 0, 0, 0, 11}); // request id
  frame.insert(frame.end(), body.begin(), body.end());
  return frame;
}

struct Step {
  Protocol::Request request;
  std::int32_t code;
  std::string text;
};

TEST(DeviceStackService, AnswersEveryRequestKind) {
  ServiceProcess service({}, false);
  StartSeeded(service);
  EXPECT_EQ(std::filesystem::status(service.SocketPath()).permissions(),
            std::filesystem::perms(0660));

  using namespace Protocol;
  const Step steps[] = {
      {GetValue(1, Lamp), 0, "3:21.5"},
      {GetValue(2, 7), UnknownObject, ""},
      {SetValue(3, Lamp, "3:nan"), 0, "nan"},
      {{4, SetInternalValueFormatRequest{true}}, 0, ""},
      {GetValue(5, Lamp), 0, "3.7:nan"},
      {SetValue(6, Lamp, "4:005"), 0, "4.2:5"},
      {SetValue(7, Lamp, "4:five"), InvalidValue, "4:five"},
      {SetValue(8, 9, "1:"), UnknownObject, "1:"},
      {{9, SetValueFormatRequest{""}}, InvalidArgument, ""},
      {{10, SetValueFormatRequest{"Native"}}, 0, ""},
      {{11, FreeFormRequest{"ping"}}, 0, "ping"},
      {{12, SetDeviceConfigRequest{{{"b", "2"}, {"a", "1"}}}}, 0, ""},
      {{13, GetDeviceConfigRequest{false}}, 0, "a=1\nb=2\n"},
      {{14, SetConfigurationRequest{Lamp, false, {{Client::ptName, {"lamp"}}}}}, 0, ""},
      {{15, SetConfigurationRequest{5, false, {}}}, UnknownObject, ""},
      {{16, RegisterApplicationRequest{"app", "1.0", "path"}}, 0, ""},
      {{17, SendConfigurationRequest{"{}"}}, 0, ""},
  };
  TestClient client(service.Connect());
  for (const Step& step : steps) {
    const Answer answer = client.Ask(step.request);
    SCOPED_TRACE("request " + std::to_string(step.request.requestId));
    EXPECT_EQ(answer.requestId, step.request.requestId);
    EXPECT_EQ(answer.kind, KindOf(step.request.body));
    EXPECT_EQ(answer.error.code, step.code) << answer.error.message;
    EXPECT_EQ(answer.text, step.text);
  }
  // The value-format switch belongs to the connection that set it.
  TestClient other(service.Connect());
  EXPECT_EQ(other.Ask(GetValue(1, Lamp)).text, "4:5");
  const Answer unknown = other.Ask(GetValue(2, 7));
  EXPECT_EQ(unknown.error.description, "Unknown object");
  EXPECT_EQ(unknown.error.details, "GetValue(7)");
  EXPECT_EQ(unknown.error.message, "Object 7 does not exist");
}

enum class Outcome { Answered, AnsweredAndClosed, ClientLeaves };

struct BadInput {
  const char* name;
  Bytes bytes;
  std::int32_t code;
  // AnsweredAndClosed: the header could not be read, so the answer goes under id 0.
  Outcome outcome = Outcome::Answered;
};

std::vector<BadInput> BadInputs() {
  const Bytes getValueBody = {0x00, 0x01, 0x87, 0x05, 0x00};
  const Bytes shortString = {0x00, 0x01, 0x87, 0x05, 0x00, 0x00, 0x00, 0x03, 0xE8, 'a', 'b'};
  Bytes wrongMagic = RawFrame(MessageKind::GetValue, getValueBody);
  wrongMagic.at(4) = 'H';
  // Exactly the largest frame: the value text it carries is too long for a value.
  const std::string longestText(Protocol::MaxFrameSize - Protocol::HeaderSize - 9, '1');
  const Bytes write = Protocol::EncodeRequest(SetValue(1, Lamp, "3:1"));
  const auto cut = [&write](std::size_t size) {
    return Bytes(write.begin(), write.begin() + static_cast<std::ptrdiff_t>(size));
  };
  return {
      {"unknown kind", RawFrame(static_cast<MessageKind>(99), {}), UnknownKind},
      {"version 2", RawFrame(MessageKind::GetValue, getValueBody, 2), UnsupportedVersion},
      {"body cut short", RawFrame(MessageKind::GetValue, {0x00, 0x01}), MalformedFrame},
      {"string beyond the frame", RawFrame(MessageKind::SetValue, shortString), MalformedFrame},
      {"count beyond the frame", RawFrame(MessageKind::SetDeviceConfig, {0xFF, 0xFF, 0xFF, 0xFF}),
       MalformedFrame},
      {"largest frame", Protocol::EncodeRequest(SetValue(11, Lamp, longestText)), InvalidValue},
      {"wrong magic", wrongMagic, MalformedFrame, Outcome::AnsweredAndClosed},
      {"length above the limit",
       {0x00, 0x10, 0x00, 0x01, 'A', 'V', 'D', 'S'},
       FrameTooLarge,
       Outcome::AnsweredAndClosed},
      {"length below a header",
       {0x00, 0x00, 0x00, 0x03, 'G', 'E', 'T'},
       MalformedFrame,
       Outcome::AnsweredAndClosed},
      {"leaves inside the prefix", cut(2), 0, Outcome::ClientLeaves},
      {"leaves inside the header", cut(10), 0, Outcome::ClientLeaves},
      {"leaves before the last byte", cut(write.size() - 1), 0, Outcome::ClientLeaves},
  };
}

TEST(DeviceStackService, BadInputCostsOnlyItsOwnConnection) {
  ServiceProcess service({}, false);
  StartSeeded(service);
  TestClient bystander(service.Connect());
  std::uint64_t next = 1000;
  for (const BadInput& bad : BadInputs()) {
    SCOPED_TRACE(bad.name);
    TestClient client(service.Connect());
    client.Send(bad.bytes);
    if (bad.outcome == Outcome::ClientLeaves) {
      client.Close();
    } else {
      const std::optional<Protocol::Answer> answer = client.Read();
      ASSERT_TRUE(answer);
      const bool closes = bad.outcome == Outcome::AnsweredAndClosed;
      EXPECT_EQ(answer->error.code, bad.code) << answer->error.message;
      EXPECT_EQ(answer->requestId, closes ? 0U : 11U);
      // The kind of the request, read from its header (ProtocolError when unreadable).
      EXPECT_EQ(answer->kind,
                closes ? MessageKind::ProtocolError : static_cast<MessageKind>(bad.bytes.at(9)));
      if (closes) {
        EXPECT_TRUE(client.IsClosedByService());
      } else {
        EXPECT_EQ(client.Ask(GetValue(++next, Lamp)).text, "3:21.5");
      }
    }
    // Answered after the service has seen the bad input: a cut write had no effect.
    EXPECT_EQ(bystander.Ask(GetValue(++next, Lamp)).text, "3:21.5");
  }
  EXPECT_EQ(service.Stop(), 0);
  EXPECT_THAT(service.ReadLog(),
              ContainsRegex("INFO  \\[avo-devicestackd\\] OnFrame \\(Connection.cpp:[0-9]+\\) - "
                            "Connection [0-9]+ closed in the middle of a frame"));
  EXPECT_THAT(service.ReadLog(),
              ContainsRegex("INFO  \\[avo-devicestackd\\] OnPrefix \\(Connection.cpp:[0-9]+\\) - "
                            "Connection [0-9]+ closed in the middle of a frame"));
}

TEST(DeviceStackService, ServesSixtyFourClientsAtOnce) {
  constexpr int Clients = 64;
  ServiceProcess service({}, false);
  StartSeeded(service, Clients);
  // Every client connects before any sends: 64 connections at once.
  std::vector<std::unique_ptr<TestClient>> clients;
  clients.reserve(Clients);
  for (int i = 0; i < Clients; ++i) {
    clients.push_back(std::make_unique<TestClient>(service.Connect()));
  }
  // Each writes and reads its own object: what goes wrong, or nothing.
  const auto useObject = [](TestClient& client, std::uint32_t i) -> std::string {
    const std::uint32_t object = Lamp + 2 * i;
    for (std::uint64_t round = 0; round < 5; ++round) {
      const std::string value = "7:" + std::to_string(std::uint64_t{i} * 100 + round);
      const Protocol::Answer set = client.Ask(SetValue(2 * round + 1, object, value));
      const Protocol::Answer get = client.Ask(GetValue(2 * round + 2, object));
      if (set.error.code != 0 || set.text != value || get.text != value ||
          get.requestId != 2 * round + 2) {
        return "object " + std::to_string(object) + ": got '" + get.text + "' for '" + value + "'";
      }
    }
    return "";
  };
  std::vector<std::future<std::string>> results;
  for (std::uint32_t i = 0; i < Clients; ++i) {
    results.push_back(std::async(std::launch::async, useObject, std::ref(*clients[i]), i));
  }
  for (auto& result : results) {
    EXPECT_EQ(result.get(), "");
  }
  EXPECT_EQ(service.Stop(), 0);
}

} // namespace
