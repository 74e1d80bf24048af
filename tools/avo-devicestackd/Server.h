#pragma once
// The listening socket and the connections of the service: one io_context,
// one thread, so the object model needs no lock. Changes are saved in groups:
// every change made before the save runs is saved by it, and no answer (to
// any request) leaves while a save is due, so no client ever sees a state
// that a crash could still take back.

#include "RequestHandler.h"

#include "Polt/DeviceStackObjectModel.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace DeviceStackd {

class Connection;

/// Serves the object model on a Unix domain socket.
class Server {
public:
  /// Binds and listens on socketPath (mode 0660), replacing a stale socket
  /// file that nobody listens on. Throws std::runtime_error when the path is
  /// taken (another service listens, or it is not a socket) or cannot be bound.
  /// An empty statePath keeps the object model in memory only.
  Server(boost::asio::io_context& io, std::string socketPath, std::string statePath,
         Polt::DeviceStackObjectModel model);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Starts accepting clients.
  void Start();
  /// Stops accepting, closes every connection and removes the socket file.
  void Stop();

  /// Receives the answer to a request.
  using Reply = std::function<void(const Polt::DeviceStackProtocol::Answer&)>;

  /// Handles one request of a connection: carries it out at once and calls
  /// reply with the answer, right away or, while a save is due, after it.
  void Handle(const Polt::DeviceStackProtocol::Request& request, ConnectionFormat& format,
              Reply reply);
  /// Forgets a connection that has closed.
  void Remove(std::uint64_t connectionId);

private:
  struct WaitingAnswer {
    Polt::DeviceStackProtocol::Answer answer;
    bool changed;
    Reply reply;
  };

  void Accept();
  void SaveAndAnswer();
  bool Save();

  boost::asio::io_context& m_io;
  std::string m_socketPath;
  std::string m_statePath;
  Polt::DeviceStackObjectModel m_model;
  RequestHandler m_handler;
  boost::asio::local::stream_protocol::acceptor m_acceptor;
  boost::asio::steady_timer m_acceptPause;
  std::map<std::uint64_t, std::shared_ptr<Connection>> m_connections;
  std::vector<WaitingAnswer> m_waitingForSave;
  std::uint64_t m_lastConnectionId = 0;
  bool m_stopped = false;
};

} // namespace DeviceStackd
