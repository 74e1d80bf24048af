// Cost of the table-driven conversion path: Init (once per
// Avo::CheckGroupValue call), and ToKnxValue / FromKnxValue after Init beside
// the bare group value setter or getter for the same value (the floor).
//
//   bench_valueconverter [benchmark flags]
//   bench_valueconverter --init-loop N   only N fresh Init calls, for
//       valgrind --tool=callgrind --toggle-collect='Avo::KnxValueConverter::Init()'
#include "AvoObjectModel/KnxValueConverter.h"
#include "Avo/Logging.h"

#include <benchmark/benchmark.h>
#include <log4cplus/nullappender.h>

#include <cstdlib> // std::strtol
#include <cstring> // std::strcmp
#include <functional>
#include <string>

namespace {

// Lines are dropped by a null appender; the level stays INFO, as in service.
void SilenceLogging() {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  logger.setAdditivity(false);
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
}

const Avo::KnxValueConverter& Initialised() {
  static const Avo::KnxValueConverter converter = [] {
    Avo::KnxValueConverter c;
    c.Init();
    return c;
  }();
  return converter;
}

VELVALUE Value(VelValueType type, const std::function<void(VELVALUE&)>& fill) {
  VELVALUE value(type);
  fill(value);
  return value;
}

struct Sample {
  const char* name;
  KNXDPT dpt;
  VELVALUE value;
  std::function<void(KnxStack::GroupValue&)> set; // the floor: the bare setter
  std::function<void(const KnxStack::GroupValue&)> get; // the floor: the bare getter
};

std::vector<Sample> Samples() {
  return {
      {"1.001", {1, 1, 1}, Value(ivtBool, [](VELVALUE& v) { v.byVal = 1; }),
       [](KnxStack::GroupValue& g) { g.SetAsBoolean(true); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsBoolean()); }},
      {"5.001", {8, 5, 1}, Value(ivtByte, [](VELVALUE& v) { v.byVal = 200; }),
       [](KnxStack::GroupValue& g) { g.SetAsUnsigned8(200); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsUnsigned8()); }},
      {"9.001", {16, 9, 1}, Value(ivtFloat, [](VELVALUE& v) { v.dblVal = 21.5; }),
       [](KnxStack::GroupValue& g) { g.SetAsFloat16(21.5); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsFloat16()); }},
      {"13.001", {32, 13, 1}, Value(ivtInteger, [](VELVALUE& v) { v.lVal = -123456; }),
       [](KnxStack::GroupValue& g) { g.SetAsSigned32(-123456); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsSigned32()); }},
      {"14.000", {32, 14, 0}, Value(ivtFloat, [](VELVALUE& v) { v.dblVal = 1.5; }),
       [](KnxStack::GroupValue& g) { g.SetAsFloat32(1.5F); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsFloat32()); }},
      {"16.001", {112, 16, 1}, Value(ivtString, [](VELVALUE& v) { v.strVal = "Hello"; }),
       [](KnxStack::GroupValue& g) { g.SetAsString14("Hello"); },
       [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsString14()); }},
  };
}

void BM_InitFresh(benchmark::State& state) {
  for (auto _ : state) {
    Avo::KnxValueConverter converter;
    benchmark::DoNotOptimize(converter.Init());
  }
}
BENCHMARK(BM_InitFresh);

void BM_InitAgain(benchmark::State& state) {
  Avo::KnxValueConverter converter;
  converter.Init();
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.Init());
  }
}
BENCHMARK(BM_InitAgain);

void ToKnxValue(benchmark::State& state, const Sample& sample) {
  for (auto _ : state) {
    KNXDPT dpt = sample.dpt;
    KnxStack::GroupValue gv;
    benchmark::DoNotOptimize(Initialised().ToKnxValue(dpt, sample.value, gv));
    benchmark::DoNotOptimize(gv);
  }
}

void SetFloor(benchmark::State& state, const Sample& sample) {
  for (auto _ : state) {
    KnxStack::GroupValue gv;
    sample.set(gv);
    benchmark::DoNotOptimize(gv);
  }
}

void FromKnxValue(benchmark::State& state, const Sample& sample) {
  KnxStack::GroupValue gv;
  KNXDPT written = sample.dpt;
  Initialised().ToKnxValue(written, sample.value, gv);
  for (auto _ : state) {
    KNXDPT dpt = sample.dpt;
    VELVALUE value;
    benchmark::DoNotOptimize(Initialised().FromKnxValue(dpt, gv, value));
    benchmark::DoNotOptimize(value);
  }
}

void GetFloor(benchmark::State& state, const Sample& sample) {
  KnxStack::GroupValue gv;
  sample.set(gv);
  for (auto _ : state) {
    sample.get(gv);
  }
}

void UnknownDpt(benchmark::State& state) {
  const VELVALUE value = Value(ivtFloat, [](VELVALUE& v) { v.dblVal = 1.0; });
  for (auto _ : state) {
    KNXDPT dpt(16, 99, 1);
    KnxStack::GroupValue gv;
    benchmark::DoNotOptimize(Initialised().ToKnxValue(dpt, value, gv));
  }
}
BENCHMARK(UnknownDpt)->Name("ToKnxValue/unknown 99.001");

void RegisterConversions() {
  static const std::vector<Sample> samples = Samples();
  for (const Sample& sample : samples) {
    const std::string name = sample.name;
    benchmark::RegisterBenchmark(("ToKnxValue/" + name).c_str(), ToKnxValue, sample);
    benchmark::RegisterBenchmark(("ToKnxValue floor/" + name).c_str(), SetFloor, sample);
    benchmark::RegisterBenchmark(("FromKnxValue/" + name).c_str(), FromKnxValue, sample);
    benchmark::RegisterBenchmark(("FromKnxValue floor/" + name).c_str(), GetFloor, sample);
  }
}

// Fresh converters initialised `count` times, as Avo::CheckGroupValue does;
// one warm-up call first builds the catalogue's prototypes.
int InitLoop(long count) {
  { Avo::KnxValueConverter().Init(); }
  for (long i = 0; i < count; ++i) {
    Avo::KnxValueConverter converter;
    converter.Init();
  }
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  SilenceLogging();
  if (argc == 3 && std::strcmp(argv[1], "--init-loop") == 0) {
    return InitLoop(std::strtol(argv[2], nullptr, 10));
  }
  RegisterConversions();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
