#include "LogCapture.h"

#include "Avo/Logging.h"

#include <log4cplus/spi/loggingevent.h>

#include <utility>

namespace AvoTest {

bool operator==(const LogLine& left, const LogLine& right) {
  return left.level == right.level && left.text == right.text &&
         (left.function.empty() || right.function.empty() || left.function == right.function);
}

void PrintTo(const LogLine& line, std::ostream* os) {
  *os << "{level " << line.level << ", function \"" << line.function << "\", text \"" << line.text
      << "\"}";
}

LogLine Line(log4cplus::LogLevel level, std::string text, std::string function) {
  return LogLine{level, std::move(function), std::move(text), {}};
}

// Records every line it is handed; read through the capture under its mutex.
class ScopedLogCapture::Appender : public log4cplus::Appender {
public:
  ~Appender() override { destructorImpl(); }
  void close() override {}
  std::mutex mutex;
  std::vector<LogLine> lines;

protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    const std::string& entry = event.getMessage();
    // The prefix (context and function part) never contains " - ".
    const auto separator = entry.find(" - ");
    std::string text = separator == std::string::npos ? entry : entry.substr(separator + 3);
    std::lock_guard<std::mutex> lock(mutex);
    lines.push_back({event.getLogLevel(), event.getFunction(), std::move(text), entry});
  }
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

std::vector<LogLine> ScopedLogCapture::Lines() const {
  std::lock_guard<std::mutex> lock(m_capture->mutex);
  return m_capture->lines;
}

std::vector<std::string> ScopedLogCapture::Texts(log4cplus::LogLevel atLeast) const {
  std::vector<std::string> texts;
  for (auto& line : Lines()) {
    if (line.level >= atLeast) {
      texts.push_back(std::move(line.text));
    }
  }
  return texts;
}

void ScopedLogCapture::Clear() {
  std::lock_guard<std::mutex> lock(m_capture->mutex);
  m_capture->lines.clear();
}

} // namespace AvoTest
