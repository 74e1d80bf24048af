#include "BenchSupport.h"

#include "Avo/Logging.h"

#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define AVO_BENCH_CALLGRIND 1
#endif

#include <atomic>
#include <chrono>
#include <cstdlib> // std::malloc, std::free, std::strtoll
#include <cstring> // std::strncmp
#include <new>
#include <vector>

namespace {

std::atomic<std::uint64_t> g_allocations{0};

} // namespace

// The counting allocator: the program's replacement of the global operator
// new and delete, which the library and the dependencies call as well. The
// array and nothrow forms of the standard library call these. They sit on
// malloc and free, below every owner that C++ offers.
// NOLINTBEGIN(cppcoreguidelines-no-malloc): the allocator itself
void* operator new(std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* block = std::malloc(size != 0 ? size : 1)) {
    return block;
  }
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }

void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
// NOLINTEND(cppcoreguidelines-no-malloc)

namespace AvoBench {
namespace {

constexpr char kIterationsFlag[] = "--avo_iterations=";

// The name of the benchmark that runs on this thread, for the callgrind dumps.
thread_local std::string t_benchmarkName;

// Under callgrind: the dump of each segment of a timed loop is marked
// "avo-loop <name> threads=<threads>", and the last one also carries the
// number of operations (iterations of all threads) that the segments
// performed together.
std::string SegmentMark(const benchmark::State& state) {
  return "avo-loop " + t_benchmarkName + " threads=" + std::to_string(state.threads());
}

void DumpInstructions(const std::string& mark) {
#ifdef AVO_BENCH_CALLGRIND
  CALLGRIND_DUMP_STATS_AT(mark.c_str());
#else
  static_cast<void>(mark);
#endif
}

void StartInstructions() {
#ifdef AVO_BENCH_CALLGRIND
  CALLGRIND_ZERO_STATS;
#endif
}

std::vector<benchmark::internal::Benchmark*>& Registered() {
  static std::vector<benchmark::internal::Benchmark*> registered;
  return registered;
}

// Removes --avo_iterations=N from the command line; 0 when it is not given.
benchmark::IterationCount TakeIterationsFlag(int& argc, char** argv) {
  benchmark::IterationCount iterations = 0;
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], kIterationsFlag, sizeof kIterationsFlag - 1) == 0) {
      iterations = std::strtoll(argv[i] + sizeof kIterationsFlag - 1, nullptr, 10);
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  return iterations;
}

} // namespace

benchmark::internal::Benchmark* Register(const std::string& name,
                                         std::function<void(benchmark::State&)> function) {
  benchmark::internal::Benchmark* registered = benchmark::RegisterBenchmark(
      name.c_str(), [name, function = std::move(function)](benchmark::State& state) {
        t_benchmarkName = name;
        function(state);
      });
  Registered().push_back(registered);
  return registered;
}

benchmark::internal::Benchmark* RegisterFloor(const std::string& name,
                                              std::function<void(benchmark::State&)> function) {
  return Register("floor/" + name, std::move(function));
}

std::uint64_t AllocationCount() { return g_allocations.load(std::memory_order_relaxed); }

LoopMeasurement::LoopMeasurement(benchmark::State& state) : m_state(state) {
  if (Measures()) {
    m_mark = SegmentMark(state);
    m_segmentStart = AllocationCount();
    StartInstructions();
  }
}

LoopMeasurement::~LoopMeasurement() {
  if (!Measures()) {
    return;
  }
  if (m_paused) {
    StartInstructions(); // the final dump only carries the count
  } else {
    m_allocations += AllocationCount() - m_segmentStart;
  }
  const benchmark::IterationCount operations = m_state.iterations() * m_state.threads();
  DumpInstructions(m_mark + " operations=" + std::to_string(operations));
  m_state.counters["allocs"] =
      benchmark::Counter(static_cast<double>(m_allocations), benchmark::Counter::kAvgIterations);
}

void LoopMeasurement::Pause() {
  PauseCounting();
  m_state.PauseTiming();
}

void LoopMeasurement::Resume() {
  m_state.ResumeTiming();
  ResumeCounting();
}

void LoopMeasurement::PauseCounting() {
  if (Measures()) {
    m_allocations += AllocationCount() - m_segmentStart;
    DumpInstructions(m_mark);
  }
  m_paused = true;
}

void LoopMeasurement::ResumeCounting() {
  m_paused = false;
  if (Measures()) {
    m_segmentStart = AllocationCount();
    StartInstructions();
  }
}

std::int64_t ManualTimer::Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void RouteLoggingToNullAppender() {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  logger.setAdditivity(false);
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
}

ScopedLogLevel::ScopedLogLevel(log4cplus::LogLevel level)
    : m_previous(Avo::GetGlobalDefaultLogger().getLogLevel()) {
  Avo::GetGlobalDefaultLogger().setLogLevel(level);
}

ScopedLogLevel::~ScopedLogLevel() { Avo::GetGlobalDefaultLogger().setLogLevel(m_previous); }

int Main(int argc, char** argv) {
  RouteLoggingToNullAppender();
  const benchmark::IterationCount iterations = TakeIterationsFlag(argc, argv);
  if (iterations > 0) {
    for (benchmark::internal::Benchmark* registered : Registered()) {
      registered->Iterations(iterations);
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

} // namespace AvoBench
