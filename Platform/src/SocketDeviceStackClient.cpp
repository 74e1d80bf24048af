#include "Polt/SocketDeviceStackClient.h"

#include "AnswerStream.h"
#include "UnixStreamConnection.h"

#include "Avo/Logging.h"
#include "Polt/DeviceStackError.h"
#include "Polt/DeviceStackProtocol.h"

#include <algorithm> // std::min
#include <atomic>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <optional>
#include <stdexcept> // std::invalid_argument, std::length_error
#include <thread>
#include <unordered_map>
#include <utility>
#include <variant> // std::get_if
#include <vector>

namespace Polt {
namespace {

namespace Protocol = DeviceStackProtocol;
using Clock = std::chrono::steady_clock;
using Detail::AnswerStream;
using Detail::UnixStreamConnection;
using Connection = std::shared_ptr<UnixStreamConnection>;

// Room for many answers per read; an answer longer than this arrives in parts.
constexpr std::size_t ReceiveBufferSize = std::size_t{64} * 1024;

bool IsSynchronous(Protocol::MessageKind kind) {
  switch (kind) {
  case Protocol::MessageKind::SetConfiguration:
  case Protocol::MessageKind::GetDeviceConfig:
  case Protocol::MessageKind::SetDeviceConfig:
  case Protocol::MessageKind::SetValueFormat:
  case Protocol::MessageKind::SetInternalValueFormat:
    return true;
  default:
    return false;
  }
}

// Object identifiers travel as 32 bits; where unsigned long is wider, a larger
// one names no object and cannot be sent.
std::optional<std::uint32_t> WireObjectId(unsigned long id) {
  if constexpr (sizeof(unsigned long) > sizeof(std::uint32_t)) {
    if (id > std::numeric_limits<std::uint32_t>::max()) {
      return std::nullopt;
    }
  }
  return static_cast<std::uint32_t>(id);
}

DeviceStackError ErrorOf(Protocol::Answer& answer) {
  if (answer.error.code == Protocol::ErrorCode::None) {
    return DeviceStackError();
  }
  return DeviceStackError(answer.error.code, std::move(answer.error.description),
                          std::move(answer.error.details), std::move(answer.error.message));
}

void Deliver(IDeviceStackClient::IResponseHandler& handler, Protocol::Answer& answer,
             void* context) {
  const std::string requestId = std::to_string(answer.requestId);
  const DeviceStackError error = ErrorOf(answer);
  switch (answer.kind) {
  case Protocol::MessageKind::Request:
    handler.OnResponse(context, requestId, answer.text, error);
    break;
  case Protocol::MessageKind::RegisterApplication:
    handler.OnRegisterApplication(context, requestId, error);
    break;
  case Protocol::MessageKind::SendConfiguration:
    handler.OnSetConfiguration(context, requestId, error);
    break;
  case Protocol::MessageKind::GetValue:
    handler.OnGetValue(context, requestId, answer.objectId, answer.urn, answer.text, error);
    break;
  case Protocol::MessageKind::SetValue:
    handler.OnSetValue(context, requestId, answer.objectId, answer.urn, answer.text, error);
    break;
  default:
    break; // not an answer for a handler; Dispatch never passes one
  }
}

// A handler that throws must not end the receive thread: every later answer,
// and every caller waiting for one, would be lost with it.
bool CallHandler(IDeviceStackClient::IResponseHandler& handler, Protocol::Answer& answer,
                 void* context) noexcept {
  try {
    Deliver(handler, answer, context);
    return true;
  } catch (...) {
    return false;
  }
}

struct AtomicCounters {
  std::atomic<std::uint64_t> connections{0};
  std::atomic<std::uint64_t> connectionsLost{0};
  std::atomic<std::uint64_t> sentRequests{0};
  std::atomic<std::uint64_t> unsentRequests{0};
  std::atomic<std::uint64_t> deliveredAnswers{0};
  std::atomic<std::uint64_t> answersWithoutHandler{0};
  std::atomic<std::uint64_t> unexpectedAnswers{0};
  std::atomic<std::uint64_t> handlerExceptions{0};
  std::atomic<std::uint64_t> malformedFrames{0};

  SocketDeviceStackClientCounters Snapshot() const {
    SocketDeviceStackClientCounters counters;
    counters.connections = connections;
    counters.connectionsLost = connectionsLost;
    counters.sentRequests = sentRequests;
    counters.unsentRequests = unsentRequests;
    counters.deliveredAnswers = deliveredAnswers;
    counters.answersWithoutHandler = answersWithoutHandler;
    counters.unexpectedAnswers = unexpectedAnswers;
    counters.handlerExceptions = handlerExceptions;
    counters.malformedFrames = malformedFrames;
    return counters;
  }
};

// A synchronous operation waiting for its answer.
struct PendingCall {
  bool done = false;
  bool succeeded = false;
  std::string text;
  // The value format setting it makes, remembered for later connections
  // once the service has taken it.
  std::optional<bool> internalValueFormat;
  std::optional<std::string> valueFormat;
};

void NoteValueFormatSetting(const Protocol::RequestBody& body, PendingCall& call) {
  if (const auto* internal = std::get_if<Protocol::SetInternalValueFormatRequest>(&body)) {
    call.internalValueFormat = internal->enabled;
  } else if (const auto* format = std::get_if<Protocol::SetValueFormatRequest>(&body)) {
    call.valueFormat = format->format;
  }
}

} // namespace

class SocketDeviceStackClient::Impl {
public:
  explicit Impl(SocketDeviceStackClientOptions options) : m_options(std::move(options)) {
    if (m_options.socketPath.empty() ||
        m_options.socketPath.size() > UnixStreamConnection::MaxPathLength()) {
      throw std::invalid_argument("device stack socket path must have 1 to " +
                                  std::to_string(UnixStreamConnection::MaxPathLength()) +
                                  " characters: '" + m_options.socketPath + "'");
    }
    m_receiveThread = std::thread(&Impl::ReceiveLoop, this, ConnectAtStart());
  }

  ~Impl() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_stopping = true;
      if (m_connection) {
        m_connection->Shutdown();
      }
    }
    m_wakeUp.notify_all();
    m_receiveThread.join();
  }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  bool IsConnected() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_usable;
  }

  bool WaitUntilConnected(std::chrono::milliseconds timeout, std::uint64_t connections) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_connectionChanged.wait_for(
        lock, timeout, [&] { return m_usable && m_counters.connections >= connections; });
  }

  SocketDeviceStackClientCounters GetCounters() const { return m_counters.Snapshot(); }

  // Sends an asynchronous request; its request identifier, or empty.
  std::string SendAsync(Protocol::RequestBody body, void* context) {
    const std::uint64_t requestId = NextRequestId();
    std::vector<std::uint8_t> frame;
    if (!Encode(requestId, std::move(body), frame)) {
      ++m_counters.unsentRequests;
      return std::string();
    }
    Connection connection;
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      if (!m_usable) {
        ++m_counters.unsentRequests;
        return std::string();
      }
      connection = m_connection;
      if (context != nullptr) {
        m_contexts[requestId] = context;
      }
    }
    if (!connection->SendAll(frame.data(), frame.size())) {
      ++m_counters.unsentRequests;
      if (context != nullptr) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_contexts.erase(requestId);
      }
      return std::string();
    }
    ++m_counters.sentRequests;
    return std::to_string(requestId);
  }

  // Sends a synchronous request and waits for its answer; true when the
  // service carried it out. text receives the answer's text.
  bool CallSynchronously(const Protocol::RequestBody& body, std::string* text) {
    const std::uint64_t requestId = NextRequestId();
    std::vector<std::uint8_t> frame;
    if (!Encode(requestId, Protocol::RequestBody(body), frame)) {
      ++m_counters.unsentRequests;
      return false;
    }
    const auto call = std::make_shared<PendingCall>();
    NoteValueFormatSetting(body, *call);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_usable) {
      ++m_counters.unsentRequests;
      return false;
    }
    const Connection connection = m_connection;
    // Listed before it is sent: the answer may come before SendAll returns.
    m_pendingCalls.emplace(requestId, call);
    lock.unlock();
    const bool sent = connection->SendAll(frame.data(), frame.size());
    lock.lock();
    if (!sent) {
      m_pendingCalls.erase(requestId);
      ++m_counters.unsentRequests;
      return false;
    }
    ++m_counters.sentRequests;
    const bool answered = m_callAnswered.wait_until(
        lock, Clock::now() + m_options.synchronousTimeout, [&call] { return call->done; });
    m_pendingCalls.erase(requestId);
    if (!answered) {
      AVO_LOG_WARN("No answer from the device stack service to request "
                   << requestId << " within " << m_options.synchronousTimeout.count() << " ms");
      return false;
    }
    if (text != nullptr) {
      *text = std::move(call->text);
    }
    return call->succeeded;
  }

  void SetResponseHandler(IResponseHandler* handler) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_handler = handler;
    // A handler call that runs now may still use the previous handler, whose
    // owner may destroy it once this returns. From within a handler call there
    // is nothing to wait for (it would wait for itself).
    if (!m_inHandler || std::this_thread::get_id() == m_receiveThread.get_id()) {
      return;
    }
    const std::uint64_t callsBefore = m_handlerCallsFinished;
    m_handlerReturned.wait(lock, [&] { return m_handlerCallsFinished != callsBefore; });
  }

private:
  std::uint64_t NextRequestId() { return ++m_lastRequestId; }

  static bool Encode(std::uint64_t requestId, Protocol::RequestBody&& body,
                     std::vector<std::uint8_t>& frame) {
    try {
      frame = Protocol::EncodeRequest(Protocol::Request{requestId, std::move(body)});
      return true;
    } catch (const std::length_error& error) {
      AVO_LOG_ERROR("Request " << requestId << " not sent: " << error.what());
      return false;
    }
  }

  // A service that is up is usable as soon as the client is constructed.
  Connection ConnectAtStart() {
    std::string failure;
    Connection connection = Connect(failure);
    if (connection) {
      Publish(connection);
    } else {
      AVO_LOG_WARN("Device stack service at '" << m_options.socketPath << "' not reachable ("
                                               << failure << "), connecting in the background");
    }
    return connection;
  }

  // One attempt to reach the service; the settings of the value format are
  // made before the connection is handed to requests.
  Connection Connect(std::string& failure) {
    Connection connection(
        UnixStreamConnection::Connect(m_options.socketPath, m_options.sendTimeout, failure));
    if (!connection) {
      return nullptr;
    }
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      if (m_stopping) {
        return nullptr;
      }
      m_connection = connection; // reachable for the destructor's Shutdown
    }
    if (!RestoreValueFormat(*connection)) {
      failure = "the value format could not be restored";
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_connection.reset();
      return nullptr;
    }
    return connection;
  }

  // Makes the remembered format settings on a new connection that no request
  // uses yet, so every answer read here is one of these.
  bool RestoreValueFormat(UnixStreamConnection& connection) {
    std::vector<Protocol::RequestBody> settings;
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      if (m_internalValueFormat) {
        settings.emplace_back(Protocol::SetInternalValueFormatRequest{*m_internalValueFormat});
      }
      if (m_valueFormat) {
        settings.emplace_back(Protocol::SetValueFormatRequest{*m_valueFormat});
      }
    }
    AnswerStream stream;
    for (Protocol::RequestBody& setting : settings) {
      const std::uint64_t requestId = NextRequestId();
      std::vector<std::uint8_t> frame;
      if (!Encode(requestId, std::move(setting), frame) ||
          !connection.SendAll(frame.data(), frame.size())) {
        return false;
      }
      const std::optional<Protocol::Answer> answer = ReadOneAnswer(connection, stream);
      if (!answer || answer->requestId != requestId) {
        return false;
      }
      if (answer->error.code != Protocol::ErrorCode::None) {
        AVO_LOG_WARN("The device stack service refused to restore the value format: "
                     << answer->error.message);
      }
    }
    return true;
  }

  std::optional<Protocol::Answer> ReadOneAnswer(UnixStreamConnection& connection,
                                                AnswerStream& stream) {
    for (;;) {
      if (std::optional<AnswerStream::Decoded> answer = stream.Next()) {
        if (!answer->IsOk()) {
          ++m_counters.malformedFrames;
          return std::nullopt;
        }
        return std::move(answer->Value());
      }
      const long received = connection.Receive(m_receiveBuffer.data(), m_receiveBuffer.size());
      if (received <= 0) {
        return std::nullopt;
      }
      stream.Append(m_receiveBuffer.data(), static_cast<std::size_t>(received));
    }
  }

  void Publish(const Connection& connection) {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_connection = connection;
      m_usable = true;
      ++m_counters.connections;
    }
    m_connectionChanged.notify_all();
    AVO_LOG_INFO("Connected to the device stack service at '" << m_options.socketPath << "'");
  }

  void ReceiveLoop(Connection connection) {
    for (;;) {
      if (!connection) {
        connection = Reconnect();
        if (!connection) {
          return; // stopping
        }
        Publish(connection);
      }
      ReadAnswers(*connection);
      connection.reset();
      if (LoseConnection()) {
        return; // stopping
      }
    }
  }

  // Tries to connect until it succeeds or the client stops (null): at once,
  // then after pauses that double from minReconnectDelay to maxReconnectDelay.
  Connection Reconnect() {
    std::chrono::milliseconds delay = m_options.minReconnectDelay;
    for (;;) {
      std::string failure;
      if (Connection connection = Connect(failure)) {
        return connection;
      }
      AVO_LOG_DEBUG("Device stack service at '" << m_options.socketPath << "' not reachable ("
                                                << failure << "), next attempt in " << delay.count()
                                                << " ms");
      std::unique_lock<std::mutex> lock(m_mutex);
      if (m_wakeUp.wait_for(lock, delay, [this] { return m_stopping; })) {
        return nullptr;
      }
      delay =
          std::min(delay * 2, std::max(m_options.maxReconnectDelay, m_options.minReconnectDelay));
    }
  }

  void ReadAnswers(UnixStreamConnection& connection) {
    AnswerStream stream;
    for (;;) {
      const long received = connection.Receive(m_receiveBuffer.data(), m_receiveBuffer.size());
      if (received <= 0) {
        return;
      }
      stream.Append(m_receiveBuffer.data(), static_cast<std::size_t>(received));
      while (std::optional<AnswerStream::Decoded> answer = stream.Next()) {
        if (!answer->IsOk()) {
          ++m_counters.malformedFrames;
          AVO_LOG_ERROR("Unreadable answer from the device stack service ("
                        << answer->Error().message << "), reconnecting");
          connection.Shutdown();
          return;
        }
        Dispatch(answer->Value());
      }
    }
  }

  // Ends the current connection: synchronous callers waiting on it fail at
  // once, asynchronous requests on it stay unanswered. True when stopping.
  bool LoseConnection() {
    bool stopping = false;
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      stopping = m_stopping;
      m_connection.reset();
      m_usable = false;
      ++m_counters.connectionsLost;
      for (auto& pending : m_pendingCalls) {
        pending.second->done = true;
      }
      m_contexts.clear();
    }
    m_callAnswered.notify_all();
    m_connectionChanged.notify_all();
    if (!stopping) {
      AVO_LOG_WARN("Lost the connection to the device stack service at '" << m_options.socketPath
                                                                          << "', reconnecting");
    }
    return stopping;
  }

  void Dispatch(Protocol::Answer& answer) {
    if (answer.kind == Protocol::MessageKind::ProtocolError) {
      AVO_LOG_ERROR("The device stack service could not read request " << answer.requestId << ": "
                                                                       << answer.error.message);
      CompleteCall(answer);
      return;
    }
    if (IsSynchronous(answer.kind)) {
      CompleteCall(answer);
      return;
    }
    CallResponseHandler(answer);
  }

  void CompleteCall(Protocol::Answer& answer) {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      const auto pending = m_pendingCalls.find(answer.requestId);
      if (pending == m_pendingCalls.end()) {
        ++m_counters.unexpectedAnswers;
        return;
      }
      PendingCall& call = *pending->second;
      call.done = true;
      call.succeeded = answer.kind != Protocol::MessageKind::ProtocolError &&
                       answer.error.code == Protocol::ErrorCode::None;
      call.text = std::move(answer.text);
      // Remembered here, on the thread that also reconnects: a connection
      // made after this answer is sure to get the setting.
      if (call.succeeded) {
        RememberValueFormat(call);
      }
    }
    m_callAnswered.notify_all();
  }

  // The value format settings are made again on every new connection (with m_mutex held).
  void RememberValueFormat(const PendingCall& call) {
    if (call.internalValueFormat) {
      m_internalValueFormat = call.internalValueFormat;
    }
    if (call.valueFormat) {
      m_valueFormat = call.valueFormat;
    }
  }

  void CallResponseHandler(Protocol::Answer& answer) {
    std::unique_lock<std::mutex> lock(m_mutex);
    void* context = nullptr;
    if (!m_contexts.empty()) {
      const auto found = m_contexts.find(answer.requestId);
      if (found != m_contexts.end()) {
        context = found->second;
        m_contexts.erase(found);
      }
    }
    if (m_handler == nullptr) {
      ++m_counters.answersWithoutHandler;
      return;
    }
    IResponseHandler& handler = *m_handler;
    m_inHandler = true;
    lock.unlock();
    const bool completed = CallHandler(handler, answer, context);
    lock.lock();
    m_inHandler = false;
    ++m_handlerCallsFinished;
    ++m_counters.deliveredAnswers;
    lock.unlock();
    m_handlerReturned.notify_all();
    if (!completed) {
      ++m_counters.handlerExceptions;
      AVO_LOG_ERROR("The response handler threw on the answer to request " << answer.requestId);
    }
  }

  const SocketDeviceStackClientOptions m_options;
  std::atomic<std::uint64_t> m_lastRequestId{0};
  AtomicCounters m_counters;

  mutable std::mutex m_mutex; // guards everything below but the receive buffer and thread
  Connection m_connection;    // the newest connection, also while it is being set up
  bool m_usable = false;      // m_connection takes requests
  bool m_stopping = false;
  std::unordered_map<std::uint64_t, std::shared_ptr<PendingCall>> m_pendingCalls;
  std::unordered_map<std::uint64_t, void*> m_contexts; // of requests sent with a context
  std::optional<bool> m_internalValueFormat;
  std::optional<std::string> m_valueFormat;
  IResponseHandler* m_handler = nullptr;
  bool m_inHandler = false;
  std::uint64_t m_handlerCallsFinished = 0;
  mutable std::condition_variable m_connectionChanged;
  std::condition_variable m_callAnswered;
  std::condition_variable m_handlerReturned;
  std::condition_variable m_wakeUp; // ends the pause between reconnection attempts

  std::vector<char> m_receiveBuffer = std::vector<char>(ReceiveBufferSize); // receive thread only
  std::thread m_receiveThread; // last: starts once everything above exists
};

SocketDeviceStackClient::SocketDeviceStackClient(SocketDeviceStackClientOptions options)
    : m_impl(std::make_unique<Impl>(std::move(options))) {}

SocketDeviceStackClient::~SocketDeviceStackClient() = default;

bool SocketDeviceStackClient::IsConnected() const { return m_impl->IsConnected(); }

bool SocketDeviceStackClient::WaitUntilConnected(std::chrono::milliseconds timeout,
                                                 std::uint64_t connections) const {
  return m_impl->WaitUntilConnected(timeout, connections);
}

SocketDeviceStackClientCounters SocketDeviceStackClient::GetCounters() const {
  return m_impl->GetCounters();
}

void SocketDeviceStackClient::SetInternalValueFormat(bool enabled) {
  m_impl->CallSynchronously(Protocol::SetInternalValueFormatRequest{enabled}, nullptr);
}

bool SocketDeviceStackClient::SetConfiguration(unsigned long id,
                                               const std::map<PropertyType, Property>& properties,
                                               bool flag) {
  const std::optional<std::uint32_t> objectId = WireObjectId(id);
  return objectId && m_impl->CallSynchronously(
                         Protocol::SetConfigurationRequest{*objectId, flag, properties}, nullptr);
}

bool SocketDeviceStackClient::GetDeviceConfig(std::string& config, bool flag) {
  std::string text;
  if (!m_impl->CallSynchronously(Protocol::GetDeviceConfigRequest{flag}, &text)) {
    return false;
  }
  config = std::move(text);
  return true;
}

bool SocketDeviceStackClient::SetDeviceConfig(const std::map<std::string, std::string>& config) {
  return m_impl->CallSynchronously(Protocol::SetDeviceConfigRequest{config}, nullptr);
}

bool SocketDeviceStackClient::SetValueFormat(const std::string& format) {
  return m_impl->CallSynchronously(Protocol::SetValueFormatRequest{format}, nullptr);
}

std::string SocketDeviceStackClient::Request(const std::string& request) {
  return m_impl->SendAsync(Protocol::FreeFormRequest{request}, nullptr);
}

std::string SocketDeviceStackClient::RegisterApplication(const std::string& first,
                                                         const std::string& second,
                                                         const std::string& third) {
  return m_impl->SendAsync(Protocol::RegisterApplicationRequest{first, second, third}, nullptr);
}

std::string SocketDeviceStackClient::SendConfiguration(const std::string& configuration) {
  return m_impl->SendAsync(Protocol::SendConfigurationRequest{configuration}, nullptr);
}

std::string SocketDeviceStackClient::GetValue(unsigned long id, bool flag) {
  const std::optional<std::uint32_t> objectId = WireObjectId(id);
  if (!objectId) {
    return std::string();
  }
  return m_impl->SendAsync(Protocol::GetValueRequest{*objectId, flag}, nullptr);
}

std::string SocketDeviceStackClient::SetValue(unsigned long id, const std::string& value, bool flag,
                                              void* context) {
  const std::optional<std::uint32_t> objectId = WireObjectId(id);
  if (!objectId) {
    return std::string();
  }
  return m_impl->SendAsync(Protocol::SetValueRequest{*objectId, flag, value}, context);
}

void SocketDeviceStackClient::SetResponseHandler(IResponseHandler* handler, int /*reserved*/) {
  m_impl->SetResponseHandler(handler);
}

} // namespace Polt
