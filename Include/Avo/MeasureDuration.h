#pragma once
/// @file
/// Avo::MeasureDuration: times a scope and reports how long it took.

#include "Avo/Logging.h"

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp> // boost::chrono::high_resolution_clock
#include <boost/optional.hpp>
#include <boost/timer/timer.hpp> // boost::timer::cpu_timer, boost::timer::format

#include <chrono>
#include <string>

namespace Avo {

/// Scope object that starts a CPU timer (wall, user and system time) at
/// construction and reports in its destructor, whichever way the scope is left.
/// The times are read at the end only when they are reported.
///
/// - With a limit: one INFO line `<message><times>` when the wall time reached
///   the limit, nothing below it.
/// - Without a limit: the same line at TRACE, always.
///
/// `<times>` is the timer's standard text with six decimal places, e.g.
/// "0.000012s wall, 0.000000s user + 0.000000s system = 0.000000s CPU (n/a%)".
///
/// The message is kept as a pointer and never copied, so timing a scope
/// allocates nothing (it runs on every decoded group value). Pass text with
/// static storage duration, in practice a string literal.
class MeasureDuration {
public:
  /// Reports at TRACE on every exit.
  explicit MeasureDuration(const char* message) : m_message(message) {}

  /// Reports at INFO when the wall time reaches limit.
  MeasureDuration(const char* message, std::chrono::nanoseconds limit)
      : m_message(message), m_limit(static_cast<boost::timer::nanosecond_type>(limit.count())),
        m_wallStart(WallClock::now()) {}

  MeasureDuration(const MeasureDuration&) = delete;
  MeasureDuration& operator=(const MeasureDuration&) = delete;

  ~MeasureDuration() {
    if (m_limit) {
      // The wall clock alone decides whether to report, so that a scope
      // below its limit reads no CPU times (a system call) at its end.
      const auto wall =
          boost::chrono::duration_cast<boost::chrono::nanoseconds>(WallClock::now() - m_wallStart);
      if (wall.count() >= *m_limit) {
        AVO_LOG_INFO(m_message << FormatTimes(m_timer.elapsed()));
      }
    } else {
      AVO_LOG_TRACE(m_message << FormatTimes(m_timer.elapsed()));
    }
  }

private:
  // The timer's standard text without its leading blank and its line end.
  static std::string FormatTimes(const boost::timer::cpu_times& elapsed) {
    std::string text = boost::timer::format(elapsed, 6);
    const auto first = text.find_first_not_of(' ');
    const auto last = text.find_last_not_of("\r\n");
    if (first == std::string::npos || last == std::string::npos || last < first) {
      return {};
    }
    return text.substr(first, last - first + 1);
  }

  // The clock of the timer's wall time.
  using WallClock = boost::chrono::high_resolution_clock;

  const char* m_message;
  boost::timer::cpu_timer m_timer;
  boost::optional<boost::timer::nanosecond_type> m_limit;
  WallClock::time_point m_wallStart;
};

} // namespace Avo
