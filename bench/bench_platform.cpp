// The platform pieces that every conversion pays for: a log line (the level
// check, the formatting, log4cplus), the value record and the group value.
// They explain the conversion figures; the conversions' floors are measured
// beside the conversions themselves.
#include "Avo/Logging.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <log4cplus/logger.h>

#include <string>

namespace {

// A DEBUG line while the level is INFO: the level check alone.
void DisabledDebugLine(benchmark::State& state) {
  int value = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    AVO_LOG_DEBUG("DPT is used. DPT = " << value);
    benchmark::DoNotOptimize(++value);
  }
}

// A line that passes the level: formatted in full and handed to log4cplus.
void EnabledLine(benchmark::State& state, log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(log4cplus::TRACE_LOG_LEVEL);
  int value = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    AVO_LOG(level, "No Entry found for DPT = " << value << '.' << 1);
    benchmark::DoNotOptimize(++value);
  }
}

// The floor of a line: log4cplus alone, given the finished line.
void EnabledLineFloor(benchmark::State& state, log4cplus::LogLevel level) {
  const AvoBench::ScopedLogLevel logLevel(log4cplus::TRACE_LOG_LEVEL);
  const log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  const std::string line = "GetEntry (KnxValueConverter.cpp:42) - No Entry found for DPT = 99.1";
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    logger.forcedLog(level, line, __FILE__, __LINE__, __func__);
  }
}

VELVALUE FloatValue() {
  VELVALUE value(ivtFloat);
  value.dblVal = 21.53;
  return value;
}

void ConstructRecord(benchmark::State& state) {
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    VELVALUE value;
    benchmark::DoNotOptimize(value);
  }
}

void CopyRecord(benchmark::State& state) {
  const VELVALUE source = FloatValue();
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    VELVALUE copy = source;
    benchmark::DoNotOptimize(copy);
  }
}

void RecordToString(benchmark::State& state) {
  const VELVALUE value = FloatValue();
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.ToString());
  }
}

void SerializeRecord(benchmark::State& state) {
  const VELVALUE value = FloatValue();
  std::string text;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    value.Serialize(text, true);
    benchmark::DoNotOptimize(text);
  }
}

void DeserializeRecord(benchmark::State& state) {
  const std::string text = "3.2:21.53";
  VELVALUE value;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.Deserialize(text));
  }
}

constexpr double kTemperatures[] = {21.5, -3.25, 0.0, 42.5, 500.0, -1000.0, 670433.28, 20.48};

// A group value written again and again: its buffer is reused.
void SetAsFloat16Reused(benchmark::State& state) {
  KnxStack::GroupValue value;
  std::size_t i = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    value.SetAsFloat16(kTemperatures[i++ % std::size(kTemperatures)]);
    benchmark::DoNotOptimize(value);
  }
}

// A fresh group value for every value, as conversions return them.
void SetAsFloat16Fresh(benchmark::State& state) {
  std::size_t i = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    KnxStack::GroupValue value;
    value.SetAsFloat16(kTemperatures[i++ % std::size(kTemperatures)]);
    benchmark::DoNotOptimize(value);
  }
}

void RawDataToString(benchmark::State& state) {
  KnxStack::GroupValue value;
  value.SetAsFloat16(21.5);
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.GetRawData().ToString());
  }
}

void RegisterAll() {
  AvoBench::Register("Log/DEBUG-line-at-INFO", DisabledDebugLine);
  for (const auto& [name, level] : {std::pair{"DEBUG", log4cplus::DEBUG_LOG_LEVEL},
                                    std::pair{"ERROR", log4cplus::ERROR_LOG_LEVEL}}) {
    const log4cplus::LogLevel lineLevel = level;
    AvoBench::Register(std::string("Log/") + name + "-line",
                       [lineLevel](benchmark::State& s) { EnabledLine(s, lineLevel); });
    AvoBench::RegisterFloor(std::string("Log/") + name + "-line",
                            [lineLevel](benchmark::State& s) { EnabledLineFloor(s, lineLevel); });
  }
  AvoBench::Register("VELVALUE/construct", ConstructRecord);
  AvoBench::Register("VELVALUE/copy", CopyRecord);
  AvoBench::Register("VELVALUE/ToString", RecordToString);
  AvoBench::Register("VELVALUE/Serialize", SerializeRecord);
  AvoBench::Register("VELVALUE/Deserialize", DeserializeRecord);
  AvoBench::Register("GroupValue/SetAsFloat16-reused", SetAsFloat16Reused);
  AvoBench::Register("GroupValue/SetAsFloat16-fresh", SetAsFloat16Fresh);
  AvoBench::Register("GroupValue/RawData-ToString", RawDataToString);
}

} // namespace

int main(int argc, char** argv) {
  RegisterAll();
  return AvoBench::Main(argc, argv);
}
