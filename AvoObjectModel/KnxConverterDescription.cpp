// Names a converter's class and its range for programs that list the DPT
// catalogue. Kept outside the converter interface, whose virtual slots are
// shared with code built against it.

#include "AvoObjectModel/KnxConverter.h"

#include <charconv> // std::to_chars
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility> // std::declval

namespace Avo {
namespace {

// Bounds in full: the shortest text that reads back to the same number, so
// that 670760.96 is not shown as the 670761 of the ranges' log text.
std::string Bound(double bound) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, bound).ptr);
}
std::string Bound(std::int64_t bound) { return std::to_string(bound); }

template <class Number>
std::string RangeText(const char* rangeClass, Number first, Number second, Number third,
                      Number fourth) {
  return std::string(rangeClass) + "(" + Bound(first) + ", " + Bound(second) + ", " + Bound(third) +
         ", " + Bound(fourth) + ")";
}

std::string RangeText(const IntegerRange& range) {
  return RangeText<std::int64_t>("IntegerRange", range.GetInternalMinimum(),
                                 range.GetInternalMaximum(), range.GetExternalMinimum(),
                                 range.GetExternalMaximum());
}
std::string RangeText(const LongIntegerRange& range) {
  return RangeText<std::int64_t>("LongIntegerRange", range.GetInternalMinimum(),
                                 range.GetInternalMaximum(), range.GetExternalMinimum(),
                                 range.GetExternalMaximum());
}
std::string RangeText(const FloatIntegerRange& range) {
  return "FloatIntegerRange(" + Bound(range.GetDoubleMinimum()) + ", " +
         Bound(range.GetDoubleMaximum()) + ", " + Bound(std::int64_t{range.GetIntegerMinimum()}) +
         ", " + Bound(std::int64_t{range.GetIntegerMaximum()}) + ")";
}
std::string RangeText(const FloatRange& range) {
  return RangeText<double>("FloatRange", range.GetDoubleMinimum(), range.GetDoubleMaximum(),
                           range.GetExternalMinimum(), range.GetExternalMaximum());
}

template <class T, class = void>
struct HoldsRange : std::false_type {};
template <class T>
struct HoldsRange<T, std::void_t<decltype(std::declval<const T&>().GetRange())>> : std::true_type {
};

template <class Converter>
bool DescribeAs(const KnxConverter& converter, const char* className,
                KnxConverterDescription& description) {
  const auto* concrete = dynamic_cast<const Converter*>(&converter);
  if (concrete == nullptr) {
    return false;
  }
  description.className = className;
  if constexpr (HoldsRange<Converter>::value) {
    description.range = RangeText(concrete->GetRange());
  }
  return true;
}

} // namespace

#define AVO_DESCRIBE_AS(Class) DescribeAs<Class>(converter, #Class, description)

KnxConverterDescription DescribeKnxConverter(const KnxConverter& converter) {
  KnxConverterDescription description;
  // The first class that fits names the converter; a class of another
  // library leaves the description empty.
  static_cast<void>(
      AVO_DESCRIBE_AS(KnxConverterDefault) || AVO_DESCRIBE_AS(KnxConverter1Bit) ||
      AVO_DESCRIBE_AS(KnxConverter2Bit) || AVO_DESCRIBE_AS(KnxConverter4Bit) ||
      AVO_DESCRIBE_AS(KnxConverter8BitString) || AVO_DESCRIBE_AS(KnxConverterByte8BitUnsigned) ||
      AVO_DESCRIBE_AS(KnxConverterInteger8BitSigned) || AVO_DESCRIBE_AS(KnxConverterStatus8Bit) ||
      AVO_DESCRIBE_AS(KnxConverterInteger16BitUnsigned) ||
      AVO_DESCRIBE_AS(KnxConverterInteger16BitSigned) ||
      AVO_DESCRIBE_AS(KnxConverterInteger24BitUnsigned) ||
      AVO_DESCRIBE_AS(KnxConverterInteger32BitUnsigned) ||
      AVO_DESCRIBE_AS(KnxConverterInteger32BitSigned) ||
      AVO_DESCRIBE_AS(KnxConverterFloat16BitFloat) ||
      AVO_DESCRIBE_AS(KnxConverterFloat32BitFloat) || AVO_DESCRIBE_AS(KnxConverterDate) ||
      AVO_DESCRIBE_AS(KnxConverterTimeOfDay) || AVO_DESCRIBE_AS(KnxConverterDateTime) ||
      AVO_DESCRIBE_AS(KnxConverterSceneNumber) || AVO_DESCRIBE_AS(KnxConverterSceneControl) ||
      AVO_DESCRIBE_AS(KnxConverterSceneInfo) || AVO_DESCRIBE_AS(KnxConverter14ByteString));
  return description;
}

#undef AVO_DESCRIBE_AS

} // namespace Avo
