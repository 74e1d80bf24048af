#pragma once
// A DPT as the user writes it: "9.001", "9.1", "9" or "9.x".

#include "AvoObjectModel/KnxKelMapping.h" // Avo::PackedDpt

#include <cstdint>
#include <string>

namespace AvoKnx {

/// Main and sub number of a DPT; sub number 0 stands for the whole main
/// number (the main number's general row, written main.x).
struct Dpt {
  std::uint16_t mainNumber = 0;
  std::uint16_t subNumber = 0;

  /// Main number in the upper 16 bits, sub number in the lower 16 bits.
  Avo::PackedDpt Packed() const {
    return (static_cast<Avo::PackedDpt>(mainNumber) << 16) | subNumber;
  }
};

/// Reads "MAIN.SUB", "MAIN.x" or "MAIN" (main 1..65535, sub 0..65535).
/// Throws UsageError.
Dpt ParseDpt(const std::string& text);

/// "9.001" (three-digit sub number at least) or "9.x" for sub number 0.
std::string FormatDpt(const Dpt& dpt);

} // namespace AvoKnx
