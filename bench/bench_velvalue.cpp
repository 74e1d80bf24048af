// Costs of the value record on the conversion paths: construction, copy, the
// byte codec, and the text form.
#include "VelValue.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

VELVALUE FloatValue() {
  VELVALUE value(ivtFloat);
  value.dblVal = 21.53;
  return value;
}

void BM_ConstructDefault(benchmark::State& state) {
  for (auto _ : state) {
    VELVALUE value;
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_ConstructDefault);

void BM_CopyFloat(benchmark::State& state) {
  const VELVALUE source = FloatValue();
  for (auto _ : state) {
    VELVALUE copy = source;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_CopyFloat);

void BM_CompareFloat(benchmark::State& state) {
  const VELVALUE a = FloatValue();
  const VELVALUE b = FloatValue();
  for (auto _ : state) {
    benchmark::DoNotOptimize(a == b);
  }
}
BENCHMARK(BM_CompareFloat);

void BM_WordToBytesAndBack(benchmark::State& state) {
  VELVALUE value(ivtWord);
  value.wVal = 0x1234;
  unsigned char buffer[24];
  for (auto _ : state) {
    unsigned int size = sizeof buffer;
    VelValueToByteArray(value, buffer, size);
    VELVALUE read(ivtWord);
    ByteArrayToVelValue(buffer, size, read, false);
    benchmark::DoNotOptimize(read);
  }
}
BENCHMARK(BM_WordToBytesAndBack);

void BM_SerializeFloat(benchmark::State& state) {
  const VELVALUE value = FloatValue();
  std::string text;
  for (auto _ : state) {
    value.Serialize(text, true);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_SerializeFloat);

void BM_DeserializeFloat(benchmark::State& state) {
  const std::string text = "3.2:21.53";
  VELVALUE value;
  for (auto _ : state) {
    value.Deserialize(text);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_DeserializeFloat);

void BM_SerializeDateTime(benchmark::State& state) {
  VELVALUE value(ivtDateTime);
  value.tmVal.SetDateTime(2024, 5, 6, 10, 20, 30, true);
  std::string text;
  for (auto _ : state) {
    value.Serialize(text, false);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_SerializeDateTime);

void BM_ToStringFloat(benchmark::State& state) {
  const VELVALUE value = FloatValue();
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.ToString());
  }
}
BENCHMARK(BM_ToStringFloat);

} // namespace

BENCHMARK_MAIN();
