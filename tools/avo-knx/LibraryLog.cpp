#include "LibraryLog.h"

#include "Arguments.h" // UsageError
#include "Json.h"

#include "Avo/Logging.h"

#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <utility>

namespace AvoKnx {

class LibraryLog::Collector : public log4cplus::Appender {
public:
  Collector() = default;
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;
  ~Collector() override { destructorImpl(); }
  void close() override {}

  std::vector<LibraryLogLine> Take() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<LibraryLogLine> lines;
    lines.swap(m_lines);
    return lines;
  }

  void Discard() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
  }

protected:
  // Called on whichever thread logs (the device stack's delivery thread too).
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    LibraryLogLine line;
    line.level = event.getLogLevel();
    line.function = event.getFunction();
    line.entry = event.getMessage();
    // The line prefix (context, function, file and line) ends in the first " - ".
    const auto separator = line.entry.find(" - ");
    line.text = separator == std::string::npos ? line.entry : line.entry.substr(separator + 3);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(std::move(line));
  }

private:
  std::mutex m_mutex;
  std::vector<LibraryLogLine> m_lines;
};

std::string LevelName(log4cplus::LogLevel level) {
  switch (level) {
  case log4cplus::TRACE_LOG_LEVEL:
    return "TRACE";
  case log4cplus::DEBUG_LOG_LEVEL:
    return "DEBUG";
  case log4cplus::INFO_LOG_LEVEL:
    return "INFO";
  case log4cplus::WARN_LOG_LEVEL:
    return "WARN";
  case log4cplus::ERROR_LOG_LEVEL:
    return "ERROR";
  case log4cplus::FATAL_LOG_LEVEL:
    return "FATAL";
  default:
    return std::to_string(level);
  }
}

log4cplus::LogLevel ParseLevel(const std::string& text) {
  std::string name = text;
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char character) {
    return static_cast<char>(std::toupper(character));
  });
  static const std::pair<const char*, log4cplus::LogLevel> kLevels[] = {
      {"TRACE", log4cplus::TRACE_LOG_LEVEL}, {"DEBUG", log4cplus::DEBUG_LOG_LEVEL},
      {"INFO", log4cplus::INFO_LOG_LEVEL},   {"WARN", log4cplus::WARN_LOG_LEVEL},
      {"ERROR", log4cplus::ERROR_LOG_LEVEL}, {"FATAL", log4cplus::FATAL_LOG_LEVEL},
      {"OFF", log4cplus::OFF_LOG_LEVEL}};
  for (const auto& level : kLevels) {
    if (name == level.first) {
      return level.second;
    }
  }
  throw UsageError("log level '" + text +
                   "' is not one of TRACE, DEBUG, INFO, WARN, ERROR, FATAL, OFF");
}

std::string LinesAsJson(const std::vector<LibraryLogLine>& lines) {
  std::string json = "[";
  for (const LibraryLogLine& line : lines) {
    if (json.size() > 1) {
      json += ',';
    }
    json += JsonObject()
                .String("level", LevelName(line.level))
                .String("function", line.function)
                .String("text", line.text)
                .Text();
  }
  json += ']';
  return json;
}

const LibraryLogLine* FirstProblem(const std::vector<LibraryLogLine>& lines) {
  const auto problem = std::find_if(lines.begin(), lines.end(), [](const LibraryLogLine& line) {
    return line.level >= log4cplus::WARN_LOG_LEVEL;
  });
  return problem != lines.end() ? &*problem : nullptr;
}

LibraryLog::LibraryLog(std::optional<log4cplus::LogLevel> level,
                       const std::optional<std::string>& configFile)
    : m_collector(new Collector()), m_appender(m_collector), m_showsLinesItself(!configFile) {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  if (configFile) {
    if (!Avo::ConfigureLogging(*configFile)) {
      throw UsageError("cannot read the log configuration file '" + *configFile + "'");
    }
  } else {
    // Only this collector: it shows the lines itself, in step with the results.
    log4cplus::Logger::getDefaultHierarchy().resetConfiguration();
    logger.setAdditivity(false);
    logger.setLogLevel(log4cplus::WARN_LOG_LEVEL);
  }
  if (level) {
    logger.setLogLevel(*level);
  }
  logger.addAppender(m_appender);
}

LibraryLog::~LibraryLog() { Avo::GetGlobalDefaultLogger().removeAppender(m_appender); }

std::vector<LibraryLogLine> LibraryLog::Take() { return m_collector->Take(); }

void LibraryLog::Discard() { m_collector->Discard(); }

void LibraryLog::Write(std::ostream& out, const std::vector<LibraryLogLine>& lines) {
  for (const LibraryLogLine& line : lines) {
    // One write per line: standard error is unbuffered.
    out << (LevelName(line.level) + ' ' + line.entry + '\n');
  }
}

} // namespace AvoKnx
