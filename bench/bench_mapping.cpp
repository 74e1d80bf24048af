// The object-model identifiers and the DPT main-type table: each function
// beside its floor, the same answer computed inline (no call into the
// library, no table but a flat array), over inputs that change from one
// iteration to the next.
#include "AvoObjectModel/KnxKelMapping.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <boost/optional.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Avo::KnxKelMapping;
using Avo::LogicalDeviceId;
using Avo::ObjModelId;
using Avo::ParameterType;

constexpr std::size_t kInputs = 4096; // a power of two: the index wraps by mask

struct CoInput {
  std::uint16_t co;
  LogicalDeviceId ld;
};

const std::vector<CoInput>& CoInputs() {
  static const std::vector<CoInput> inputs = [] {
    std::vector<CoInput> built;
    for (std::size_t i = 0; i < kInputs; ++i) {
      built.push_back({static_cast<std::uint16_t>((i * 7) % 4100),
                       LogicalDeviceId(1 + static_cast<int>(i % 2))});
    }
    return built;
  }();
  return inputs;
}

// Identifiers spread over both logical devices: channels, values, parameters
// and identifiers that denote nothing.
const std::vector<ObjModelId>& Identifiers() {
  static const std::vector<ObjModelId> inputs = [] {
    std::vector<ObjModelId> built;
    for (std::size_t i = 0; i < kInputs; ++i) {
      const ObjModelId block = 100000 * static_cast<ObjModelId>(1 + i % 2);
      const auto offset = static_cast<ObjModelId>((i * 24593) % 100000);
      built.push_back(block + offset);
    }
    return built;
  }();
  return inputs;
}

template <class Function>
void OverCoInputs(benchmark::State& state, Function function) {
  const std::vector<CoInput>& inputs = CoInputs();
  std::size_t i = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    const CoInput& input = inputs[i++ & (kInputs - 1)];
    benchmark::DoNotOptimize(function(input.co, input.ld));
  }
}

template <class Function>
void OverIdentifiers(benchmark::State& state, Function function) {
  const std::vector<ObjModelId>& inputs = Identifiers();
  std::size_t i = 0;
  AvoBench::LoopMeasurement measurement(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(function(inputs[i++ & (kInputs - 1)]));
  }
}

// The floors: the identifier arithmetic written out where it is used.
constexpr ObjModelId Block(int ld) { return 100000 * static_cast<ObjModelId>(ld); }

boost::optional<ObjModelId> CoChannelFloor(std::uint16_t co, int ld) {
  return co < 4096 ? boost::make_optional(Block(ld) + 98 + 2 * ObjModelId{co}) : boost::none;
}

bool IsCoChannelFloor(ObjModelId id) {
  return id >= 100000 && id % 100000 - 100 <= 8189 && id % 2 == 0;
}

boost::optional<std::uint16_t> CoNumberFloor(ObjModelId id, int ld) {
  if (id % 2 == 0 || !IsCoChannelFloor(id - 1)) {
    return boost::none;
  }
  return static_cast<std::uint16_t>(((id % Block(ld) - 100) >> 1) + 1);
}

std::array<VelValueType, 256> MainTypesByNumber() {
  std::array<VelValueType, 256> types{};
  for (std::uint32_t main = 0; main < types.size(); ++main) {
    types[main] = KnxKelMapping::GetIvtFromDpt(main << 16);
  }
  return types;
}

void RegisterAll() {
  AvoBench::Register("KnxKelMapping/GetCoChannelObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t co, LogicalDeviceId ld) {
      return KnxKelMapping::GetCoChannelObjModelId(co, ld);
    });
  });
  AvoBench::RegisterFloor("KnxKelMapping/GetCoChannelObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t co, LogicalDeviceId ld) { return CoChannelFloor(co, ld); });
  });

  AvoBench::Register("KnxKelMapping/GetCoValueObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t co, LogicalDeviceId ld) {
      return KnxKelMapping::GetCoValueObjModelId(co, ld);
    });
  });
  AvoBench::RegisterFloor("KnxKelMapping/GetCoValueObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t co, LogicalDeviceId ld) {
      return co != 0 && co < 4096 ? boost::make_optional(Block(ld) + 99 + 2 * ObjModelId{co})
                                  : boost::none;
    });
  });

  AvoBench::Register("KnxKelMapping/IsCoChannel", [](benchmark::State& s) {
    OverIdentifiers(s, [](ObjModelId id) { return KnxKelMapping::IsCoChannel(id); });
  });
  AvoBench::RegisterFloor("KnxKelMapping/IsCoChannel",
                          [](benchmark::State& s) { OverIdentifiers(s, IsCoChannelFloor); });

  AvoBench::Register("KnxKelMapping/GetCoNumberFromObjModelId", [](benchmark::State& s) {
    OverIdentifiers(s, [](ObjModelId id) {
      return KnxKelMapping::GetCoNumberFromObjModelId(
          id, LogicalDeviceId(1 + static_cast<int>(id / 100000 % 2)));
    });
  });
  AvoBench::RegisterFloor("KnxKelMapping/GetCoNumberFromObjModelId", [](benchmark::State& s) {
    OverIdentifiers(
        s, [](ObjModelId id) { return CoNumberFloor(id, static_cast<int>(1 + id / 100000 % 2)); });
  });

  AvoBench::Register("KnxKelMapping/GetParameterChannelObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t n, LogicalDeviceId ld) {
      return KnxKelMapping::GetParameterChannelObjModelId(n % 512, ld, ParameterType::Text);
    });
  });
  AvoBench::RegisterFloor("KnxKelMapping/GetParameterChannelObjModelId", [](benchmark::State& s) {
    OverCoInputs(s, [](std::uint16_t n, LogicalDeviceId ld) {
      const ObjModelId number = n % 512U;
      return number <= 500 ? boost::make_optional(Block(ld) + 80000 + 2 * number) : boost::none;
    });
  });

  AvoBench::Register("KnxKelMapping/GetParameterTypeFromObjModelId", [](benchmark::State& s) {
    OverIdentifiers(s, [](ObjModelId id) {
      return KnxKelMapping::GetParameterTypeFromObjModelId(
          id, LogicalDeviceId(1 + static_cast<int>(id / 100000 % 2)));
    });
  });

  AvoBench::Register("KnxKelMapping/GetIvtFromDpt", [](benchmark::State& s) {
    OverIdentifiers(s,
                    [](ObjModelId id) { return KnxKelMapping::GetIvtFromDpt((id % 256) << 16); });
  });
  AvoBench::RegisterFloor("KnxKelMapping/GetIvtFromDpt", [](benchmark::State& s) {
    static const std::array<VelValueType, 256> types = MainTypesByNumber();
    OverIdentifiers(s, [](ObjModelId id) { return types[id % 256]; });
  });

  AvoBench::Register("KnxKelMapping/GetDefaultValueFromDpt", [](benchmark::State& s) {
    OverIdentifiers(s, [](ObjModelId id) {
      return KnxKelMapping::GetDefaultValueFromDpt(((id % 32) << 16) | 1, true);
    });
  });
}

} // namespace

int main(int argc, char** argv) {
  RegisterAll();
  return AvoBench::Main(argc, argv);
}
