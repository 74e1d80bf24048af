#pragma once
// One client of the service: reads frames, has them handled, writes answers.

#include "RequestHandler.h"

#include "Polt/DeviceStackProtocol.h"

#include <boost/asio/local/stream_protocol.hpp>

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace DeviceStackd {

class Server;

/// A connection reads one frame at a time and answers it before it reads the
/// next; while more than MaxQueuedAnswerBytes of answers wait to be written
/// (a client that does not read), it stops reading. A frame whose end cannot
/// be found, or that is not of this protocol, is answered and the connection
/// closed; any other bad frame is answered with an error and reading goes on.
class Connection : public std::enable_shared_from_this<Connection> {
public:
  static constexpr std::size_t MaxQueuedAnswerBytes = 4U * Polt::DeviceStackProtocol::MaxFrameSize;

  static constexpr std::size_t RetainedFrameCapacity = 64U * 1024U;

  Connection(Server& server, std::uint64_t id, boost::asio::local::stream_protocol::socket socket);

  /// Begins reading.
  void Start();
  /// Closes the socket at once (pending operations end).
  void Close();

private:
  void ReadPrefix();
  void OnPrefix(const boost::system::error_code& error, std::size_t bytes);
  void OnFrame(const boost::system::error_code& error, std::size_t bytes);
  void HandleFrame();
  void AnswerDecodeError(const Polt::DeviceStackProtocol::DecodeError& error, bool thenClose);
  void Send(const Polt::DeviceStackProtocol::Answer& answer);
  void WriteNext();
  void OnWritten(const boost::system::error_code& error);
  void ContinueReading();
  void Finish();

  Server& m_server;
  std::uint64_t m_id;
  boost::asio::local::stream_protocol::socket m_socket;
  std::array<std::uint8_t, Polt::DeviceStackProtocol::LengthPrefixSize> m_prefix{};
  std::vector<std::uint8_t> m_frame;
  std::deque<std::vector<std::uint8_t>> m_answers;
  std::size_t m_queuedBytes = 0;
  bool m_writing = false;
  bool m_readingPaused = false;
  bool m_closeWhenWritten = false;
  bool m_finished = false;
  ConnectionFormat m_format;
};

} // namespace DeviceStackd
