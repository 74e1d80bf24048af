#pragma once
/// @file
/// Logging of the platform: one log4cplus logger for every line, a common line
/// prefix (context, short function name with source file and line, " - ",
/// recursion padding) and the assertion facility.

#include "Avo/PlatformExport.h"

#include <log4cplus/logger.h>   // log4cplus::Logger
#include <log4cplus/loglevel.h> // log4cplus::LogLevel and the level constants

#include <atomic>
#include <memory>    // std::unique_ptr
#include <ostream>   // std::ostream, which the logging macros stream into
#include <stdexcept> // std::logic_error
#include <string>

namespace Avo {

namespace detail {
/// The global default logger once it is set up; null before. Set once and
/// never changed, so that every log statement reaches the logger with one
/// load instead of a call into the platform library.
extern AVO_PLATFORM_EXPORT std::atomic<log4cplus::Logger*> g_globalDefaultLogger;
/// Sets the global default logger up on its first use (once, whichever
/// thread comes first) and publishes it.
AVO_PLATFORM_EXPORT log4cplus::Logger& SetUpGlobalDefaultLogger();
} // namespace detail

/// The logger that every line of the library goes through (named "Avo").
/// On first use, a program that has not configured log4cplus gets a console
/// appender on standard error at INFO level.
inline log4cplus::Logger& GetGlobalDefaultLogger() {
  log4cplus::Logger* logger = detail::g_globalDefaultLogger.load(std::memory_order_acquire);
  return logger != nullptr ? *logger : detail::SetUpGlobalDefaultLogger();
}

/// Loads a log4cplus properties file; it replaces the default console set-up.
/// Returns false (and leaves the current set-up) when the file cannot be read.
AVO_PLATFORM_EXPORT bool ConfigureLogging(const std::string& propertiesFile);

/// Text that starts every line, e.g. the name of the process; empty by default.
/// When not empty it is printed in square brackets followed by a blank.
AVO_PLATFORM_EXPORT std::string GetLoggingContext();
/// Replaces the text that starts every line (see GetLoggingContext); "" for none.
AVO_PLATFORM_EXPORT void SetLoggingContext(const std::string& context);

/// Formats the function part of a line: "GetEntry (KnxValueConverter.cpp:42)".
/// Accepts a plain function name (__func__) as well as a compiler's pretty
/// function signature, of which only the unqualified name is kept; of the
/// file only its last path component is kept.
struct AVO_PLATFORM_EXPORT PrettyFunctionNamePrinter {
  /// The function part for function, source file and line, as described above.
  static std::string Format(const char* function, const char* file, int line);
};

/// Indentation of nested log output on the current thread: while an object of
/// this class lives, every line of the thread is indented by two more blanks.
class AVO_PLATFORM_EXPORT LoggingRecursionPadding {
public:
  LoggingRecursionPadding();
  ~LoggingRecursionPadding();
  LoggingRecursionPadding(const LoggingRecursionPadding&) = delete;
  LoggingRecursionPadding& operator=(const LoggingRecursionPadding&) = delete;

  /// The padding of the current thread ("" at depth 0).
  static std::string Current();
};

/// Builds one complete line: context, function part, " - ", padding, text.
struct AVO_PLATFORM_EXPORT LogEntryFormatter {
  /// The line for a message text logged in function, at file and line.
  static std::string Format(const char* function, const char* file, int line,
                            const std::string& text);
};

/// Thrown by AVO_ASSERT2 after its FATAL line; what() is
/// "AVO_ASSERT2(<expression>) failed".
class AVO_PLATFORM_EXPORT AssertionFailed : public std::logic_error {
public:
  using std::logic_error::logic_error;
};

namespace detail {
/// Sends one line that is known to be enabled for the level.
AVO_PLATFORM_EXPORT void Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level,
                              const char* function, const char* file, int line,
                              const std::string& text);
/// Logs the FATAL line of a failed assertion and throws AssertionFailed.
[[noreturn]] AVO_PLATFORM_EXPORT void FailAssertion(const char* expression, const char* function,
                                                    const char* file, int line);

/// Writes one line that is known to be enabled for its level: the logging
/// statement streams the text into Stream() and then calls Send(). Streams
/// are kept per thread and reused from line to line, in their default format
/// each time, so that a line costs no stream construction and, once the
/// thread's buffers have grown to its longest line, no allocation. A line
/// begun while the thread streams another one (an output operator that logs)
/// gets a stream of its own.
class AVO_PLATFORM_EXPORT LineWriter {
public:
  LineWriter(const log4cplus::Logger& logger, log4cplus::LogLevel level, const char* function,
             const char* file, int line);
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  std::ostream& Stream();
  /// Formats the line (prefix and streamed text) and hands it to log4cplus.
  void Send();

  struct Buffers;

private:
  const log4cplus::Logger& m_logger;
  log4cplus::LogLevel m_level;
  const char* m_function;
  const char* m_file;
  int m_line;
  Buffers* m_buffers;
  std::unique_ptr<Buffers> m_ownBuffers; // for a line begun inside another one
};
} // namespace detail

} // namespace Avo

/// Logs the streamed expression at the given log4cplus level. The level is
/// tested first, so a line below the logger's level costs no formatting. A
/// streamed value that throws leaves the statement without a line.
#define AVO_LOG(level, streamed)                                                                   \
  do {                                                                                             \
    const log4cplus::Logger& avoLogger_ = ::Avo::GetGlobalDefaultLogger();                         \
    if (avoLogger_.isEnabledFor(level)) {                                                          \
      ::Avo::detail::LineWriter avoLine_(avoLogger_, level, __func__, __FILE__, __LINE__);         \
      avoLine_.Stream() << streamed; /* NOLINT(bugprone-macro-parentheses): a << chain */          \
      avoLine_.Send();                                                                             \
    }                                                                                              \
  } while (false)

/// AVO_LOG at TRACE level.
#define AVO_LOG_TRACE(streamed) AVO_LOG(log4cplus::TRACE_LOG_LEVEL, streamed)
/// AVO_LOG at DEBUG level.
#define AVO_LOG_DEBUG(streamed) AVO_LOG(log4cplus::DEBUG_LOG_LEVEL, streamed)
/// AVO_LOG at INFO level.
#define AVO_LOG_INFO(streamed) AVO_LOG(log4cplus::INFO_LOG_LEVEL, streamed)
/// AVO_LOG at WARN level.
#define AVO_LOG_WARN(streamed) AVO_LOG(log4cplus::WARN_LOG_LEVEL, streamed)
/// AVO_LOG at ERROR level.
#define AVO_LOG_ERROR(streamed) AVO_LOG(log4cplus::ERROR_LOG_LEVEL, streamed)
/// AVO_LOG at FATAL level.
#define AVO_LOG_FATAL(streamed) AVO_LOG(log4cplus::FATAL_LOG_LEVEL, streamed)

/// Checks a condition that only a programming error can break: logs
/// "AVO_ASSERT2(<expr>) failed" at FATAL level and throws Avo::AssertionFailed.
#define AVO_ASSERT2(expr)                                                                          \
  ((expr) ? static_cast<void>(0)                                                                   \
          : ::Avo::detail::FailAssertion(#expr, __func__, __FILE__, __LINE__))
