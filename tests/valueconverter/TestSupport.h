#pragma once
// Helpers of the value converter tests: group values, and one initialised converter shared by the
// tests that only read it.
#include "AvoObjectModel/KnxValueConverter.h"
#include "VelValueSamples.h"

#include <cstdint>
#include <string>
#include <vector>

namespace AvoTest {

inline KnxStack::GroupValue Group(const std::vector<std::uint8_t>& b, unsigned bits) {
  return {KnxStack::BinaryData(b), bits};
}

/// Initialised twice: Init clears the map first and rebuilds the same rows.
inline const Avo::KnxValueConverter& Initialised() {
  static const Avo::KnxValueConverter converter = [] {
    Avo::KnxValueConverter c;
    c.Init();
    c.Init();
    return c;
  }();
  return converter;
}

} // namespace AvoTest
