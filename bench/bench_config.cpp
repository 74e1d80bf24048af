// Loading a large app host configuration (50,000 response data points)
// beside its floor: a bare in-place parse of the same text with the same
// parser and flags. Both parse in place, so every iteration works on a fresh
// copy of the text, made while the timer is paused.
#include "AvoObjectModel/AppHostConfig.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <malloc.h> // mallopt
#include <rapidxml/rapidxml.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kDataPoints = 50000;

const std::string& LargeConfiguration() {
  static const std::string text = [] {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<AvoAppHostConfig WithoutKNX=\"0\" TerminateOnFirmwareUpdate=\"1\">\n"
        "  <ObjectModelConfig Path=\"/opt/userdata/devicestack/avoOM/config.json\"/>\n"
        "  <KelConfig>\n    <ResponseDps>\n";
    for (int i = 0; i < kDataPoints; ++i) {
      xml += "      <Dp ObjId=\"" + std::to_string(1342177280u + 16u * i) + "\"/>\n";
    }
    xml += "    </ResponseDps>\n  </KelConfig>\n"
           "  <Debugging Active=\"0\"><AppHost RootPath=\"/home/dev/apphost\"/></Debugging>\n"
           "</AvoAppHostConfig>\n";
    return xml;
  }();
  return text;
}

void CountWork(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kDataPoints);
  const auto bytes = static_cast<std::int64_t>(LargeConfiguration().size());
  state.SetBytesProcessed(state.iterations() * bytes);
}

void LoadAppHostConfigXML(benchmark::State& state) {
  const std::string& text = LargeConfiguration();
  std::vector<char> buffer;
  std::unique_ptr<Avo::AppHostConfiguration> configuration;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    measurement.Pause();
    buffer.assign(text.begin(), text.end());
    buffer.push_back('\0');
    configuration = std::make_unique<Avo::AppHostConfiguration>();
    measurement.Resume();

    const bool loaded = configuration->LoadAppHostConfigXML(buffer.data());
    benchmark::DoNotOptimize(loaded);

    measurement.Pause();
    if (!loaded || configuration->GetResponseDataPoints().size() != kDataPoints) {
      state.SkipWithError("the configuration did not load");
    }
    configuration.reset();
    measurement.Resume();
  }
  CountWork(state);
}

void BareParse(benchmark::State& state) {
  const std::string& text = LargeConfiguration();
  std::vector<char> buffer;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    measurement.Pause();
    buffer.assign(text.begin(), text.end());
    buffer.push_back('\0');
    measurement.Resume();

    auto document = std::make_unique<rapidxml::xml_document<>>();
    document->parse<rapidxml::parse_default>(buffer.data());
    benchmark::DoNotOptimize(document->first_node());
  }
  CountWork(state);
}

} // namespace

int main(int argc, char** argv) {
  // Keep freed memory in the process: otherwise every iteration's fresh node
  // pool is faulted in page by page, and that kernel time, not the parse,
  // would dominate both figures and hide the loader's own cost.
  mallopt(M_TRIM_THRESHOLD, 512 * 1024 * 1024);
  mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024);
  const std::string name = "LoadAppHostConfigXML/" + std::to_string(kDataPoints) + "-Dp";
  AvoBench::Register(name, LoadAppHostConfigXML)->Unit(benchmark::kMicrosecond);
  AvoBench::RegisterFloor(name, BareParse)->Unit(benchmark::kMicrosecond);
  return AvoBench::Main(argc, argv);
}
