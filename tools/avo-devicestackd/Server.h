#pragma once
// The listening socket and the connections of the service: one io_context,
// one thread; every request is handled to its end (saved included) before
// the next one, so the object model needs no lock.

#include "RequestHandler.h"

#include "Polt/DeviceStackObjectModel.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

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

  /// Handles one request of a connection: carries it out and, where it
  /// changed the model, saves the state before the answer is returned.
  HandledRequest Handle(const Polt::DeviceStackProtocol::Request& request, ConnectionFormat& format);
  /// Forgets a connection that has closed.
  void Remove(std::uint64_t connectionId);

private:
  void Accept();
  bool Save();

  boost::asio::io_context& m_io;
  std::string m_socketPath;
  std::string m_statePath;
  Polt::DeviceStackObjectModel m_model;
  RequestHandler m_handler;
  boost::asio::local::stream_protocol::acceptor m_acceptor;
  std::map<std::uint64_t, std::shared_ptr<Connection>> m_connections;
  std::uint64_t m_lastConnectionId = 0;
  bool m_stopped = false;
};

} // namespace DeviceStackd
