#pragma once
// What every benchmark program of the library shares: registration under the
// suite's naming rule, the allocation counter, the logger set-up and main().
//
// Naming: an operation is registered as "<Operation>/<case>[/<variant>]", e.g.
// "ToKnxValue/9.001" or "ToKnxValue/9.001/DEBUG". Its floor, the least that
// any implementation of the same work costs, measured in the same run, is
// registered as "floor/<Operation>/<case>". The floor of a benchmark is the
// "floor/" benchmark whose name is the longest leading part of the
// benchmark's own name, whole components only (scripts/bench pairs them so).
//
// Every program understands, besides Google Benchmark's flags:
//   --avo_iterations=N   run every benchmark for exactly N iterations (per
//                        thread), as scripts/bench --callgrind does.

#include <benchmark/benchmark.h>
#include <log4cplus/loglevel.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace AvoBench {

/// Registers a benchmark; the returned object takes Google Benchmark's
/// options (Threads, UseRealTime, Unit ...).
benchmark::internal::Benchmark* Register(const std::string& name,
                                         std::function<void(benchmark::State&)> function);

/// Registers the floor of the operation `name` ("floor/" + name).
benchmark::internal::Benchmark* RegisterFloor(const std::string& name,
                                              std::function<void(benchmark::State&)> function);

/// Number of allocations through the global operator new since the program
/// started, on every thread.
std::uint64_t AllocationCount();

/// Brackets the timed loop of a benchmark: construct it right before the
/// loop. It reports the allocations per iteration as the counter "allocs",
/// and under callgrind it dumps the instructions of the loop alone (all
/// threads) under the benchmark's name, for scripts/bench --callgrind. Work
/// between Pause and Resume counts neither as time nor allocations nor
/// instructions. Under several threads only thread 0 measures, and it
/// measures the work of all threads.
class LoopMeasurement {
public:
  explicit LoopMeasurement(benchmark::State& state);
  ~LoopMeasurement();
  LoopMeasurement(const LoopMeasurement&) = delete;
  LoopMeasurement& operator=(const LoopMeasurement&) = delete;

  /// Pauses the timer and the counting.
  void Pause();
  /// Resumes the timer and the counting.
  void Resume();
  /// Pauses the counting alone, for benchmarks that time their operation
  /// themselves (ManualTimer). The loop may end while counting is paused.
  void PauseCounting();
  /// Resumes the counting alone.
  void ResumeCounting();

private:
  bool Measures() const { return m_state.thread_index() == 0; }

  benchmark::State& m_state;
  std::string m_mark; // names the benchmark's dumps under callgrind
  std::uint64_t m_allocations = 0;
  std::uint64_t m_segmentStart = 0;
  bool m_paused = false;
};

/// Times one operation per iteration on the steady clock, for benchmarks
/// registered with UseManualTime() whose iterations hold work that must not
/// count: pausing Google Benchmark's timer reads the thread's CPU clock, a
/// system call that would weigh on operations of a microsecond or two.
class ManualTimer {
public:
  explicit ManualTimer(benchmark::State& state) : m_state(state) {}
  void Start() { m_start = Now(); }
  /// Reports the time since Start as the iteration's time.
  void Stop() { m_state.SetIterationTime(static_cast<double>(Now() - m_start) * 1e-9); }

private:
  static std::int64_t Now();

  benchmark::State& m_state;
  std::int64_t m_start = 0;
};

/// Sends the library's log lines to a null appender: a line that passes the
/// level is formatted and handed to log4cplus in full, and then dropped.
/// The level is INFO, as in service. Called by Main.
void RouteLoggingToNullAppender();

/// Sets the library logger's level while it lives.
class ScopedLogLevel {
public:
  explicit ScopedLogLevel(log4cplus::LogLevel level);
  ~ScopedLogLevel();
  ScopedLogLevel(const ScopedLogLevel&) = delete;
  ScopedLogLevel& operator=(const ScopedLogLevel&) = delete;

private:
  log4cplus::LogLevel m_previous;
};

/// The log levels that conversions are measured at: INFO (the service's
/// level; the name gets no suffix) and DEBUG (suffix "/DEBUG").
struct LogLevelVariant {
  const char* suffix;
  log4cplus::LogLevel level;
};
inline constexpr LogLevelVariant kLogLevelVariants[] = {
    {"", log4cplus::INFO_LOG_LEVEL},
    {"/DEBUG", log4cplus::DEBUG_LOG_LEVEL},
};

/// Routes logging to the null appender, reads --avo_iterations, then runs
/// the registered benchmarks with Google Benchmark's command line.
int Main(int argc, char** argv);

} // namespace AvoBench
