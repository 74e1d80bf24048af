#include "ConverterTestSupport.h"

#include <limits>
#include <sstream>

namespace {

using namespace ConverterTest;

const KnxConverterFloat16BitFloat kUpTo1000(FloatRange(-273, 1000, -273, 1000));
const double kMax = std::numeric_limits<float>::max(),
             kNaN = std::numeric_limits<double>::quiet_NaN();
const KnxConverterFloat32BitFloat kSingle(FloatRange(-kMax, kMax, -kMax, kMax));
const VELVALUE kNoValue = WithStatus(VELVALUE(ivtNone), 2); // as a reader leaves a typed record

std::string OutOfRange(double number) {
  std::ostringstream text;
  text << "The internal value of DPT=9.1, f=" << number << " is out of the allowed range.";
  return text.str();
}

// Every 2-byte code: no value for 0x7FFF; otherwise a number within the
// range, or one that is refused and stored all the same.
TEST(FloatConverters, EveryTwoByteCode) {
  for (unsigned code = 0; code <= 0xFFFF; ++code) {
    const Bytes bytes{Bytes::value_type(code >> 8), Bytes::value_type(code)};
    const double number = Raw(bytes).GetAsFloat16();
    const bool inRange = code == 0x7FFF || (number >= -273.0 && number <= 1000.0);
    const std::string error = inRange ? "" : OutOfRange(number);
    Check({{From, kUpTo1000, Dpt(9, 1), code == 0x7FFF ? kNoValue : Dbl(kUntyped, number), bytes,
            error}});
  }
}

// 2 bytes: a float, the DPT or no value suffices; the reader ignores the main
// number and keeps the caller's type. 4 bytes: no range, values beyond
// single precision go out as infinities; a NaN travels as the quiet NaN and
// comes in as no value.
TEST(FloatConverters, AcceptanceRangeAndNoValue) {
  // clang-format off
  Check({{To, kUpTo1000, Dpt(9, 1), Dbl(ivtFloat, 1000.0), {0x36, 0x1A}, ""},
         {To, kUpTo1000, Dpt(9, 1), Dbl(ivtFloat, -300.0), {}, OutOfRange(-300.0)},
         {To, kUpTo1000, Dpt(9, 1), Dbl(ivtFloat, kNaN), {}, OutOfRange(kNaN)},
         {To, kUpTo1000, Dpt(5, 1), Lng(ivtInteger, 1), {}, "Wrong DPT main number (9.x) or vel value type (ivtFloat)!"},
         {To, kUpTo1000, Dpt(5, 1), Dbl(ivtFloat, 21.5), {0x0C, 0x33}, ""},
         {To, kUpTo1000, Dpt(9, 1), Lng(ivtInteger, 0), {0x00, 0x00}, ""},
         {To, kUpTo1000, Dpt(5, 1), Dbl(ivtNone, 5000), {0x7F, 0xFF}, ""},
         {From, kUpTo1000, Dpt(5, 1), Dbl(kUntyped, 21.5), {0x0C, 0x33}, ""},
         {To, kSingle, Dpt(14, 1), Dbl(ivtNone, 0.0), {0x7F, 0xC0, 0x00, 0x00}, ""},
         {To, kSingle, Dpt(14, 1), Dbl(ivtFloat, kNaN), {0x7F, 0xC0, 0x00, 0x00}, ""},
         {To, kSingle, Dpt(3, 1), Dbl(ivtFloat, -1e39), {0xFF, 0x80, 0x00, 0x00}, ""},
         {To, kSingle, Dpt(14, 1), Lng(ivtInteger, 0), {0x00, 0x00, 0x00, 0x00}, ""},
         {To, kSingle, Dpt(9, 1), Lng(ivtInteger, 1), {}, "Wrong DPT main number (14.x) or vel value type (ivtFloat)!"},
         {From, kSingle, Dpt(14, 1), kNoValue, {0x7F, 0xC0, 0x00, 0x00}, ""},
         {From, kSingle, Dpt(14, 1), Dbl(ivtFloat, -std::numeric_limits<double>::infinity()), {0xFF, 0x80, 0x00, 0x00}, ""},
         {From, kSingle, Dpt(9, 1), VELVALUE(), {0x3D, 0xCC, 0xCC, 0xCD}, "Wrong DPT main number (14.x)!"}});
  // clang-format on
}

} // namespace
