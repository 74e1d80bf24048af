#include "Dpt.h"

#include "Arguments.h" // UsageError

#include <charconv>
#include <cstdio> // std::snprintf

namespace AvoKnx {
namespace {

bool ReadNumber(const char* first, const char* last, std::uint16_t& number) {
  if (first == last || *first == '-' || *first == '+') {
    return false;
  }
  const auto result = std::from_chars(first, last, number);
  return result.ec == std::errc() && result.ptr == last;
}

} // namespace

Dpt ParseDpt(const std::string& text) {
  const auto dot = text.find('.');
  const char* begin = text.data();
  const char* mainEnd = begin + (dot == std::string::npos ? text.size() : dot);
  Dpt dpt;
  bool valid = ReadNumber(begin, mainEnd, dpt.mainNumber) && dpt.mainNumber != 0;
  if (valid && dot != std::string::npos) {
    const std::string sub = text.substr(dot + 1);
    valid =
        sub == "x" || sub == "X" || ReadNumber(sub.data(), sub.data() + sub.size(), dpt.subNumber);
  }
  if (!valid) {
    throw UsageError(
        "malformed DPT '" + text +
        "': expected MAIN.SUB, MAIN.x or MAIN with main 1..65535 and sub 0..65535 (e.g. 9.001)");
  }
  return dpt;
}

std::string FormatDpt(const Dpt& dpt) {
  char text[16];
  if (dpt.subNumber == 0) {
    static_cast<void>(
        std::snprintf(text, sizeof text, "%u.x", static_cast<unsigned>(dpt.mainNumber)));
  } else {
    static_cast<void>(std::snprintf(text, sizeof text, "%u.%03u",
                                    static_cast<unsigned>(dpt.mainNumber),
                                    static_cast<unsigned>(dpt.subNumber)));
  }
  return text;
}

} // namespace AvoKnx
