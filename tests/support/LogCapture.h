#pragma once
// Captures the library's log lines in tests through a log4cplus appender on
// the global default logger, so that tests assert exact texts and levels.

#include <gmock/gmock.h>
#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace AvoTest {

/// One captured line: its level, the short function name, the message text
/// (what follows the " - " of the line prefix, recursion padding included)
/// and the whole formatted line.
struct LogLine {
  log4cplus::LogLevel level = log4cplus::NOT_SET_LOG_LEVEL;
  std::string function;
  std::string text;
  std::string entry;
};

bool operator==(const LogLine& left, const LogLine& right); // level, function, text
void PrintTo(const LogLine& line, std::ostream* os);

/// A log line expected by a test; the function may be left empty to match any.
LogLine Line(log4cplus::LogLevel level, std::string text, std::string function = {});

/// While it lives, every line of the global default logger at or above
/// `threshold` is recorded here (and not written to the console).
class ScopedLogCapture {
public:
  explicit ScopedLogCapture(log4cplus::LogLevel threshold = log4cplus::TRACE_LOG_LEVEL);
  ~ScopedLogCapture();
  ScopedLogCapture(const ScopedLogCapture&) = delete;
  ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

  /// Every captured line, in order.
  std::vector<LogLine> Lines() const;
  /// The texts of the captured lines at or above the given level.
  std::vector<std::string> Texts(log4cplus::LogLevel atLeast = log4cplus::TRACE_LOG_LEVEL) const;
  void Clear();

private:
  class Appender;
  log4cplus::SharedAppenderPtr m_appender;
  Appender* m_capture;
  log4cplus::LogLevel m_previousLevel;
  bool m_previousAdditivity;
};

} // namespace AvoTest
