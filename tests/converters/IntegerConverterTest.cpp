#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;
using Avo::IntegerRange;
using Avo::LongIntegerRange;

const Avo::KnxConverterInteger16BitUnsigned kWord(IntegerRange(0, 65535, 0, 65535));
const Avo::KnxConverterInteger16BitSigned kShort(IntegerRange(-32768, 32767, -32768, 32767));
const Avo::KnxConverterInteger24BitUnsigned kThree(LongIntegerRange(0, 16777215, 0, 16777215));
const Avo::KnxConverterInteger32BitUnsigned kDWord(LongIntegerRange(0, 4294967295, 0, 4294967295));
const Avo::KnxConverterInteger32BitUnsigned kTo1000(LongIntegerRange(0, 1000, 0, 1000));
const Avo::KnxConverterInteger32BitSigned kLong(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN,
                                                             INT32_MAX));
const Avo::KnxConverterInteger32BitSigned kPercent(IntegerRange(0, 100, 0, 255));

// Each row goes out as the bytes and comes back as the value.
TEST(IntegerConverters, BoundaryValuesRoundTrip) {
  // clang-format off
  const std::vector<ToRow> rows = {
      {kWord, Dpt(7, 1), Word(65535), "", {0xFF, 0xFF}},
      {kShort, Dpt(8, 1), Integer(-32768), "", {0x80, 0x00}},
      {kThree, Dpt(232, 600), DWord(0xFF8000), "", {0xFF, 0x80, 0x00}},
      {kDWord, Dpt(12, 1), DWord(4294967295), "", {0xFF, 0xFF, 0xFF, 0xFF}},
      {kLong, Dpt(13, 1), Integer(INT32_MIN), "", {0x80, 0x00, 0x00, 0x00}},
  };
  // clang-format on
  Check(rows);
  for (const ToRow& row : rows) { // the 3-byte reader keeps the caller's type
    Check(std::vector<FromRow>{
        {row.converter, row.dpt, row.bytes, "", row.value, &row.converter == &kThree}});
  }
}

TEST(IntegerConverters, AcceptanceAndRangeRules) {
  const std::string dword = "The internal value of DPT=12.1, ivt=";
  // clang-format off
  Check(std::vector<ToRow>{
      {kWord, Dpt(9, 1), Word(0x1234), "", {0x12, 0x34}}, // either the DPT or the type suffices
      {kWord, Dpt(7, 1), Integer(0x54321), "", {0x43, 0x21}},
      {kWord, Dpt(9, 1), Integer(1), "Wrong DPT main number (7.x) or vel value type (ivtWord)!"},
      {kShort, Dpt(8, 1), Integer(0x12345), "", {0x23, 0x45}},
      {kShort, Dpt(7, 1), Word(1), "Wrong DPT main number (8.x) or vel value type (ivtInteger)!"},
      {kThree, Dpt(5, 1), DWord(0x01020304), "", {0x02, 0x03, 0x04}}, // nothing is checked
      {kDWord, Dpt(5, 1), DWord(7), "", {0, 0, 0, 7}},
      {kDWord, Dpt(12, 1), Integer(1), "Wrong vel value type (ivtDWord)!"},
      {kTo1000, Dpt(12, 1), DWord(1001), dword + "8 is out of range: 1001!"},
      {kLong, Dpt(12, 1), DWord(1), "Wrong DPT main number (13.x) or vel value type (ivtInteger)!"},
  });
  Check(std::vector<FromRow>{
      {kWord, Dpt(8, 1), {0, 1}, "Wrong DPT main number (7.x)!"},
      {kShort, Dpt(7, 1), {0, 1}, "Wrong DPT main number (8.x)!"},
      {kThree, Dpt(5, 1), {0x12, 0x34, 0x56, 0x78}, "", DWord(0x12345678), true}, // up to 4 bytes
      {kDWord, Dpt(5, 1), {0, 0, 0, 7}, "", DWord(7)},
      {kTo1000, Dpt(12, 1), {0, 0, 0x03, 0xE9}, dword + "3 is out of range: 1001!", Float(0), true},
      {kLong, Dpt(12, 1), {0, 0, 0, 1}, "Wrong DPT main number (13.x)!"},
  });
  // clang-format on
}

// Scaling applies on the way out only, rounding half away from zero.
TEST(IntegerConverters, SignedLongScalesOnTheWayOutOnly) {
  const Avo::KnxConverterInteger32BitSigned falling(IntegerRange(0, 10, 0, -25));
  const Avo::KnxConverterInteger32BitSigned fine(IntegerRange(0, 100, 0, 249));
  const Avo::KnxConverterInteger32BitSigned flat(IntegerRange(INT32_MIN, INT32_MAX, 7, 7));
  // clang-format off
  Check(std::vector<ToRow>{
      {kPercent, Dpt(13, 1), Integer(50), "", {0, 0, 0, 128}},
      {kPercent, Dpt(13, 1), Integer(100), "", {0, 0, 0, 255}},
      {falling, Dpt(13, 1), Integer(1), "", {0xFF, 0xFF, 0xFF, 0xFD}},
      {fine, Dpt(13, 1), Integer(1), "", {0, 0, 0, 2}},
      {flat, Dpt(13, 1), Integer(INT32_MAX), "", {0x7F, 0xFF, 0xFF, 0xFF}}, // factor 1.0 kept; saturates
      {kPercent, Dpt(13, 1), Integer(-1), "The internal value of DPT=13.1, ivt=4 is out of range: -1!"},
  });
  Check(std::vector<FromRow>{
      {kPercent, Dpt(13, 1), {0, 0, 0, 100}, "", Integer(100)},
      {kPercent, Dpt(13, 1), {0, 0, 0, 128}, "The group value of DPT=13.1 is out of range: 128!"},
  });
  // clang-format on
}

} // namespace
