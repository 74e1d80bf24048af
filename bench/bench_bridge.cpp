// The group value bridge, with the logger at INFO and at DEBUG:
// VelValueToGroupValue beside the bare group value setter for the same value;
// CheckGroupValue and GroupValueToVelValue, each with the fresh converter
// that every check must initialise, beside the clones that such a converter
// must own (made and destroyed) plus the bare getter for the same value.
#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include "BenchSupport.h"
#include "ConversionCases.h"

#include <benchmark/benchmark.h>
#include <boost/optional.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

using AvoBench::ConversionCase;

void VelValueToGroupValue(benchmark::State& state, const ConversionCase& conversion,
                          log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(level);
  const std::uint32_t dpt = conversion.PackedDpt();
  if (conversion.dpt.mainNumber != 99 && !Avo::VelValueToGroupValue(conversion.bridgeValue, dpt)) {
    state.SkipWithError("the value does not convert");
    return;
  }
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Avo::VelValueToGroupValue(conversion.bridgeValue, dpt));
  }
}

// The result's own type around the bare setter.
void VelValueToGroupValueFloor(benchmark::State& state, const ConversionCase& conversion) {
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    boost::optional<KnxStack::GroupValue> result;
    result.emplace();
    conversion.set(conversion.bridgeValue, *result);
    benchmark::DoNotOptimize(result);
  }
}

void CheckGroupValue(benchmark::State& state, const ConversionCase& conversion,
                     log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(level);
  const std::uint32_t dpt = conversion.PackedDpt();
  const KnxStack::GroupValue encoded = AvoBench::EncodedGroupValue(conversion);
  if (!Avo::CheckGroupValue(encoded, dpt)) {
    state.SkipWithError("the group value is refused");
    return;
  }
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Avo::CheckGroupValue(encoded, dpt));
  }
}

void GroupValueToVelValue(benchmark::State& state, const ConversionCase& conversion,
                          log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(level);
  const std::uint32_t dpt = conversion.PackedDpt();
  const KnxStack::GroupValue encoded = AvoBench::EncodedGroupValue(conversion);
  if (conversion.dpt.mainNumber != 99 && !Avo::GroupValueToVelValue(encoded, dpt)) {
    state.SkipWithError("the group value does not convert");
    return;
  }
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Avo::GroupValueToVelValue(encoded, dpt));
  }
}

// The converters that a check's fresh converter must clone, one per row.
const std::vector<const Avo::KnxConverter*>& Prototypes() {
  static const Avo::KnxValueConverter* const source = [] {
    auto* converter = new Avo::KnxValueConverter();
    converter->Init();
    return converter;
  }();
  static const std::vector<const Avo::KnxConverter*> prototypes = [] {
    std::vector<const Avo::KnxConverter*> converters;
    for (const Avo::DptValueEntry& row : source->GetDptValueMap()) {
      converters.push_back(row.GetConverter());
    }
    return converters;
  }();
  return prototypes;
}

// Every check owns a clone of each row's converter, and the bare getter reads
// the value: the least that a check or a decode with its check costs.
void CheckFloor(benchmark::State& state, const ConversionCase& conversion) {
  const std::vector<const Avo::KnxConverter*>& prototypes = Prototypes();
  const KnxStack::GroupValue encoded = AvoBench::EncodedGroupValue(conversion);
  VELVALUE value;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    std::unique_ptr<Avo::KnxConverter> clones[Avo::DptValueMap::kInlineRows];
    for (std::size_t i = 0; i < prototypes.size(); ++i) {
      clones[i].reset(prototypes[i]->Clone());
    }
    benchmark::DoNotOptimize(clones);
    conversion.get(encoded, value);
    benchmark::DoNotOptimize(value);
  }
}

void RegisterAll() {
  for (const ConversionCase& conversion : AvoBench::ConversionCases()) {
    const std::string name = conversion.name;
    const ConversionCase* c = &conversion;
    for (const AvoBench::LogLevelVariant& variant : AvoBench::kLogLevelVariants) {
      const log4cplus::LogLevel level = variant.level;
      AvoBench::Register("VelValueToGroupValue/" + name + variant.suffix,
                         [c, level](benchmark::State& s) { VelValueToGroupValue(s, *c, level); });
    }
    AvoBench::RegisterFloor("VelValueToGroupValue/" + name,
                            [c](benchmark::State& s) { VelValueToGroupValueFloor(s, *c); });
  }
  for (const ConversionCase& conversion : AvoBench::ConversionCases()) {
    const std::string name = conversion.name;
    const ConversionCase* c = &conversion;
    for (const AvoBench::LogLevelVariant& variant : AvoBench::kLogLevelVariants) {
      const log4cplus::LogLevel level = variant.level;
      AvoBench::Register("CheckGroupValue/" + name + variant.suffix,
                         [c, level](benchmark::State& s) { CheckGroupValue(s, *c, level); });
      AvoBench::Register("GroupValueToVelValue/" + name + variant.suffix,
                         [c, level](benchmark::State& s) { GroupValueToVelValue(s, *c, level); });
    }
    AvoBench::RegisterFloor("CheckGroupValue/" + name,
                            [c](benchmark::State& s) { CheckFloor(s, *c); });
    AvoBench::RegisterFloor("GroupValueToVelValue/" + name,
                            [c](benchmark::State& s) { CheckFloor(s, *c); });
  }
}

} // namespace

int main(int argc, char** argv) {
  RegisterAll();
  return AvoBench::Main(argc, argv);
}
