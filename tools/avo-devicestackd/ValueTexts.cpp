#include "ValueTexts.h"

#include "VelValue.h"

#include <cmath> // std::isnan

namespace DeviceStackd {

std::optional<std::string> CanonicalValueText(const std::string& text) {
  VELVALUE value;
  if (text.size() > MaxValueTextSize || !value.Deserialize(text)) {
    return std::nullopt;
  }
  std::string kept;
  value.Serialize(kept, true);
  return kept;
}

std::string RenderValueText(const std::string& kept, bool internalFormat) {
  VELVALUE value;
  if (!value.Deserialize(kept)) {
    return kept; // kept texts are canonical; nothing else reaches here
  }
  // An undefined float has one fixed text per form, whatever its status, as
  // device stack clients write it.
  if (value.ivt == ivtFloat && std::isnan(value.dblVal)) {
    return internalFormat ? "3.7:nan" : "nan";
  }
  std::string text;
  value.Serialize(text, internalFormat);
  return text;
}

} // namespace DeviceStackd
