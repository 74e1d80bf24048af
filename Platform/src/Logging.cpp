#include "Avo/Logging.h"

#include <log4cplus/configurator.h> // log4cplus::PropertyConfigurator
#include <log4cplus/consoleappender.h>
#include <log4cplus/hierarchy.h> // log4cplus::Hierarchy::resetConfiguration
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>

#include <charconv> // std::to_chars
#include <cstring>  // std::strrchr, std::strpbrk
#include <fstream>
#include <locale>
#include <memory>
#include <mutex>
#include <streambuf>
#include <string_view>

namespace Avo {
namespace {

std::mutex& ContextMutex() {
  static std::mutex mutex;
  return mutex;
}

std::string& ContextText() {
  static std::string context;
  return context;
}

thread_local unsigned int t_recursionDepth = 0;

// A program that set up log4cplus itself (appenders on the root logger or on
// ours) keeps its set-up; any other gets one console appender at INFO.
void InstallDefaultConsoleAppender(log4cplus::Logger& logger) {
  log4cplus::Logger root = log4cplus::Logger::getRoot();
  if (!root.getAllAppenders().empty() || !logger.getAllAppenders().empty()) {
    return;
  }
  log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true /*stderr*/));
  console->setLayout(std::make_unique<log4cplus::PatternLayout>("%D{%H:%M:%S.%q} %-5p %m%n"));
  root.addAppender(console);
  root.setLogLevel(log4cplus::INFO_LOG_LEVEL);
}

// Keeps the unqualified name of a function: "bool Avo::X<T>::GetEntry(int)
// const [with T = int]" gives "GetEntry"; a plain name is returned as it is.
std::string ShortFunctionName(const char* function) {
  std::string name = function != nullptr ? function : "";
  const auto with = name.find(" [with ");
  if (with != std::string::npos) {
    name.erase(with);
  }
  // Drop trailing qualifiers, then the parameter list found by matching the
  // last ")" backwards (template arguments may hold parentheses too).
  const auto close = name.rfind(')');
  if (close != std::string::npos) {
    int depth = 0;
    for (std::string::size_type i = close + 1; i-- > 0;) {
      depth += name[i] == ')' ? 1 : name[i] == '(' ? -1 : 0;
      if (depth == 0) {
        name.erase(i);
        break;
      }
    }
  }
  // Drop template arguments of the function itself.
  if (!name.empty() && name.back() == '>' && name.find("operator") == std::string::npos) {
    int depth = 0;
    for (std::string::size_type i = name.size(); i-- > 0;) {
      depth += name[i] == '>' ? 1 : name[i] == '<' ? -1 : 0;
      if (depth == 0) {
        name.erase(i);
        break;
      }
    }
  }
  const auto scope = name.rfind("::");
  if (scope != std::string::npos) {
    name.erase(0, scope + 2);
  }
  const auto blank = name.rfind(' ');
  if (blank != std::string::npos && name.compare(0, 8, "operator") != 0) {
    name.erase(0, blank + 1);
  }
  return name;
}

// A plain name, as __func__ gives it, is kept as it is; only a signature
// needs shortening.
void AppendShortFunctionName(std::string& out, const char* function) {
  if (function != nullptr && std::strpbrk(function, "()<>: ") == nullptr) {
    out += function;
    return;
  }
  out += ShortFunctionName(function);
}

const char* BaseName(const char* file) {
  if (file == nullptr) {
    return "";
  }
  const char* slash = std::strrchr(file, '/');
  return slash != nullptr ? slash + 1 : file;
}

// "GetEntry (KnxValueConverter.cpp:42)".
void AppendFunctionPart(std::string& out, const char* function, const char* file, int line) {
  AppendShortFunctionName(out, function);
  out += " (";
  out += BaseName(file);
  out += ':';
  char digits[16];
  const auto written = std::to_chars(digits, digits + sizeof digits, line);
  out.append(digits, written.ptr);
  out += ')';
}

// Context, function part, " - ", padding, text.
void AppendEntry(std::string& out, const char* function, const char* file, int line,
                 std::string_view text) {
  {
    std::lock_guard<std::mutex> lock(ContextMutex());
    const std::string& context = ContextText();
    if (!context.empty()) {
      out += '[';
      out += context;
      out += "] ";
    }
  }
  AppendFunctionPart(out, function, file, line);
  out += " - ";
  out.append(2 * std::size_t{t_recursionDepth}, ' ');
  out += text;
}

// A stream buffer that appends to a string, so that the streamed text is
// read where it was written.
class TextBuffer : public std::streambuf {
public:
  std::string& Text() { return m_text; }

protected:
  int_type overflow(int_type character) override {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
      m_text += traits_type::to_char_type(character);
    }
    return traits_type::not_eof(character);
  }
  std::streamsize xsputn(const char* characters, std::streamsize count) override {
    m_text.append(characters, static_cast<std::size_t>(count));
    return count;
  }

private:
  std::string m_text;
};

} // namespace

namespace detail {

std::atomic<log4cplus::Logger*> g_globalDefaultLogger{nullptr};

log4cplus::Logger& SetUpGlobalDefaultLogger() {
  static log4cplus::Logger logger = [] {
    log4cplus::initialize();
    log4cplus::Logger avo = log4cplus::Logger::getInstance("Avo");
    InstallDefaultConsoleAppender(avo);
    return avo;
  }();
  g_globalDefaultLogger.store(&logger, std::memory_order_release);
  return logger;
}

} // namespace detail

bool ConfigureLogging(const std::string& propertiesFile) {
  GetGlobalDefaultLogger();
  std::ifstream probe(propertiesFile);
  if (!probe) {
    return false;
  }
  log4cplus::Logger::getDefaultHierarchy().resetConfiguration();
  log4cplus::PropertyConfigurator::doConfigure(propertiesFile);
  return true;
}

std::string GetLoggingContext() {
  std::lock_guard<std::mutex> lock(ContextMutex());
  return ContextText();
}

void SetLoggingContext(const std::string& context) {
  std::lock_guard<std::mutex> lock(ContextMutex());
  ContextText() = context;
}

std::string PrettyFunctionNamePrinter::Format(const char* function, const char* file, int line) {
  std::string text;
  AppendFunctionPart(text, function, file, line);
  return text;
}

LoggingRecursionPadding::LoggingRecursionPadding() { ++t_recursionDepth; }

LoggingRecursionPadding::~LoggingRecursionPadding() { --t_recursionDepth; }

std::string LoggingRecursionPadding::Current() {
  return std::string(std::size_t{2} * t_recursionDepth, ' ');
}

std::string LogEntryFormatter::Format(const char* function, const char* file, int line,
                                      const std::string& text) {
  std::string entry;
  AppendEntry(entry, function, file, line, text);
  return entry;
}

namespace detail {

void Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level, const char* function,
          const char* file, int line, const std::string& text) {
  logger.forcedLog(level, LogEntryFormatter::Format(function, file, line, text), file, line,
                   function);
}

struct LineWriter::Buffers {
  Buffers() : stream(&text) {}
  Buffers(const Buffers&) = delete;
  Buffers& operator=(const Buffers&) = delete;
  ~Buffers() = default;

  // Empties the text and gives the stream the format of a new stream, so
  // that no manipulator of an earlier line carries over.
  void Reset() {
    text.Text().clear();
    stream.clear();
    stream.flags(std::ios_base::skipws | std::ios_base::dec);
    stream.precision(6);
    stream.width(0);
    stream.fill(' ');
    const std::locale global;
    if (stream.getloc() != global) {
      stream.imbue(global);
    }
  }

  TextBuffer text;
  std::ostream stream;
  std::string entry;
  bool inUse = false;
};

namespace {

// The thread's buffers, made on its first line. Plain pointers, so that a
// line written while the thread ends (from another thread-local object's
// destructor) finds them gone rather than destroyed.
thread_local LineWriter::Buffers* t_lineBuffers = nullptr;
thread_local bool t_lineBuffersClosed = false;

struct LineBuffersOwner {
  LineBuffersOwner() = default;
  LineBuffersOwner(const LineBuffersOwner&) = delete;
  LineBuffersOwner& operator=(const LineBuffersOwner&) = delete;
  ~LineBuffersOwner() {
    delete t_lineBuffers;
    t_lineBuffers = nullptr;
    t_lineBuffersClosed = true;
  }
};

thread_local LineBuffersOwner t_lineBuffersOwner;

// The thread's buffers when they are free; null while another line of the
// thread is being written, and after the thread's end has begun.
LineWriter::Buffers* TakeThreadBuffers() {
  if (t_lineBuffers == nullptr && !t_lineBuffersClosed) {
    static_cast<void>(&t_lineBuffersOwner); // registers the owner's destructor
    t_lineBuffers = new LineWriter::Buffers();
  }
  LineWriter::Buffers* buffers = t_lineBuffers;
  if (buffers == nullptr || buffers->inUse) {
    return nullptr;
  }
  buffers->inUse = true;
  return buffers;
}

} // namespace

LineWriter::LineWriter(const log4cplus::Logger& logger, log4cplus::LogLevel level,
                       const char* function, const char* file, int line)
    : m_logger(logger), m_level(level), m_function(function), m_file(file), m_line(line),
      m_buffers(TakeThreadBuffers()) {
  if (m_buffers == nullptr) {
    m_ownBuffers = std::make_unique<Buffers>();
    m_buffers = m_ownBuffers.get();
  }
  m_buffers->Reset();
}

LineWriter::~LineWriter() {
  if (m_ownBuffers == nullptr) {
    m_buffers->inUse = false;
  }
}

std::ostream& LineWriter::Stream() { return m_buffers->stream; }

void LineWriter::Send() {
  std::string& entry = m_buffers->entry;
  entry.clear();
  AppendEntry(entry, m_function, m_file, m_line, m_buffers->text.Text());
  m_logger.forcedLog(m_level, entry, m_file, m_line, m_function);
}

void FailAssertion(const char* expression, const char* function, const char* file, int line) {
  const std::string message = std::string("AVO_ASSERT2(") + expression + ") failed";
  const log4cplus::Logger& logger = GetGlobalDefaultLogger();
  if (logger.isEnabledFor(log4cplus::FATAL_LOG_LEVEL)) {
    Emit(logger, log4cplus::FATAL_LOG_LEVEL, function, file, line, message);
  }
  throw AssertionFailed(message);
}

} // namespace detail
} // namespace Avo
