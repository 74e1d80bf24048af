#include "LogCapture.h"

#include "Avo/Logging.h"

#include <log4cplus/spi/loggingevent.h>

#include <utility>

namespace AvoTest {

bool operator==(const LogLine& left, const LogLine& right) {
  const bool functionMatches =
      left.function.empty() || right.function.empty() || left.function == right.function;
  return left.level == right.level && functionMatches && left.text == right.text;
}

void PrintTo(const LogLine& line, std::ostream* os) {
  *os << "{level " << line.level << ", function \"" << line.function << "\", text \"" << line.text
      << "\"}";
}

LogLine Line(log4cplus::LogLevel level, std::string text, std::string function) {
  return LogLine{level, std::move(function), std::move(text), {}};
}

class ScopedLogCapture::Appender : public log4cplus::Appender {
public:
  ~Appender() override { destructorImpl(); }
  std::vector<LogLine> Lines() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
  }
  void Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
  }
  void close() override {}

protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    LogLine line;
    line.level = event.getLogLevel();
    line.function = event.getFunction();
    line.entry = event.getMessage();
    // The prefix (context and function part) never contains " - ".
    const auto separator = line.entry.find(" - ");
    line.text = separator == std::string::npos ? line.entry : line.entry.substr(separator + 3);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(std::move(line));
  }

private:
  mutable std::mutex m_mutex;
  std::vector<LogLine> m_lines;
};

ScopedLogCapture::ScopedLogCapture(log4cplus::LogLevel threshold) : m_capture(new Appender()) {
  m_appender = log4cplus::SharedAppenderPtr(m_capture);
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  m_previousLevel = logger.getLogLevel();
  m_previousAdditivity = logger.getAdditivity();
  logger.setLogLevel(threshold);
  logger.setAdditivity(false);
  logger.addAppender(m_appender);
}

ScopedLogCapture::~ScopedLogCapture() {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  logger.removeAppender(m_appender);
  logger.setAdditivity(m_previousAdditivity);
  logger.setLogLevel(m_previousLevel);
}

std::vector<LogLine> ScopedLogCapture::Lines() const { return m_capture->Lines(); }

std::vector<std::string> ScopedLogCapture::Texts(log4cplus::LogLevel atLeast) const {
  std::vector<std::string> texts;
  for (auto& line : m_capture->Lines()) {
    if (line.level >= atLeast) {
      texts.push_back(std::move(line.text));
    }
  }
  return texts;
}

void ScopedLogCapture::Clear() { m_capture->Clear(); }

} // namespace AvoTest
