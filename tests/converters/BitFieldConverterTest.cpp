#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const KnxConverter1Bit kOneBit;
const KnxConverter2Bit kTwoBit;
const KnxConverter4Bit kFourBit(FloatIntegerRange(-100.0, 100.0, 0, 15));

// Every value of each field goes out and comes back; the 2-bit reader sets
// the type, the 1-bit and 4-bit readers only the data.
TEST(BitFieldConverters, EveryRawValueRoundTrips) {
  for (unsigned raw = 0; raw < 16; ++raw) {
    const Bytes four{Bytes::value_type(raw)}, two{Bytes::value_type(raw % 4)},
        one{Bytes::value_type(raw % 2)};
    // clang-format off
    Check({{To, kFourBit, Dpt(3, 7), U8(ivtByte, raw), four, ""},
           {From, kFourBit, Dpt(3, 7), U8(kUntyped, raw), four, ""},
           {Both, kTwoBit, Dpt(2, 1), U8(ivtByte, raw % 4), two, ""},
           {To, kOneBit, Dpt(1, 1), U8(ivtBool, raw % 2), one, ""},
           {From, kOneBit, Dpt(1, 1), U8(kUntyped, raw % 2), one, ""}});
    // clang-format on
  }
}

// Each wants its main number and, on the way out, its type. Kept: the 1-bit
// converter refuses without a line; the 2-bit setter gets bytes above 3
// unchecked and keeps their low bits.
TEST(BitFieldConverters, RefusalsAndKeptQuirks) {
  const std::string twoBit = "Wrong vel value type (ivtByte) or DPT main number (2.x)!";
  const std::string fourBit = "Wrong vel value type (ivtByte) or DPT main number (3.x)!";
  // clang-format off
  Check({{To, kOneBit, Dpt(2, 1), U8(ivtBool, true), {}, kSilently},
         {To, kOneBit, Dpt(1, 1), U8(ivtByte, 1), {}, kSilently},
         {From, kOneBit, Dpt(2, 1), VELVALUE(kUntyped), {1}, kSilently},
         {To, kTwoBit, Dpt(1, 1), U8(ivtByte, 1), {}, twoBit},
         {To, kTwoBit, Dpt(2, 1), U8(ivtBool, true), {}, twoBit},
         {To, kTwoBit, Dpt(2, 1), U8(ivtByte, 7), {0x03}, ""},
         {From, kTwoBit, Dpt(3, 1), VELVALUE(kUntyped), {1}, "Wrong DPT main number (2.x)!"},
         {To, kFourBit, Dpt(5, 1), U8(ivtByte, 1), {}, fourBit},
         {To, kFourBit, Dpt(3, 7), Dbl(ivtFloat, 1.0), {}, fourBit},
         {To, kFourBit, Dpt(3, 7), U8(ivtByte, 16), {}, "Value out of raw range [0..15]: 16"},
         {From, kFourBit, Dpt(2, 1), VELVALUE(kUntyped), {1}, "Wrong DPT main number (3.x)!"}});
  // clang-format on
}

} // namespace
