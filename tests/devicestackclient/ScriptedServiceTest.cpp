// The client against a service played by the test itself, for what a real
// service does not do on demand: unreadable data, an answer that never comes.

#include "Polt/DeviceStackProtocol.h"
#include "Polt/SocketDeviceStackClient.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib> // mkdtemp
#include <cstring>
#include <future>
#include <string>
#include <variant>

namespace {

using namespace std::chrono_literals;
namespace Protocol = Polt::DeviceStackProtocol;

// A listening socket; the test accepts, reads requests and answers by hand.
class ScriptedService {
public:
  ScriptedService() {
    char directory[] = "/tmp/avo-dsc-XXXXXX";
    m_directory = ::mkdtemp(directory);
    m_path = m_directory + "/service.sock";
    m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, m_path.c_str(), sizeof address.sun_path - 1);
    if (::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 4) != 0) {
      ADD_FAILURE() << "cannot listen on " << m_path << ": " << std::strerror(errno);
    }
  }
  ~ScriptedService() {
    Close();
    ::close(m_listener);
    ::unlink(m_path.c_str());
    ::rmdir(m_directory.c_str());
  }

  const std::string& Path() const { return m_path; }
  void Accept() {
    Close();
    m_connection = ::accept(m_listener, nullptr, nullptr);
  }
  void Close() {
    if (m_connection >= 0) {
      ::close(m_connection);
      m_connection = -1;
    }
  }
  Protocol::Request ReadRequest() {
    std::uint8_t prefix[Protocol::LengthPrefixSize];
    ReadExactly(prefix, sizeof prefix);
    const auto length = Protocol::DecodeFrameLength(prefix);
    std::vector<std::uint8_t> frame(length ? length.Value() : 0);
    ReadExactly(frame.data(), frame.size());
    auto request = Protocol::DecodeRequest(frame.data(), frame.size());
    EXPECT_TRUE(request.IsOk());
    return request ? request.Value() : Protocol::Request{};
  }
  void Answer(const Protocol::Request& request, Protocol::AnswerError error = {}) {
    Protocol::Answer answer;
    answer.kind = Protocol::KindOf(request.body);
    answer.requestId = request.requestId;
    answer.error = std::move(error);
    Send(Protocol::EncodeAnswer(answer));
  }
  void Send(const std::vector<std::uint8_t>& bytes) {
    ASSERT_EQ(::send(m_connection, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

private:
  void ReadExactly(std::uint8_t* data, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
      const ssize_t received = ::recv(m_connection, data + done, size - done, 0);
      ASSERT_GT(received, 0) << "the client closed the connection";
      done += static_cast<std::size_t>(received);
    }
  }

  std::string m_directory;
  std::string m_path;
  int m_listener = -1;
  int m_connection = -1;
};

template <class Body>
Body Expect(const Protocol::Request& request) {
  EXPECT_TRUE(std::holds_alternative<Body>(request.body)) << request.body.index();
  return std::holds_alternative<Body>(request.body) ? std::get<Body>(request.body) : Body{};
}

Polt::SocketDeviceStackClientOptions Options(const std::string& path) {
  Polt::SocketDeviceStackClientOptions options;
  options.socketPath = path;
  options.synchronousTimeout = 60s; // a lost connection, not the timeout, must end the waits
  options.minReconnectDelay = 1ms;
  options.maxReconnectDelay = 20ms;
  return options;
}

TEST(ScriptedService, UnreadableDataMakesTheClientReconnectAndRestoreTheValueFormat) {
  ScriptedService service;
  Polt::SocketDeviceStackClient client(Options(service.Path()));
  ASSERT_TRUE(client.IsConnected()); // the listener's backlog took the connection
  service.Accept();

  auto internal = std::async(std::launch::async, [&] { client.SetInternalValueFormat(true); });
  const Protocol::Request internalRequest = service.ReadRequest();
  EXPECT_TRUE(Expect<Protocol::SetInternalValueFormatRequest>(internalRequest).enabled);
  service.Answer(internalRequest);
  internal.get();
  auto format = std::async(std::launch::async, [&] { return client.SetValueFormat("Native"); });
  const Protocol::Request formatRequest = service.ReadRequest();
  service.Answer(formatRequest);
  EXPECT_TRUE(format.get());

  AvoTest::ScopedLogCapture capture(log4cplus::WARN_LOG_LEVEL);
  service.Send({0xFF, 0xFF, 0xFF, 0xFF}); // a length no frame has
  service.Accept();
  // The settings come first on the new connection, each answered before the next.
  const Protocol::Request restoredInternal = service.ReadRequest();
  EXPECT_TRUE(Expect<Protocol::SetInternalValueFormatRequest>(restoredInternal).enabled);
  service.Answer(restoredInternal);
  const Protocol::Request restoredFormat = service.ReadRequest();
  EXPECT_EQ(Expect<Protocol::SetValueFormatRequest>(restoredFormat).format, "Native");
  service.Answer(restoredFormat);
  ASSERT_TRUE(client.WaitUntilConnected(10s, 2));
  EXPECT_GT(restoredFormat.requestId, formatRequest.requestId); // identifiers are never reused

  const std::vector<std::string> texts = capture.Texts();
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[0].rfind("Unreadable answer from the device stack service (", 0), 0U) << texts[0];
  EXPECT_EQ(texts[1], "Lost the connection to the device stack service at '" + service.Path() +
                          "', reconnecting");
  EXPECT_EQ(client.GetCounters().malformedFrames, 1U);
}

TEST(ScriptedService, SynchronousCallsFailAtOnceWhenTheConnectionIsLostOrRefused) {
  ScriptedService service;
  Polt::SocketDeviceStackClient client(Options(service.Path()));
  service.Accept();

  auto refused = std::async(std::launch::async, [&] { return client.SetValueFormat(""); });
  service.Answer(service.ReadRequest(), {Protocol::ErrorCode::InvalidArgument, "d", "e", "m"});
  EXPECT_FALSE(refused.get());

  auto config = std::async(std::launch::async, [&] {
    std::string text = "untouched";
    const bool read = client.GetDeviceConfig(text, false);
    return std::make_pair(read, text);
  });
  Expect<Protocol::GetDeviceConfigRequest>(service.ReadRequest());
  service.Close(); // no answer
  ASSERT_EQ(config.wait_for(30s), std::future_status::ready) << "waited for the 60 s timeout";
  EXPECT_EQ(config.get(), std::make_pair(false, std::string("untouched")));
}

} // namespace
