// Cost of the bare group-value setters and getters: the floor that converter
// costs are compared against.
#include "KnxStack/GroupValue.h"

#include <benchmark/benchmark.h>

#include <array>
#include <string>

namespace {

using KnxStack::GroupValue;

constexpr std::array<double, 8> kTemperatures = {21.5,   -3.25,   0.0,      42.5,
                                                 500.0, -1000.0, 670433.28, 20.48};

void BM_SetAsFloat16Reused(benchmark::State& state) {
  GroupValue value;
  std::size_t i = 0;
  for (auto _ : state) {
    value.SetAsFloat16(kTemperatures[i++ % kTemperatures.size()]);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_SetAsFloat16Reused);

void BM_SetAsFloat16Fresh(benchmark::State& state) {
  std::size_t i = 0;
  for (auto _ : state) {
    GroupValue value;
    value.SetAsFloat16(kTemperatures[i++ % kTemperatures.size()]);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_SetAsFloat16Fresh);

void BM_GetAsFloat16(benchmark::State& state) {
  GroupValue value;
  value.SetAsFloat16(21.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.GetAsFloat16());
  }
}
BENCHMARK(BM_GetAsFloat16);

void BM_SetGetUnsigned8Fresh(benchmark::State& state) {
  unsigned char byte = 0;
  for (auto _ : state) {
    GroupValue value;
    value.SetAsUnsigned8(byte++);
    benchmark::DoNotOptimize(value.GetAsUnsigned8());
  }
}
BENCHMARK(BM_SetGetUnsigned8Fresh);

void BM_SetGetString14Reused(benchmark::State& state) {
  GroupValue value;
  const std::string text = "Living room";
  for (auto _ : state) {
    value.SetAsString14(text);
    benchmark::DoNotOptimize(value.GetAsString14());
  }
}
BENCHMARK(BM_SetGetString14Reused);

} // namespace

BENCHMARK_MAIN();
