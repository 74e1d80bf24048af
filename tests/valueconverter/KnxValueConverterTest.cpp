#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <utility> // std::as_const

namespace {

using namespace AvoTest;
using Avo::KnxValueConverter;

const KNXDPT kNone(0, 0, 0);

/// A converter of the user's own whose Clone fails: its row has no converter.
struct NullClone final : Avo::KnxConverter {
  bool ToKnxValue(const KNXDPT& /*dpt*/, const VELVALUE& /*value*/,
                  KnxStack::GroupValue& /*group*/) const override {
    return true;
  }
  bool FromKnxValue(const KNXDPT& /*dpt*/, const KnxStack::GroupValue& /*group*/,
                    VELVALUE& /*value*/) const override {
    return true;
  }
  Avo::KnxConverter* Clone() const override { return nullptr; }
};

std::vector<LogLine> Errors(const std::vector<std::string>& texts, const char* function) {
  std::vector<LogLine> lines;
  lines.reserve(texts.size());
  for (const std::string& text : texts) {
    lines.push_back(Line(log4cplus::ERROR_LOG_LEVEL, text, function));
  }
  return lines;
}

// The catalogue registers 20.x, 20.102 and 20.103, and 236.x before 232.x. A
// converter filled by Init finds its rows through an index (up to main number
// 255); one given rows afterwards searches them: here the catalogue's with
// 30.005 (no main.x row) and 1.007 added. Both give the same row and line.
TEST(DptValueMap, LookupFindsExactRowThenMainRowThenEmptyEntry) {
  KnxValueConverter added = Initialised();
  added.AddDptValueMapEntry(30, 5, 8, ivtByte, VelDP::vstNone, Avo::KnxConverterDefault());
  added.AddDptValueMapEntry(1, 7, 1, ivtByte, VelDP::vstNone, Avo::KnxConverterDefault());
  // "0.0": the shared empty entry, after the line
  const struct {
    KNXDPT requested;
    const char* found{};
    const char* line{};
  } cases[] = {
      {{16, 9, 1}, "9.1", ""},      {{0, 9, 1}, "9.1", ""},      {{16, 9, 29}, "9.0", ""},
      {{16, 9, 600}, "9.0", ""},    {{8, 20, 105}, "20.0", ""},  {{8, 20, 103}, "20.103", ""},
      {{8, 232, 7}, "232.0", ""},   {{8, 238, 0}, "238.0", ""},  {{8, 30, 5}, "30.5", ""},
      {{8, 30, 7}, "0.0", "30.x"},  {{8, 30, 0}, "0.0", "30.0"}, {{8, 99, 1}, "0.0", "99.1"},
      {{8, 300, 1}, "0.0", "300.1"}};
  for (const auto& c : cases) {
    for (const KnxValueConverter* converter : {&std::as_const(added), &Initialised()}) {
      if (converter != &added && c.requested.mainNumber == 30) {
        continue;
      }
      ScopedLogCapture capture;
      const Avo::DptValueEntry& row = converter->GetEntry(c.requested);
      EXPECT_EQ(row.GetDpt().ToString(), c.found) << c.requested;
      EXPECT_EQ(&row == &Avo::DptValueMap::GetEmptyEntry(), *c.line != '\0') << c.requested;
      const std::vector<std::string> errors(*c.line ? 1 : 0,
                                            std::string("No Entry found for DPT = ") + c.line);
      EXPECT_EQ(capture.Lines(), Errors(errors, "GetEntry"));
    }
  }
  // A value in the short form reaches the converter rebuilt at its true size:
  // the default converter then takes the low bit of a 1-bit value only.
  KNXDPT shortForm(6, 1, 7);
  VELVALUE bit;
  EXPECT_TRUE(added.FromKnxValue(shortForm, Group({0xFF}, 6), bit) && bit.byVal == 1)
      << bit.ToString();
  const Avo::DptValueEntry& empty =
      Avo::DptValueMap::GetEmptyEntry(); // callers know it by its type
  EXPECT_TRUE(empty.GetValueType() == ivtEmpty &&
              dynamic_cast<const Avo::KnxConverterDefault*>(empty.GetConverter()));
}

// First registration wins; copies clone again (the suite runs under
// LeakSanitizer for the rest). A moved-from converter is left without rows and
// without the index of the rows it gave away; the one moved to keeps them.
TEST(DptValueMap, FirstRegistrationWinsRowsOwnTheirClonesMovesTakeTheIndex) {
  KnxValueConverter converter, assigned, source = Initialised();
  EXPECT_TRUE(converter.AddDptValueMapEntry(4, 1, 8, ivtString, VelDP::vstAsciiString,
                                            Avo::KnxConverter1Bit()));
  EXPECT_TRUE(converter.AddDptValueMapEntry(4, 1, 16, ivtByte, VelDP::vstLatin1String,
                                            Avo::KnxConverter2Bit()));
  const Avo::DptValueEntry& row = converter.GetEntry({8, 4, 1});
  Avo::DptValueEntry copy(Avo::DptValueMap::GetEmptyEntry());
  copy = row;
  assigned = converter;
  for (const Avo::DptValueEntry* e : {&row, &std::as_const(copy), &assigned.GetEntry({8, 4, 1})}) {
    EXPECT_TRUE(e->GetValueSubType() == VelDP::vstAsciiString &&
                dynamic_cast<const Avo::KnxConverter1Bit*>(e->GetConverter()));
    EXPECT_TRUE(e == &row || e->GetConverter() != row.GetConverter());
  }
  KnxValueConverter target(std::move(source));
  assigned = std::move(target);
  EXPECT_TRUE(assigned.GetEntry({16, 9, 1}).GetDpt() == KNXDPT(16, 9, 1));
  // NOLINTNEXTLINE(bugprone-use-after-move): the moved-from state is under test
  for (const KnxValueConverter* empty : {&source, &target}) {
    ScopedLogCapture capture;
    EXPECT_TRUE(empty->GetDptValueMap().GetSize() == 0 &&
                &empty->GetEntry({16, 9, 1}) == &Avo::DptValueMap::GetEmptyEntry());
    EXPECT_EQ(capture.Lines(), Errors({"No Entry found for DPT = 9.1"}, "GetEntry"));
  }
}

/// Converts `value` for `dpt` through `converter`: the result, the DPT as
/// completed, the ERROR lines; the group value is written only by a
/// conversion that succeeds without a line.
void ExpectTo(KNXDPT dpt, const VELVALUE& value, bool result, const KNXDPT& completed,
              const std::vector<std::string>& errors,
              const KnxValueConverter& converter = Initialised()) {
  SCOPED_TRACE(dpt.ToString() + " " + value.ToString());
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  KnxStack::GroupValue gv = Group({0xAA}, 8);
  EXPECT_EQ(converter.ToKnxValue(dpt, value, gv), result);
  EXPECT_EQ(dpt, completed);
  EXPECT_EQ(capture.Lines(), Errors(errors, "ToKnxValue"));
  EXPECT_EQ(gv != Group({0xAA}, 8), result && errors.empty());
}

/// Reads `gv` for `dpt` through `converter`: false, and the ERROR lines.
void ExpectFromRefused(KNXDPT dpt, const KnxStack::GroupValue& gv,
                       const std::vector<std::string>& errors,
                       const KnxValueConverter& converter = Initialised()) {
  SCOPED_TRACE(dpt.ToString() + " " + gv.GetRawData().ToString());
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  VELVALUE value;
  EXPECT_FALSE(converter.FromKnxValue(dpt, gv, value));
  EXPECT_EQ(capture.Lines(), Errors(errors, "FromKnxValue"));
}

// A DPT without main number is chosen by the value's type, then by the bit
// size. Kept: a float asked for at 32 bits gets 14.000 at 16 bits, a string
// at 112 bits 16.000 at 8 bits. A value without type skips the type check,
// which is one-way: given 13 accepts 11, given 11 accepts neither 13 nor 12.
TEST(KnxValueConverter, ToKnxValueCompletesTheDptAndChecksTheType) {
  // clang-format off
  ExpectTo(kNone, U8(ivtByte, 7), true, {8, 5, 0}, {});
  ExpectTo({32, 0, 0}, Dbl(ivtFloat, 1.5), true, {16, 14, 0}, {});
  ExpectTo({112, 0, 0}, Str(ivtString, "ab"), true, {8, 16, 0}, {});
  ExpectTo({8, 0, 0}, Dbl(ivtFloat, 1), false, {8, 5, 1}, {"Invalid value type found for DPT = 5.1 val.ivt=3"});
  ExpectTo({24, 0, 0}, U16(ivtWord, 7), false, {24, 10, 1}, {"Invalid value type found for DPT = 10.1 val.ivt=7"});
  ExpectTo({16, 9, 1}, VELVALUE(ivtNone), true, {16, 9, 1}, {});
  // clang-format on
  EXPECT_TRUE(KnxValueConverter::AreValueTypesCompatible(ivtDateTime, ivtDate) &&
              !KnxValueConverter::AreValueTypesCompatible(ivtDate, ivtDateTime) &&
              !KnxValueConverter::AreValueTypesCompatible(ivtDate, ivtTime));
}

// A refusal of the row's converter, an exception of the group value, or a row
// without converter: one more line, and false.
TEST(KnxValueConverter, ConverterFailuresBecomeOneLineAndFalse) {
  KnxValueConverter withoutConverter;
  withoutConverter.AddDptValueMapEntry(1, 0, 1, ivtBool, VelDP::vstNone, NullClone());
  const VELVALUE month13 = Tm(ivtDate, VELTIME{2000, 13, 1, 0, 0, 0, 0, 0, 0, true, true});
  // clang-format off
  ExpectTo({8, 5, 6}, U8(ivtByte, 255), false, {8, 5, 6}, {"Value out of raw range [0..254] for DPT 5.006: 255",
           "Convert to KNX value failed for DPT = 5.6 val = " + U8(ivtByte, 255).ToString()});
  ExpectFromRefused({8, 5, 6}, Group({0xFF}, 8), {"Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255",
                                                   "Convert from KNX value failed for DPT = 5.6 GroupValue = FF"});
  ExpectTo({24, 11, 1}, month13, false, {24, 11, 1},
           {"Exception caught during conversion of VELVALUE to GroupValue: SetAsDate: month 13 is outside 1..12"});
  ExpectFromRefused({112, 16, 1}, Group({'A'}, 112), {"Exception caught during conversion of GroupValue: GetAsString14: the "
                    "encoding needs 14 byte(s), but the value holds 1(DPT: 16.1, Value: " + WithStatus(VELVALUE(ivtString), 0).ToString() + ")"});
  ExpectTo({1, 1, 1}, U8(ivtBool, 1), false, {1, 1, 1}, {"NULL pointer as KnxConverter for DPT = 1.1"}, withoutConverter);
  ExpectFromRefused({1, 1, 1}, Group({1}, 1), {"NULL pointer as KnxConverter for DPT = 1.1"}, withoutConverter);
  // clang-format on
}

// The text form picks the default DPT: by the value's type, then by the
// size, whose low 8 bits only count; reading, by the group value's size.
TEST(AvoKnxValueConverter, TextFormChoosesTheDefaultDpt) {
  Avo::AvoKnxValueConverter converter;
  converter.Init();
  std::string text = "unchanged", serialised, character;
  WithStatus(VELVALUE(ivtFloat), 0).Serialize(serialised, false);
  Str(ivtString, "A").Serialize(character, true);
  KNXDPT dpt = kNone;
  KnxStack::GroupValue gv;
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  EXPECT_FALSE(converter.FromKnxValue(Group({0x01}, 6), text, false) || text != "unchanged");
  EXPECT_EQ(capture.Lines(),
            std::vector{Line(log4cplus::INFO_LOG_LEVEL, "Could not find DPT for bit size 6",
                             "FromKnxValue")});
  EXPECT_TRUE(converter.FromKnxValue(Group({0x00, 0x00}, 16), text, false) &&
              text == serialised);                                                 // 9.000
  EXPECT_TRUE(converter.ToKnxValue(character, 264, gv) && gv == Group({0x41}, 8)); // 8 bits: 4.001
  EXPECT_TRUE(converter.ToKnxValue(dpt, serialised, gv) && gv == Group({0x00, 0x00}, 16) &&
              dpt == KNXDPT(16, 9, 0));
}

} // namespace
