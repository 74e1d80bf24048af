// The table-driven conversion path: Init (run for every value check) beside
// the clones that every row must own, and ToKnxValue / FromKnxValue after
// Init beside the bare group value setter or getter for the same value, with
// the logger at INFO and at DEBUG.
#include "AvoObjectModel/KnxValueConverter.h"

#include "BenchSupport.h"
#include "ConversionCases.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using AvoBench::ConversionCase;

const Avo::KnxValueConverter& Initialised() {
  static const Avo::KnxValueConverter converter = [] {
    Avo::KnxValueConverter built;
    built.Init();
    return built;
  }();
  return converter;
}

// Init of a fresh converter, as every value check makes one. Only Init is
// timed and counted; the converter is made and destroyed between the Inits
// as between checks, so that Init meets the heap in the state of service.
void Init(benchmark::State& state) {
  AvoBench::ManualTimer timer(state);
  std::optional<Avo::KnxValueConverter> converter;
  AvoBench::LoopMeasurement measurement(state);
  measurement.PauseCounting();
  for (auto _ : state) {
    converter.emplace();
    timer.Start();
    measurement.ResumeCounting();
    benchmark::DoNotOptimize(converter->Init());
    measurement.PauseCounting();
    timer.Stop();
    converter.reset();
  }
}

// The part of Init that cannot go: every row owns a clone of its converter.
void InitFloor(benchmark::State& state) {
  std::vector<const Avo::KnxConverter*> prototypes;
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    prototypes.push_back(row.GetConverter());
  }
  AvoBench::ManualTimer timer(state);
  std::unique_ptr<Avo::KnxConverter> clones[Avo::DptValueMap::kInlineRows];
  AvoBench::LoopMeasurement measurement(state);
  measurement.PauseCounting();
  for (auto _ : state) {
    timer.Start();
    measurement.ResumeCounting();
    for (std::size_t i = 0; i < prototypes.size(); ++i) {
      clones[i].reset(prototypes[i]->Clone());
    }
    benchmark::DoNotOptimize(clones);
    measurement.PauseCounting();
    timer.Stop();
    for (auto& clone : clones) {
      clone.reset();
    }
  }
}

void ToKnxValue(benchmark::State& state, const ConversionCase& conversion,
                log4cplus::LogLevel level) {
  const Avo::KnxValueConverter& converter = Initialised();
  const AvoBench::ScopedLogLevel logLevel(level);
  {
    KNXDPT dpt = conversion.dpt;
    KnxStack::GroupValue value;
    if (!converter.ToKnxValue(dpt, conversion.converterValue, value)) {
      state.SkipWithError("the value does not convert");
      return;
    }
  }
  const AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    KNXDPT dpt = conversion.dpt;
    KnxStack::GroupValue value;
    benchmark::DoNotOptimize(converter.ToKnxValue(dpt, conversion.converterValue, value));
    benchmark::DoNotOptimize(value);
  }
}

void SetterFloor(benchmark::State& state, const ConversionCase& conversion) {
  const AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    KnxStack::GroupValue value;
    conversion.set(conversion.converterValue, value);
    benchmark::DoNotOptimize(value);
  }
}

void FromKnxValue(benchmark::State& state, const ConversionCase& conversion,
                  log4cplus::LogLevel level) {
  const Avo::KnxValueConverter& converter = Initialised();
  const AvoBench::ScopedLogLevel logLevel(level);
  const KnxStack::GroupValue encoded = AvoBench::EncodedGroupValue(conversion);
  VELVALUE value;
  {
    KNXDPT dpt = conversion.dpt;
    if (!converter.FromKnxValue(dpt, encoded, value)) {
      state.SkipWithError("the group value does not convert");
      return;
    }
  }
  const AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    KNXDPT dpt = conversion.dpt;
    benchmark::DoNotOptimize(converter.FromKnxValue(dpt, encoded, value));
    benchmark::DoNotOptimize(value);
  }
}

void GetterFloor(benchmark::State& state, const ConversionCase& conversion) {
  const KnxStack::GroupValue encoded = AvoBench::EncodedGroupValue(conversion);
  VELVALUE value;
  const AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    conversion.get(encoded, value);
    benchmark::DoNotOptimize(value);
  }
}

void RegisterAll() {
  AvoBench::Register("Init", Init)->UseManualTime();
  AvoBench::RegisterFloor("Init", InitFloor)->UseManualTime();
  for (const ConversionCase& conversion : AvoBench::ConversionCases()) {
    const std::string name = conversion.name;
    const ConversionCase* c = &conversion;
    for (const AvoBench::LogLevelVariant& variant : AvoBench::kLogLevelVariants) {
      const log4cplus::LogLevel level = variant.level;
      AvoBench::Register("ToKnxValue/" + name + variant.suffix,
                         [c, level](benchmark::State& state) { ToKnxValue(state, *c, level); });
      AvoBench::Register("FromKnxValue/" + name + variant.suffix,
                         [c, level](benchmark::State& state) { FromKnxValue(state, *c, level); });
    }
    AvoBench::RegisterFloor("ToKnxValue/" + name,
                            [c](benchmark::State& state) { SetterFloor(state, *c); });
    AvoBench::RegisterFloor("FromKnxValue/" + name,
                            [c](benchmark::State& state) { GetterFloor(state, *c); });
  }
}

} // namespace

int main(int argc, char** argv) {
  RegisterAll();
  return AvoBench::Main(argc, argv);
}
