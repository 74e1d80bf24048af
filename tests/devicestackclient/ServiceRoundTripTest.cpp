// Every request through the request messenger and the socket client to a
// running avo-devicestackd, and what a caller sees while there is none.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "Polt/SocketDeviceStackClient.h"

#include "ServiceProcess.h"

#include <gtest/gtest.h>

#include <future>
#include <tuple>

#include <signal.h> // NOLINT(modernize-deprecated-headers): POSIX kill, SIGSTOP

namespace {

using namespace std::chrono_literals;
using boost::posix_time::milliseconds;
using Client = Polt::IDeviceStackClient;

constexpr unsigned long Lamp = 100101;
constexpr unsigned long Missing = 7;

VELVALUE Float(double number) {
  VELVALUE value(ivtFloat);
  value.dblVal = number;
  return value;
}

std::string Text(double number, bool internalFormat = false) {
  return Avo::RemoteRequestMessengerDeviceStack::ValueText(Float(number), internalFormat);
}

// The client, the adapter and the messenger, in the order an app makes them.
struct App {
  explicit App(const std::string& socketPath)
      : client(Options(socketPath)), messenger(adapter, milliseconds(2000), 2) {
    messenger.SetAsResponseHandler();
  }
  ~App() { messenger.UnsetAsResponseHandler(); }

  static Polt::SocketDeviceStackClientOptions Options(const std::string& socketPath) {
    Polt::SocketDeviceStackClientOptions options;
    options.socketPath = socketPath;
    options.minReconnectDelay = 1ms;
    options.maxReconnectDelay = 50ms;
    return options;
  }

  Polt::SocketDeviceStackClient client;
  Avo::RemoteRequestMessengerDeviceStack adapter{client};
  Avo::DscAsyncRequestMessenger messenger;
};

void SeedLamp(DeviceStackTest::ServiceProcess& service) {
  service.Seed(std::to_string(Lamp) + ' ' + Text(21.5) + '\n');
}

// Answered, valid, reply, delivery error.
using Outcome = std::tuple<bool, bool, std::string, std::string>;

Outcome Of(const Avo::Docket& docket) {
  return {docket.IsAnswered(), docket.IsReplyValid(), docket.ReadReply(),
          docket.ReadDeliveryError()};
}

TEST(SocketClientAndService, EveryRequestKindRoundTripsThroughTheMessenger) {
  DeviceStackTest::ServiceProcess service({}, false);
  SeedLamp(service);
  service.Start();
  App app(service.SocketPath());
  Avo::DscAsyncRequestMessenger& messenger = app.messenger;
  const Avo::BoolReader relevant([] { return true; });

  // In order: later requests read what earlier ones wrote.
  const Outcome done{true, true, "", ""};
  EXPECT_EQ(Of(messenger.GetValue(Lamp, false)), Outcome(true, true, Text(21.5), ""));
  EXPECT_EQ(Of(messenger.SetValue(Lamp, Float(22.5), false)), Outcome(true, true, Text(22.5), ""));
  EXPECT_EQ(Of(messenger.GetValue(Lamp, false)), Outcome(true, true, Text(22.5), ""));
  EXPECT_EQ(Of(messenger.GetValue(Missing, false)),
            Outcome(true, false, "", "Object 7 does not exist"));
  EXPECT_EQ(Of(messenger.Request("ping", milliseconds(0))), Outcome(true, true, "ping", ""));
  EXPECT_EQ(Of(messenger.RegisterApplication("app1", "1.0", "/opt/apps")), done);
  EXPECT_EQ(Of(messenger.SetConfiguration("cfg", milliseconds(0), relevant)), done);
  EXPECT_EQ(Of(messenger.SetConfiguration(Lamp, {{Client::ptUnit, {"°C"}}}, false)), done);
  EXPECT_EQ(Of(messenger.SetConfiguration(Missing, {{Client::ptUnit, {"K"}}}, false)),
            Outcome(true, false, "", ""));
  EXPECT_TRUE(messenger.SetDeviceConfig({{"room", "kitchen"}}));
  std::string config;
  EXPECT_TRUE(messenger.GetDeviceConfig(config, false));
  EXPECT_EQ(config, "room=kitchen\n");
  EXPECT_TRUE(messenger.EnableNativeFormat());
  EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(Lamp, Float(23.5), false));

  // The format belongs to the connection: a restarted service still answers
  // in the internal form, because the client makes the setting again.
  app.adapter.EnableInternalValueFormat();
  EXPECT_EQ(Of(messenger.GetValue(Lamp, false)), Outcome(true, true, Text(23.5, true), ""));
  ASSERT_NE(Text(23.5, true), Text(23.5));
  EXPECT_EQ(service.Stop(), 0);
  service.Start();
  ASSERT_TRUE(app.client.WaitUntilConnected(30s, 2));
  EXPECT_EQ(Of(messenger.GetValue(Lamp, false)), Outcome(true, true, Text(23.5, true), ""));
  EXPECT_EQ(app.client.GetCounters().handlerExceptions, 0U);
}

TEST(SocketClientAndService, WithoutAServiceRequestsFailAtOnceUntilItComes) {
  DeviceStackTest::ServiceProcess service({}, false);
  SeedLamp(service);
  App app(service.SocketPath());
  EXPECT_FALSE(app.client.IsConnected());

  // The messenger's timeout is 2 s a try: empty identifiers must not wait for it.
  auto calls = std::async(std::launch::async, [&app] {
    Avo::DscAsyncRequestMessenger& messenger = app.messenger;
    std::string config = "untouched";
    EXPECT_FALSE(messenger.GetValue(Lamp, false).IsAnswered());
    EXPECT_FALSE(messenger.SetValue(Lamp, Float(1), false).IsAnswered());
    EXPECT_FALSE(messenger.Request("ping", milliseconds(0)).IsAnswered());
    EXPECT_FALSE(messenger.SetValueAndIgnoreResponse(Lamp, Float(1), false));
    EXPECT_FALSE(messenger.SetConfiguration(Lamp, {}, false).IsReplyValid());
    EXPECT_FALSE(messenger.GetDeviceConfig(config, false));
    EXPECT_EQ(config, "untouched");
    EXPECT_FALSE(messenger.EnableNativeFormat());
    EXPECT_TRUE(app.client.Request("ping").empty());
  });
  ASSERT_EQ(calls.wait_for(1500ms), std::future_status::ready) << "a request waited for a timeout";
  calls.get();
  // 3 attempts each for the 3 blocking requests, 1 for each of the other 5.
  EXPECT_EQ(app.client.GetCounters().unsentRequests, 14U);
  EXPECT_EQ(app.client.GetCounters().sentRequests, 0U);

  service.Start();
  ASSERT_TRUE(app.client.WaitUntilConnected(30s));
  EXPECT_EQ(Of(app.messenger.GetValue(Lamp, false)), Outcome(true, true, Text(21.5), ""));
}

// A service that stops answering and then dies: a synchronous call that
// waits for it ends with the connection, long before its own timeout.
TEST(SocketClientAndService, SynchronousCallEndsWhenTheServiceDiesWhileItWaits) {
  DeviceStackTest::ServiceProcess service;
  Polt::SocketDeviceStackClientOptions options = App::Options(service.SocketPath());
  options.synchronousTimeout = 60s;
  Polt::SocketDeviceStackClient client(options);
  ASSERT_TRUE(client.IsConnected());
  ASSERT_EQ(::kill(service.Pid(), SIGSTOP), 0);
  auto call = std::async(std::launch::async, [&client] {
    std::string config = "untouched";
    return std::make_pair(client.GetDeviceConfig(config, false), config);
  });
  service.Kill();
  ASSERT_EQ(call.wait_for(30s), std::future_status::ready) << "waited for the 60 s timeout";
  EXPECT_EQ(call.get(), std::make_pair(false, std::string("untouched")));
}

} // namespace
