#pragma once
/// @file
/// Avo::BoundedInt: an integer confined to a closed range, checked once at
/// construction so that every later use may rely on it.

#include "Avo/Logging.h" // AVO_ASSERT2

namespace Avo {

/// An integer of type T that lies in Minimum..Maximum. The tag keeps bounded
/// integers of different meanings apart even when their ranges agree.
/// Constructing one from a number outside the range is a program bug: it
/// fails AVO_ASSERT2 (Avo::AssertionFailed).
template <class T, T Minimum, T Maximum, class Tag>
class BoundedInt {
  static_assert(Minimum <= Maximum, "empty range");

public:
  static constexpr T kMinimum = Minimum; ///< smallest allowed value
  static constexpr T kMaximum = Maximum; ///< largest allowed value

  /// Implicit, so that a literal stands for a bounded number where one is
  /// expected (GetCoChannelObjModelId(1, 1)); the range is checked all the same.
  BoundedInt(T value) // NOLINT(google-explicit-constructor)
      : m_value(value) {
    AVO_ASSERT2(value >= Minimum && value <= Maximum);
  }

  /// The number.
  T Get() const { return m_value; }
  /// Reads as the plain number (comparisons and arithmetic included).
  operator T() const { return m_value; } // NOLINT(google-explicit-constructor)

private:
  T m_value;
};

} // namespace Avo
