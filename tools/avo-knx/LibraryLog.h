#pragma once
// The library's log lines while avo-knx runs: collected through a log4cplus
// appender of the tool's own on the library's logger, so that each result
// can carry the lines of its conversion (--json) or show them on standard
// error.

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace AvoKnx {

/// One line of the library.
struct LibraryLogLine {
  log4cplus::LogLevel level = log4cplus::NOT_SET_LOG_LEVEL;
  std::string function; ///< the short function name ("ToKnxValue")
  std::string text;     ///< the message after the line prefix
  std::string entry;    ///< the whole line, prefix included
};

/// "TRACE", "DEBUG", "INFO", "WARN", "ERROR", "FATAL".
std::string LevelName(log4cplus::LogLevel level);

/// Reads a level name (any case) or "OFF"; throws UsageError.
log4cplus::LogLevel ParseLevel(const std::string& text);

/// A JSON array of the lines: [{"level":"ERROR","function":"GetEntry","text":"..."}].
std::string LinesAsJson(const std::vector<LibraryLogLine>& lines);

/// The first line at WARN or above, if any: the library's own account of a refusal.
const LibraryLogLine* FirstProblem(const std::vector<LibraryLogLine>& lines);

/// Collects the library's log lines while it lives.
///
/// Without a configuration file the library's logger is reset to this
/// collector alone at the given level (WARN unless chosen otherwise). With a
/// log4cplus properties file the file's set-up stays in force and the
/// collector is added beside it; the level, when given, still applies.
class LibraryLog {
public:
  LibraryLog(std::optional<log4cplus::LogLevel> level,
             const std::optional<std::string>& configFile);
  ~LibraryLog();
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  /// The lines collected since the last Take or Discard, in order.
  std::vector<LibraryLogLine> Take();
  /// Forgets the lines collected so far.
  void Discard();
  /// Whether collected lines are to be shown on standard error (no
  /// configuration file: the tool is the only one to show them).
  bool ShowsLinesItself() const { return m_showsLinesItself; }
  /// Writes the lines to the stream as "LEVEL entry", one per line.
  static void Write(std::ostream& out, const std::vector<LibraryLogLine>& lines);

private:
  class Collector;
  Collector* m_collector;
  log4cplus::SharedAppenderPtr m_appender;
  bool m_showsLinesItself;
};

} // namespace AvoKnx
