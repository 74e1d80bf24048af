// The running service: every request kind, bad input of every sort on one
// connection while another keeps being served, and 64 clients at once.

#include "ServiceProcess.h"
#include "TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <thread>

namespace {

namespace Protocol = Polt::DeviceStackProtocol;
using namespace DeviceStackTest;
using Bytes = std::vector<std::uint8_t>;
using Protocol::MessageKind;
using Protocol::ErrorCode::FrameTooLarge;
using Protocol::ErrorCode::InvalidArgument;
using Protocol::ErrorCode::InvalidValue;
using Protocol::ErrorCode::MalformedFrame;
using Protocol::ErrorCode::UnknownKind;
using Protocol::ErrorCode::UnknownObject;
using Protocol::ErrorCode::UnsupportedVersion;
using ::testing::ContainsRegex;

constexpr std::uint32_t Lamp = 100101;

// A service seeded with `count` objects 100101, 100103, ... holding "3:21.5".
void StartSeeded(ServiceProcess& service, int count = 1) {
  const std::string seed = service.Directory() + "/seed";
  std::ofstream file(seed);
  file << "# test objects\n";
  for (int i = 0; i < count; ++i) {
    file << Lamp + 2 * i << " 3:21.5\n";
  }
  file.close();
  service.AddArguments({"--seed", seed});
  service.Start();
}

void AppendBigEndian(Bytes& bytes, std::uint64_t value, int size) {
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

// A frame laid out by hand, so that every header field can be wrong.
Bytes RawFrame(std::uint8_t kind, const Bytes& body, std::uint64_t requestId = 11,
               std::uint8_t version = 1, std::uint16_t flags = 0,
               std::uint32_t magic = Protocol::Magic) {
  Bytes frame;
  AppendBigEndian(frame, Protocol::HeaderSize + body.size(), 4);
  AppendBigEndian(frame, magic, 4);
  frame.push_back(version);
  frame.push_back(kind);
  AppendBigEndian(frame, flags, 2);
  AppendBigEndian(frame, requestId, 8);
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
  struct stat status {};
  ASSERT_EQ(::stat(service.SocketPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0660U);

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
      {{14, SetConfigurationRequest{Lamp, false, {{Polt::IDeviceStackClient::ptName, {"lamp"}}}}},
       0,
       ""},
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

struct BadInput {
  const char* name;
  Bytes bytes;
  std::int32_t code;
  std::uint64_t requestId; // echoed; 0 where the frame's header could not be read
  MessageKind kind;
  bool closes;
};

std::vector<BadInput> BadInputs() {
  const Bytes getValueBody = {0x00, 0x01, 0x87, 0x05, 0x00};
  Bytes badBool = getValueBody;
  badBool.back() = 2;
  Bytes trailing = getValueBody;
  trailing.push_back(0);
  const Bytes shortString = {0x00, 0x01, 0x87, 0x05, 0x00, 0x00, 0x00, 0x03, 0xE8, 'a', 'b'};
  const Bytes hugeCount = {0xFF, 0xFF, 0xFF, 0xFF};
  Bytes tooLong = {0x00, 0x01, 0x87, 0x05, 0x00};
  const std::size_t valueSize = Protocol::MaxFrameSize - Protocol::HeaderSize - 9;
  AppendBigEndian(tooLong, valueSize, 4);
  tooLong.resize(tooLong.size() + valueSize, '1');
  const auto kind = [](MessageKind k) { return static_cast<std::uint8_t>(k); };
  return {
      {"unknown kind", RawFrame(99, {}), UnknownKind, 11, static_cast<MessageKind>(99), false},
      {"kind 0", RawFrame(0, getValueBody), UnknownKind, 11, MessageKind::ProtocolError, false},
      {"version 2", RawFrame(kind(MessageKind::GetValue), getValueBody, 11, 2), UnsupportedVersion,
       11, MessageKind::GetValue, false},
      {"answer flag", RawFrame(kind(MessageKind::GetValue), getValueBody, 11, 1, 1), MalformedFrame,
       11, MessageKind::GetValue, false},
      {"boolean 2", RawFrame(kind(MessageKind::GetValue), badBool), MalformedFrame, 11,
       MessageKind::GetValue, false},
      {"body cut short", RawFrame(kind(MessageKind::GetValue), {0x00, 0x01}), MalformedFrame, 11,
       MessageKind::GetValue, false},
      {"string beyond the frame", RawFrame(kind(MessageKind::SetValue), shortString),
       MalformedFrame, 11, MessageKind::SetValue, false},
      {"bytes after the body", RawFrame(kind(MessageKind::GetValue), trailing), MalformedFrame, 11,
       MessageKind::GetValue, false},
      {"count beyond the frame", RawFrame(kind(MessageKind::SetDeviceConfig), hugeCount),
       MalformedFrame, 11, MessageKind::SetDeviceConfig, false},
      {"largest frame, value text too long", RawFrame(kind(MessageKind::SetValue), tooLong),
       InvalidValue, 11, MessageKind::SetValue, false},
      {"wrong magic", RawFrame(kind(MessageKind::GetValue), getValueBody, 11, 1, 0, 0x48545450),
       MalformedFrame, 0, MessageKind::ProtocolError, true},
      {"length above the limit",
       {0x00, 0x10, 0x00, 0x01, 'A', 'V', 'D', 'S'},
       FrameTooLarge,
       0,
       MessageKind::ProtocolError,
       true},
      {"length below a header",
       {0x00, 0x00, 0x00, 0x03, 'G', 'E', 'T'},
       MalformedFrame,
       0,
       MessageKind::ProtocolError,
       true},
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
    const std::optional<Protocol::Answer> answer = client.Read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->error.code, bad.code) << answer->error.message;
    EXPECT_EQ(answer->requestId, bad.requestId);
    EXPECT_EQ(answer->kind, bad.kind);
    if (bad.closes) {
      EXPECT_TRUE(client.IsClosedByService());
    } else {
      EXPECT_EQ(client.Ask(GetValue(++next, Lamp)).text, "3:21.5");
    }
    EXPECT_EQ(bystander.Ask(GetValue(++next, Lamp)).text, "3:21.5");
  }
  EXPECT_TRUE(service.IsRunning());
  EXPECT_EQ(service.Stop(), 0);
}

TEST(DeviceStackService, ClientThatLeavesInsideAFrameCostsOnlyThatFrame) {
  ServiceProcess service({}, false);
  StartSeeded(service);
  TestClient bystander(service.Connect());
  const Bytes whole = Protocol::EncodeRequest(SetValue(1, Lamp, "3:1"));
  for (const std::size_t cut : {std::size_t{2}, std::size_t{10}, whole.size() - 1}) {
    TestClient leaving(service.Connect());
    leaving.Send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut)));
    leaving.Close();
    // Answered after the service has seen the close: the cut write had no effect.
    EXPECT_EQ(bystander.Ask(GetValue(cut, Lamp)).text, "3:21.5");
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
  constexpr int Rounds = 5;
  ServiceProcess service({}, false);
  StartSeeded(service, Clients);

  // Every client connects before any sends: 64 connections at once.
  std::vector<std::unique_ptr<TestClient>> clients;
  clients.reserve(Clients);
  for (int i = 0; i < Clients; ++i) {
    clients.push_back(std::make_unique<TestClient>(service.Connect()));
  }
  std::mutex mutex;
  std::vector<std::string> failures;
  std::vector<std::thread> threads;
  threads.reserve(Clients);
  for (int i = 0; i < Clients; ++i) {
    threads.emplace_back([&, i] {
      const std::uint32_t object = Lamp + 2 * static_cast<std::uint32_t>(i);
      TestClient& client = *clients[static_cast<std::size_t>(i)];
      try {
        for (int round = 0; round < Rounds; ++round) {
          const std::string value = "7:" + std::to_string(i * 100 + round);
          const Protocol::Answer set = client.Ask(SetValue(2 * round + 1, object, value));
          const Protocol::Answer get = client.Ask(GetValue(2 * round + 2, object));
          if (set.error.code != 0 || set.text != value || get.text != value ||
              get.requestId != 2 * static_cast<std::uint64_t>(round) + 2) {
            std::lock_guard<std::mutex> lock(mutex);
            failures.push_back("client " + std::to_string(i) + ": got '" + get.text + "' for '" +
                               value + "'");
          }
        }
      } catch (const std::exception& error) {
        std::lock_guard<std::mutex> lock(mutex);
        failures.push_back("client " + std::to_string(i) + ": " + error.what());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(failures, ::testing::IsEmpty());
  EXPECT_EQ(service.Stop(), 0);
}

} // namespace
