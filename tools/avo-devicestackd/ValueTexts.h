#pragma once
// Value texts as the service keeps them and as a connection gets them.

#include <cstddef>
#include <optional>
#include <string>

namespace DeviceStackd {

/// The longest value text accepted: keeps every value answer far below the
/// frame size limit (KNX values are a few bytes long).
constexpr std::size_t MaxValueTextSize = 64U * 1024U;

/// The form in which a value is kept: the internal form of the value the text
/// reads as (lossless, status always written). Nothing when the text is not in
/// the value text form or longer than MaxValueTextSize.
std::optional<std::string> CanonicalValueText(const std::string& text);

/// A kept value text in the form a connection asked for: the internal form
/// ("3.7:nan" for an undefined float) or the default form ("nan" for it).
std::string RenderValueText(const std::string& kept, bool internalFormat);

} // namespace DeviceStackd
