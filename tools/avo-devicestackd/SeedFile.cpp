#include "SeedFile.h"

#include "QuotedText.h"
#include "ValueTexts.h"

#include "AvoObjectModel/KnxKelMapping.h"

#include <fstream>

namespace DeviceStackd {

Polt::DeviceStackObjectModel ReadSeed(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw SeedError("cannot open the seed file '" + path + "'");
  }
  Polt::DeviceStackObjectModel model;
  std::string line;
  for (std::size_t number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    auto fail = [&](const std::string& what) {
      return SeedError("seed file '" + path + "' line " + std::to_string(number) + ": " + what);
    };
    FieldReader in(line);
    const std::uint32_t id = in.Number();
    const std::string text = in.Rest();
    if (!in.Failure().empty()) {
      throw fail(in.Failure());
    }
    const std::optional<std::string> kept = CanonicalValueText(text);
    if (!kept) {
      throw fail("'" + text + "' is not a value text");
    }
    if (model.FindObject(id) != nullptr) {
      throw fail("object " + std::to_string(id) + " is given twice");
    }
    model.SetObject(id, *kept, std::string());
  }
  if (file.bad()) {
    throw SeedError("cannot read the seed file '" + path + "'");
  }
  return model;
}

std::size_t WriteDefaultSeed(const std::string& path, std::uint32_t dpt) {
  const std::string value = Avo::KnxKelMapping::GetDefaultValueFromDpt(dpt, false);
  const std::string dptText =
      std::to_string(Avo::MainNumberOf(dpt)) + "." + std::to_string(Avo::SubNumberOf(dpt));
  if (value.empty()) {
    throw SeedError("DPT " + dptText + " has no default value");
  }
  std::ofstream file(path, std::ios::trunc);
  file << "# Value objects of the COs 1..4095 of both logical devices, default value of DPT "
       << dptText << "\n";
  std::size_t count = 0;
  for (int ld = 1; ld <= 2; ++ld) {
    for (std::uint16_t co = 1; co <= 4095; ++co) {
      const auto id = Avo::KnxKelMapping::GetCoValueObjModelId(co, Avo::LogicalDeviceId(ld));
      if (id) {
        file << *id << ' ' << value << '\n';
        ++count;
      }
    }
  }
  file.close();
  if (!file) {
    throw SeedError("cannot write the seed file '" + path + "'");
  }
  return count;
}

} // namespace DeviceStackd
