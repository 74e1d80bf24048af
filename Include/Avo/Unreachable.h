#pragma once
/// @file
/// Reports code paths that must never run: one FATAL line naming the source
/// location, then the process terminates.

#include "Avo/Logging.h"

#include <boost/optional.hpp>

#include <exception> // std::terminate
#include <string>
#include <utility>

namespace Avo {

/// Logs at FATAL level "This statement should not be executed. There is a
/// bug somewhere around " followed by file, ":" and line, and terminates the
/// process.
[[noreturn]] inline void ReportUnreachable(const char* function, const char* file, int line) {
  const log4cplus::Logger& logger = GetGlobalDefaultLogger();
  if (logger.isEnabledFor(log4cplus::FATAL_LOG_LEVEL)) {
    detail::Emit(
        logger, log4cplus::FATAL_LOG_LEVEL, function, file, line,
        std::string("This statement should not be executed. There is a bug somewhere around ") +
            file + ":" + std::to_string(line));
  }
  std::terminate();
}

/// The contained value; an empty optional is a program bug, reported as
/// unreachable at the caller's source location.
template <class T>
T UndefinedBehaviourIfNone(boost::optional<T> value, const char* function = __builtin_FUNCTION(),
                           const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (!value) {
    ReportUnreachable(function, file, line);
  }
  return std::move(*value);
}

} // namespace Avo

/// Marks a statement that must never be reached.
#define AVO_UNREACHABLE() ::Avo::ReportUnreachable(__func__, __FILE__, __LINE__)
