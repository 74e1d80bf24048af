#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const KnxConverterInteger16BitUnsigned kWord(IntegerRange(0, 65535, 0, 65535));
const KnxConverterInteger16BitSigned kShort(IntegerRange(-32768, 32767, -32768, 32767));
const KnxConverterInteger24BitUnsigned kThree(LongIntegerRange(0, 16777215, 0, 16777215));
const KnxConverterInteger32BitUnsigned kTo1000(LongIntegerRange(0, 1000, 0, 1000));
const KnxConverterInteger32BitSigned kPercent(IntegerRange(0, 100, 0, 255));

// The 16-bit converters accept either their DPT or their type and truncate;
// the 3-byte one checks nothing and keeps the caller's type; the unsigned
// 32-bit one wants its type, on any DPT, within its range.
TEST(IntegerConverters, AcceptanceAndRangeRules) {
  // clang-format off
  Check({{Both, kWord, Dpt(7, 1), U16(ivtWord, 0xFFFE), {0xFF, 0xFE}, ""},
         {To, kWord, Dpt(9, 1), U16(ivtWord, 0x1234), {0x12, 0x34}, ""},
         {To, kWord, Dpt(7, 1), Lng(ivtInteger, 0x54321), {0x43, 0x21}, ""},
         {To, kWord, Dpt(9, 1), Lng(ivtInteger, 1), {}, "Wrong DPT main number (7.x) or vel value type (ivtWord)!"},
         {From, kWord, Dpt(8, 1), VELVALUE(), {0, 1}, "Wrong DPT main number (7.x)!"},
         {To, kShort, Dpt(8, 1), Lng(ivtInteger, 0x12345), {0x23, 0x45}, ""},
         {To, kShort, Dpt(7, 1), U16(ivtWord, 1), {}, "Wrong DPT main number (8.x) or vel value type (ivtInteger)!"},
         {From, kShort, Dpt(8, 1), Lng(ivtInteger, -2), {0xFF, 0xFE}, ""},
         {To, kThree, Dpt(5, 1), U32(ivtDWord, 0x01020304), {0x02, 0x03, 0x04}, ""},
         {From, kThree, Dpt(5, 1), U32(kUntyped, 0xFF8000), {0xFF, 0x80, 0x00}, ""},
         {Both, kTo1000, Dpt(5, 1), U32(ivtDWord, 1000), {0, 0, 0x03, 0xE8}, ""},
         {To, kTo1000, Dpt(12, 1), Lng(ivtInteger, 1), {}, "Wrong vel value type (ivtDWord)!"},
         {To, kTo1000, Dpt(12, 1), U32(ivtDWord, 1001), {}, "The internal value of DPT=12.1, ivt=8 is out of range: 1001!"},
         {From, kTo1000, Dpt(12, 1), VELVALUE(), {0, 0, 0x03, 0xE9}, "The internal value of DPT=12.1, ivt=4711 is out of range: 1001!"}});
  // clang-format on
}

// Scaling applies on the way out only, rounding half away from zero.
TEST(IntegerConverters, SignedLongScalesOnTheWayOutOnly) {
  const KnxConverterInteger32BitSigned falling(IntegerRange(0, 10, 0, -25)),
      fine(IntegerRange(0, 100, 0, 249));
  // clang-format off
  Check({{To, kPercent, Dpt(13, 1), Lng(ivtInteger, 50), {0, 0, 0, 128}, ""},
         {To, kPercent, Dpt(5, 1), Lng(ivtInteger, 100), {0, 0, 0, 255}, ""},
         {To, falling, Dpt(13, 1), Lng(ivtInteger, 1), {0xFF, 0xFF, 0xFF, 0xFD}, ""},
         {To, fine, Dpt(13, 1), Lng(ivtInteger, 1), {0, 0, 0, 2}, ""},
         {To, kPercent, Dpt(13, 1), Lng(ivtInteger, -1), {}, "The internal value of DPT=13.1, ivt=4 is out of range: -1!"},
         {To, kPercent, Dpt(12, 1), U32(ivtDWord, 1), {}, "Wrong DPT main number (13.x) or vel value type (ivtInteger)!"},
         {From, kPercent, Dpt(13, 1), Lng(ivtInteger, 100), {0, 0, 0, 100}, ""},
         {From, kPercent, Dpt(13, 1), VELVALUE(), {0, 0, 0, 128}, "The group value of DPT=13.1 is out of range: 128!"},
         {From, kPercent, Dpt(12, 1), VELVALUE(), {0, 0, 0, 1}, "Wrong DPT main number (13.x)!"}});
  // clang-format on
}

} // namespace
