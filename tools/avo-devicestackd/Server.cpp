#include "Server.h"

#include "Connection.h"
#include "StateFile.h"

#include "Avo/Logging.h"

#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace DeviceStackd {

namespace Protocol = Polt::DeviceStackProtocol;
namespace asio = boost::asio;
using asio::local::stream_protocol;

namespace {

// A socket file left by a service that has gone is replaced; one that a
// service still listens on, or a path that is not a socket, is left alone.
void ClearStaleSocket(asio::io_context& io, const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) {
      return;
    }
    throw std::system_error(errno, std::generic_category(), "cannot examine '" + path + "'");
  }
  if (!S_ISSOCK(status.st_mode)) {
    throw std::runtime_error("'" + path + "' exists and is not a socket");
  }
  stream_protocol::socket probe(io);
  boost::system::error_code error;
  probe.connect(stream_protocol::endpoint(path), error);
  if (!error) {
    throw std::runtime_error("another service listens on '" + path + "'");
  }
  if (error != asio::error::connection_refused) {
    throw std::runtime_error("cannot probe '" + path + "': " + error.message());
  }
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw std::system_error(errno, std::generic_category(), "cannot remove '" + path + "'");
  }
  AVO_LOG_INFO("Removed the stale socket file '" << path << "'");
}

// Restores the process's file mode mask when it goes out of scope.
class ScopedUmask {
public:
  explicit ScopedUmask(mode_t mask) : m_previous(::umask(mask)) {}
  ~ScopedUmask() { ::umask(m_previous); }
  ScopedUmask(const ScopedUmask&) = delete;
  ScopedUmask& operator=(const ScopedUmask&) = delete;

private:
  mode_t m_previous;
};

} // namespace

Server::Server(asio::io_context& io, std::string socketPath, std::string statePath,
               Polt::DeviceStackObjectModel model)
    : m_io(io), m_socketPath(std::move(socketPath)), m_statePath(std::move(statePath)),
      m_model(std::move(model)), m_handler(m_model), m_acceptor(io), m_acceptPause(io) {
  ClearStaleSocket(io, m_socketPath);
  try {
    const stream_protocol::endpoint endpoint(m_socketPath);
    m_acceptor.open(endpoint.protocol());
    {
      // The socket file is created by bind: with this mask it never exists
      // with more than mode 0660, not even for a moment.
      const ScopedUmask mask(0117);
      m_acceptor.bind(endpoint);
    }
    if (::chmod(m_socketPath.c_str(), 0660) != 0) {
      throw std::system_error(errno, std::generic_category(),
                              "cannot set the mode of '" + m_socketPath + "'");
    }
    m_acceptor.listen(asio::socket_base::max_listen_connections);
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error("cannot listen on '" + m_socketPath + "': " + error.code().message());
  }
}

// A failure to stop ends the service.
// NOLINTNEXTLINE(bugprone-exception-escape)
Server::~Server() { Stop(); }

void Server::Start() {
  AVO_LOG_INFO("Listening on '" << m_socketPath << "' with " << m_model.GetObjects().size()
                                << " objects");
  Accept();
}

void Server::Stop() {
  if (m_stopped) {
    return;
  }
  m_stopped = true;
  boost::system::error_code ignored;
  m_acceptor.close(ignored);
  m_acceptPause.cancel();
  for (auto& connection : m_connections) {
    connection.second->Close();
  }
  ::unlink(m_socketPath.c_str());
}

void Server::Accept() {
  m_acceptor.async_accept(
      [this](const boost::system::error_code& error, stream_protocol::socket socket) {
        if (m_stopped || error == asio::error::operation_aborted) {
          return;
        }
        if (error) {
          // Out of descriptors, typically: this ends one accept, not the service.
          // The pause keeps a lasting failure from spinning; connected clients are
          // served meanwhile.
          AVO_LOG_WARN("Accepting a client failed: " << error.message());
          m_acceptPause.expires_after(std::chrono::milliseconds(100));
          m_acceptPause.async_wait([this](const boost::system::error_code& cancelled) {
            if (!cancelled && !m_stopped) {
              Accept();
            }
          });
          return;
        }
        const std::uint64_t id = ++m_lastConnectionId;
        auto connection = std::make_shared<Connection>(*this, id, std::move(socket));
        m_connections.emplace(id, connection);
        connection->Start();
        Accept();
      });
}

void Server::Handle(const Protocol::Request& request, ConnectionFormat& format, Reply reply) {
  HandledRequest handled = m_handler.Handle(request, format);
  if (!handled.changed && m_waitingForSave.empty()) {
    reply(handled.answer);
    return;
  }
  if (m_waitingForSave.empty()) {
    // Runs after the handlers that are ready now, so that the changes of
    // other clients that arrived meanwhile share this save.
    asio::post(m_io, [this] { SaveAndAnswer(); });
  }
  m_waitingForSave.push_back({std::move(handled.answer), handled.changed, std::move(reply)});
}

void Server::SaveAndAnswer() {
  std::vector<WaitingAnswer> waiting;
  waiting.swap(m_waitingForSave);
  const bool saved = Save();
  for (WaitingAnswer& entry : waiting) {
    if (entry.changed && !saved) {
      // The change stays in memory and reaches the file with the next save
      // that succeeds; it is not acknowledged now.
      entry.answer.error = {Protocol::ErrorCode::NotSaved, "Not saved",
                            Protocol::KindName(entry.answer.kind),
                            "The change could not be saved to the state file"};
    }
    entry.reply(entry.answer);
  }
}

bool Server::Save() {
  if (m_statePath.empty()) {
    return true;
  }
  try {
    SaveState(m_statePath, m_model);
    return true;
  } catch (const std::exception& error) {
    AVO_LOG_ERROR("Cannot save the state: " << error.what());
    return false;
  }
}

void Server::Remove(std::uint64_t connectionId) { m_connections.erase(connectionId); }

} // namespace DeviceStackd
