// The range classes: bounds of a catalogue row and the scale factor between
// the value side and the bus side.

#include "AvoObjectModel/KnxConverter.h"

#include "Avo/Logging.h"

#include <algorithm> // std::max, std::min
#include <cstdint>
#include <ostream>
#include <sstream>

namespace Avo {
namespace {

// maximum - minimum as a double, without overflow even for the widest 64-bit
// pair: the magnitude is taken in unsigned arithmetic, where it always fits.
// A reversed pair gives a negative width; it is not normalised because a
// reversed pair is how a row maps a rising value onto a falling raw value.
double SignedWidth(std::int64_t minimum, std::int64_t maximum) {
  const auto low = static_cast<std::uint64_t>(minimum);
  const auto high = static_cast<std::uint64_t>(maximum);
  return maximum >= minimum ? static_cast<double>(high - low) : -static_cast<double>(low - high);
}

// The scale factor of the two integer ranges, which differ only in the width
// of their bounds. Left unchanged when a range is empty; the log lines carry
// this function's name, which is the one log readers know.
template <class Bound>
void CalculateScaleFactor(Bound internalMinimum, Bound internalMaximum, Bound externalMinimum,
                          Bound externalMaximum, double& scaleFactor) {
  if (internalMaximum == internalMinimum) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                  << internalMinimum << ", " << internalMaximum << "].");
    return;
  }
  if (externalMaximum == externalMinimum) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                  << externalMinimum << ", " << externalMaximum << "].");
    return;
  }
  const double factor =
      SignedWidth(externalMinimum, externalMaximum) / SignedWidth(internalMinimum, internalMaximum);
  if (factor == 0.0) {
    scaleFactor = 1.0;
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                  << internalMinimum << ", " << internalMaximum
                  << "] or because of invalid external range [" << externalMinimum << ", "
                  << externalMaximum << "].");
    return;
  }
  scaleFactor = factor;
}

template <class Range>
std::string RangeText(const Range& range) {
  std::ostringstream text;
  text << range;
  return text.str();
}

} // namespace

// --- IntegerRange ----------------------------------------------------------

IntegerRange::IntegerRange(std::int32_t internalMinimum, std::int32_t internalMaximum,
                           std::int32_t externalMinimum, std::int32_t externalMaximum)
    : m_internalMinimum(internalMinimum), m_internalMaximum(internalMaximum),
      m_externalMinimum(externalMinimum), m_externalMaximum(externalMaximum) {
  CalculateScaleFactor();
}

void IntegerRange::CalculateScaleFactor() {
  Avo::CalculateScaleFactor(m_internalMinimum, m_internalMaximum, m_externalMinimum,
                            m_externalMaximum, m_scaleFactor);
}

std::string IntegerRange::ToString() const { return RangeText(*this); }

std::ostream& operator<<(std::ostream& os, const IntegerRange& range) {
  return os << "IntegerRange(" << range.GetInternalMinimum() << ", " << range.GetInternalMaximum()
            << ", " << range.GetExternalMinimum() << ", " << range.GetExternalMaximum() << ")";
}

// --- LongIntegerRange ------------------------------------------------------

LongIntegerRange::LongIntegerRange(std::int64_t internalMinimum, std::int64_t internalMaximum,
                                   std::int64_t externalMinimum, std::int64_t externalMaximum)
    : m_internalMinimum(internalMinimum), m_internalMaximum(internalMaximum),
      m_externalMinimum(externalMinimum), m_externalMaximum(externalMaximum) {
  CalculateScaleFactor();
}

void LongIntegerRange::CalculateScaleFactor() {
  Avo::CalculateScaleFactor(m_internalMinimum, m_internalMaximum, m_externalMinimum,
                            m_externalMaximum, m_scaleFactor);
}

std::string LongIntegerRange::ToString() const { return RangeText(*this); }

// Same prefix as IntegerRange: log readers search for it.
std::ostream& operator<<(std::ostream& os, const LongIntegerRange& range) {
  return os << "IntegerRange(" << range.GetInternalMinimum() << ", " << range.GetInternalMaximum()
            << ", " << range.GetExternalMinimum() << ", " << range.GetExternalMaximum() << ")";
}

// --- FloatIntegerRange -----------------------------------------------------

FloatIntegerRange::FloatIntegerRange()
    : FloatIntegerRange(-671088.64, 670760.96, INT32_MIN, INT32_MAX) {}

FloatIntegerRange::FloatIntegerRange(double doubleMinimum, double doubleMaximum,
                                     std::int32_t integerMinimum, std::int32_t integerMaximum)
    : m_doubleMinimum(doubleMinimum), m_doubleMaximum(doubleMaximum),
      m_integerMinimum(integerMinimum), m_integerMaximum(integerMaximum) {
  CalculateScaleFactor();
}

void FloatIntegerRange::CalculateScaleFactor() {
  const double doubleWidth = m_doubleMaximum - m_doubleMinimum;
  if (doubleWidth == 0.0) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleMinimum << ", " << m_doubleMaximum << "].");
    return;
  }
  if (m_integerMaximum == m_integerMinimum) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid integer range ["
                  << m_integerMinimum << ", " << m_integerMaximum << "].");
    return;
  }
  const double factor = SignedWidth(m_integerMinimum, m_integerMaximum) / doubleWidth;
  if (factor == 0.0) {
    m_scaleFactor = 1.0;
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleMinimum << ", " << m_doubleMaximum
                  << "] or because invalid integer range [" << m_integerMinimum << ", "
                  << m_integerMaximum << "].");
    return;
  }
  m_scaleFactor = factor;
}

std::string FloatIntegerRange::ToString() const { return RangeText(*this); }

std::ostream& operator<<(std::ostream& os, const FloatIntegerRange& range) {
  return os << "FloatIntegerRange(" << range.GetDoubleMinimum() << ", " << range.GetDoubleMaximum()
            << ", " << range.GetIntegerMinimum() << ", " << range.GetIntegerMaximum() << ")";
}

// --- FloatRange ------------------------------------------------------------

FloatRange::FloatRange(double doubleMinimum, double doubleMaximum, double externalMinimum,
                       double externalMaximum)
    : m_doubleMinimum(doubleMinimum), m_doubleMaximum(doubleMaximum),
      m_externalMinimum(externalMinimum), m_externalMaximum(externalMaximum) {
  CalculateScaleFactor();
}

// Unlike the integer ranges, this one takes the widths of its pairs whatever
// their order, so its scale factor is never negative.
void FloatRange::CalculateScaleFactor() {
  const double doubleWidth =
      std::max(m_doubleMinimum, m_doubleMaximum) - std::min(m_doubleMinimum, m_doubleMaximum);
  if (doubleWidth == 0.0) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleMinimum << ", " << m_doubleMaximum << "].");
    return;
  }
  const double externalWidth = std::max(m_externalMinimum, m_externalMaximum) -
                               std::min(m_externalMinimum, m_externalMaximum);
  if (externalWidth == 0.0) {
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                  << m_externalMinimum << ", " << m_externalMaximum << "].");
    return;
  }
  const double factor = externalWidth / doubleWidth;
  if (factor == 0.0) {
    m_scaleFactor = 1.0;
    AVO_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleMinimum << ", " << m_doubleMaximum
                  << "] or because invalid external range [" << m_externalMinimum << ", "
                  << m_externalMaximum << "].");
    return;
  }
  m_scaleFactor = factor;
}

std::string FloatRange::ToString() const { return RangeText(*this); }

std::ostream& operator<<(std::ostream& os, const FloatRange& range) {
  return os << "FloatRange(" << range.GetDoubleMinimum() << ", " << range.GetDoubleMaximum() << ", "
            << range.GetExternalMinimum() << ", " << range.GetExternalMaximum() << ")";
}

} // namespace Avo
