// The group value bridge: VelValueToGroupValue beside the bare group value
// setter for the same value, with the logger at INFO and at DEBUG.
#include "AvoObjectModel/GroupValueVelValue.h"

#include "BenchSupport.h"
#include "ConversionCases.h"

#include <benchmark/benchmark.h>
#include <boost/optional.hpp>

#include <string>

namespace {

using AvoBench::ConversionCase;

void VelValueToGroupValue(benchmark::State& state, const ConversionCase& conversion,
                          log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(level);
  const std::uint32_t dpt = conversion.PackedDpt();
  if (conversion.dpt.mainNumber != 99 &&
      !Avo::VelValueToGroupValue(conversion.bridgeValue, dpt)) {
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
}

} // namespace

int main(int argc, char** argv) {
  RegisterAll();
  return AvoBench::Main(argc, argv);
}
