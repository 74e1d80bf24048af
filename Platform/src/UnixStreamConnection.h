#pragma once
// One connected Unix stream socket of the device stack client: whole-frame
// writes from many threads, reads from one, and a shutdown that wakes the
// reader from any thread without the descriptor being reused under it.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace Polt::Detail {

/// A connected socket; the descriptor is closed with the object, so that a
/// thread holding a shared reference never writes to a reused descriptor.
class UnixStreamConnection {
public:
  /// Connects to the socket at path. Null when nothing listens there; the
  /// reason (errno text) is written to failure. Writes that cannot go on for
  /// sendTimeout fail instead of blocking on a service that does not read.
  static std::unique_ptr<UnixStreamConnection>
  Connect(const std::string& path, std::chrono::milliseconds sendTimeout, std::string& failure);

  ~UnixStreamConnection();
  UnixStreamConnection(const UnixStreamConnection&) = delete;
  UnixStreamConnection& operator=(const UnixStreamConnection&) = delete;

  /// Writes the bytes whole, or shuts the connection down: a frame cut short
  /// leaves the stream unreadable for the other side. Thread-safe; frames of
  /// different threads never interleave.
  bool SendAll(const void* data, std::size_t size);

  /// Reads what has arrived, blocking until something does. 0 when the other
  /// side closed or the connection was shut down; -1 on an error.
  long Receive(char* buffer, std::size_t size);

  /// Ends the connection in both directions; a blocked Receive returns 0.
  /// Thread-safe and idempotent.
  void Shutdown();

  /// True once the connection was shut down (by either side's failure or by Shutdown).
  bool IsShutDown() const;

  /// The longest path a Unix socket address holds.
  static std::size_t MaxPathLength();

private:
  explicit UnixStreamConnection(int descriptor);

  const int m_descriptor;
  std::mutex m_writeMutex;
  std::atomic<bool> m_shutDown{false};
};

} // namespace Polt::Detail
