// Any bytes, repaired as UTF-8 text: the result is valid UTF-8, valid text
// comes back byte for byte, the valid part before the first fault survives,
// nothing grows (each invalid sequence becomes a single "?"), and repairing
// the result again changes nothing.
#include "AvoObjectModel/GroupValueVelValue.h"

#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort
#include <string>

namespace {

void Check(bool condition) {
  if (!condition) {
    std::abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string repaired = Avo::RepairUTF8(text).Str();

  Check(utf8::is_valid(repaired.begin(), repaired.end()));
  Check(repaired.size() <= text.size());
  const auto firstFault = utf8::find_invalid(text.begin(), text.end());
  if (firstFault == text.end()) {
    Check(repaired == text);
  } else {
    const auto validPart = static_cast<std::size_t>(firstFault - text.begin());
    Check(repaired.compare(0, validPart, text, 0, validPart) == 0);
    Check(repaired.size() > validPart && repaired[validPart] == '?');
  }
  Check(Avo::RepairUTF8(repaired).Str() == repaired);
  return 0;
}
