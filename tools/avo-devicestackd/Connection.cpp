#include "Connection.h"

#include "Server.h"

#include "Avo/Logging.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <stdexcept> // std::length_error

namespace DeviceStackd {

namespace Protocol = Polt::DeviceStackProtocol;
namespace asio = boost::asio;

Connection::Connection(Server& server, std::uint64_t id,
                       asio::local::stream_protocol::socket socket)
    : m_server(server), m_id(id), m_socket(std::move(socket)) {}

void Connection::Start() {
  AVO_LOG_DEBUG("Connection " << m_id << " opened");
  ReadPrefix();
}

void Connection::Close() {
  boost::system::error_code ignored;
  m_socket.close(ignored);
}

void Connection::ReadPrefix() {
  asio::async_read(
      m_socket, asio::buffer(m_prefix),
      [self = shared_from_this()](const boost::system::error_code& error, std::size_t bytes) {
        self->OnPrefix(error, bytes);
      });
}

void Connection::OnPrefix(const boost::system::error_code& error, std::size_t bytes) {
  if (error) {
    if (error == asio::error::eof && bytes == 0) {
      AVO_LOG_DEBUG("Connection " << m_id << " closed by the client");
    } else if (error == asio::error::eof) {
      AVO_LOG_INFO("Connection " << m_id << " closed in the middle of a frame");
    } else if (error != asio::error::operation_aborted) {
      AVO_LOG_WARN("Connection " << m_id << ": read failed: " << error.message());
    }
    Finish();
    return;
  }
  const Protocol::Decoded<std::uint32_t> length = Protocol::DecodeFrameLength(m_prefix.data());
  if (!length) {
    // The end of this frame cannot be found, so no later frame can be either.
    AnswerDecodeError(length.Error(), true);
    return;
  }
  m_frame.resize(length.Value());
  asio::async_read(
      m_socket, asio::buffer(m_frame),
      [self = shared_from_this()](const boost::system::error_code& readError, std::size_t read) {
        self->OnFrame(readError, read);
      });
}

void Connection::OnFrame(const boost::system::error_code& error, std::size_t /*bytes*/) {
  if (error) {
    if (error == asio::error::eof) {
      AVO_LOG_INFO("Connection " << m_id << " closed in the middle of a frame");
    } else if (error != asio::error::operation_aborted) {
      AVO_LOG_WARN("Connection " << m_id << ": read failed: " << error.message());
    }
    Finish();
    return;
  }
  HandleFrame();
}

void Connection::HandleFrame() {
  const Protocol::Decoded<Protocol::Request> request =
      Protocol::DecodeRequest(m_frame.data(), m_frame.size());
  // A connection keeps no large buffer after one large frame.
  if (m_frame.capacity() > RetainedFrameCapacity) {
    std::vector<std::uint8_t>().swap(m_frame);
  }
  if (!request) {
    // Without a readable header (a wrong magic) the peer does not speak this
    // protocol: what it sends next cannot be trusted to be framed.
    AnswerDecodeError(request.Error(), !request.Error().header.has_value());
    ContinueReading();
    return;
  }
  AVO_LOG_DEBUG("Connection " << m_id << ": "
                              << Protocol::KindName(Protocol::KindOf(request.Value().body))
                              << " request " << request.Value().requestId);
  // The next frame is read only once this one is answered: answers keep the
  // order of their requests, and a client that floods waits for them.
  m_server.Handle(request.Value(), m_format,
                  [self = shared_from_this()](const Protocol::Answer& answer) {
                    self->Send(answer);
                    self->ContinueReading();
                  });
}

void Connection::AnswerDecodeError(const Protocol::DecodeError& error, bool thenClose) {
  AVO_LOG_WARN("Connection " << m_id << ": bad frame (" << error.message << ")"
                             << (thenClose ? "; closing the connection" : ""));
  Protocol::Answer answer;
  if (error.header) {
    answer.kind = error.header->kind;
    answer.requestId = error.header->requestId;
  }
  answer.error = {error.code, "Bad frame", "", error.message};
  Send(answer);
  m_closeWhenWritten = m_closeWhenWritten || thenClose;
}

void Connection::Send(const Protocol::Answer& answer) {
  if (m_finished) {
    return; // the client has gone while its answer waited for a save
  }
  std::vector<std::uint8_t> frame;
  try {
    frame = Protocol::EncodeAnswer(answer);
  } catch (const std::length_error& tooLarge) {
    AVO_LOG_WARN("Connection " << m_id << ": " << tooLarge.what());
    Protocol::Answer refusal;
    refusal.kind = answer.kind;
    refusal.requestId = answer.requestId;
    refusal.error = {Protocol::ErrorCode::FrameTooLarge, "Answer too large", "", tooLarge.what()};
    frame = Protocol::EncodeAnswer(refusal);
  }
  m_queuedBytes += frame.size();
  m_answers.push_back(std::move(frame));
  WriteNext();
}

void Connection::WriteNext() {
  if (m_writing || m_answers.empty()) {
    return;
  }
  m_writing = true;
  asio::async_write(m_socket, asio::buffer(m_answers.front()),
                    [self = shared_from_this()](const boost::system::error_code& error,
                                                std::size_t /*bytes*/) { self->OnWritten(error); });
}

void Connection::OnWritten(const boost::system::error_code& error) {
  m_writing = false;
  if (error) {
    if (error != asio::error::operation_aborted) {
      AVO_LOG_DEBUG("Connection " << m_id << ": write failed: " << error.message());
    }
    Finish();
    return;
  }
  m_queuedBytes -= m_answers.front().size();
  m_answers.pop_front();
  if (!m_answers.empty()) {
    WriteNext();
    return;
  }
  if (m_closeWhenWritten) {
    Finish();
    return;
  }
  if (m_readingPaused) {
    m_readingPaused = false;
    ReadPrefix();
  }
}

void Connection::ContinueReading() {
  if (m_closeWhenWritten || m_finished) {
    return;
  }
  if (m_queuedBytes > MaxQueuedAnswerBytes) {
    m_readingPaused = true; // resumed once the client has read its answers
    return;
  }
  ReadPrefix();
}

void Connection::Finish() {
  if (m_finished) {
    return;
  }
  m_finished = true;
  Close();
  AVO_LOG_DEBUG("Connection " << m_id << " closed");
  m_server.Remove(m_id);
}

} // namespace DeviceStackd
