#include "Avo/Logging.h"

#include <log4cplus/configurator.h> // log4cplus::PropertyConfigurator
#include <log4cplus/consoleappender.h>
#include <log4cplus/hierarchy.h> // log4cplus::Hierarchy::resetConfiguration
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>

#include <cstring> // std::strrchr
#include <fstream>
#include <memory>
#include <mutex>

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

const char* BaseName(const char* file) {
  if (file == nullptr) {
    return "";
  }
  const char* slash = std::strrchr(file, '/');
  return slash != nullptr ? slash + 1 : file;
}

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
  std::string text = ShortFunctionName(function);
  text += " (";
  text += BaseName(file);
  text += ':';
  text += std::to_string(line);
  text += ')';
  return text;
}

LoggingRecursionPadding::LoggingRecursionPadding() { ++t_recursionDepth; }

LoggingRecursionPadding::~LoggingRecursionPadding() { --t_recursionDepth; }

std::string LoggingRecursionPadding::Current() { return std::string(2 * t_recursionDepth, ' '); }

std::string LogEntryFormatter::Format(const char* function, const char* file, int line,
                                      const std::string& text) {
  std::string entry;
  const std::string context = GetLoggingContext();
  if (!context.empty()) {
    entry += '[';
    entry += context;
    entry += "] ";
  }
  entry += PrettyFunctionNamePrinter::Format(function, file, line);
  entry += " - ";
  entry += LoggingRecursionPadding::Current();
  entry += text;
  return entry;
}

namespace detail {

void Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level, const char* function,
          const char* file, int line, const std::string& text) {
  logger.forcedLog(level, LogEntryFormatter::Format(function, file, line, text), file, line,
                   function);
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
