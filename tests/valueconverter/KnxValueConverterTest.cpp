#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace AvoTest;
using Avo::KnxValueConverter;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr auto kError = log4cplus::ERROR_LOG_LEVEL;
constexpr auto kInfo = log4cplus::INFO_LOG_LEVEL;
const KNXDPT kNone(0, 0, 0);

TEST(KnxValueConverter, DefaultDptByValueTypeKeepsItsTwoOddRows) {
  const struct {
    VelValueType type;
    std::uint8_t requestedBits;
    KNXDPT expected; // kNone: no default, the DPT stays as requested
  } cases[] = {{ivtFloat, 32, {16, 14, 0}}, {ivtString, 112, {8, 16, 0}}, {ivtFloat, 8, {8, 5, 1}},
               {ivtFloat, 24, kNone},       {ivtInteger, 16, {16, 8, 0}}, {ivtStepBytes, 99, {4, 3, 7}},
               {ivtTimeLag, 0, {32, 13, 100}}, {ivtWord, 16, kNone},      {ivtEmpty, 8, kNone}};
  for (const auto& c : cases) {
    KNXDPT dpt(c.requestedBits, 0, 0);
    EXPECT_EQ(KnxValueConverter::GetDefaultMappingDptForValueType(dpt, VELVALUE(c.type)), c.expected != kNone);
    EXPECT_EQ(dpt, c.expected != kNone ? c.expected : KNXDPT(c.requestedBits, 0, 0)) << c.type;
  }
}

TEST(KnxValueConverter, ValueTypeCompatibilityIsOneWay) {
  const struct {
    VelValueType given, expected;
    bool compatible;
  } cases[] = {{ivtDateTime, ivtDate, true},    {ivtDate, ivtDateTime, false}, {ivtDate, ivtTime, false},
               {ivtUtcDateTime, ivtTimeSpan, true}, {ivtDayTime, ivtTime, false}, {ivtPercent, ivtFloat, true},
               {ivtFloat, ivtInteger, false},   {ivtQWord, ivtWord, true},     {ivtNone, ivtFloat, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(KnxValueConverter::AreValueTypesCompatible(c.given, c.expected), c.compatible) << c.given;
  }
}

TEST(KnxValueConverter, ToKnxValueCompletesChecksAndAccepts) {
  const std::vector<LogLine> unknown = {Line(kError, "No Entry found for DPT = 99.1", "GetEntry"),
                                        Line(kError, "No Entry found for DPT = 99.1", "ToKnxValue"),
                                        Line(kError, "Assume validity and accept value!", "ToKnxValue")};
  const struct {
    KNXDPT dpt;
    VELVALUE value;
    bool result;
    KNXDPT completed;
    std::vector<LogLine> lines;
  } cases[] = {
      {kNone, Byte(7), true, {8, 5, 0}, {}},
      {{24, 0, 0}, Word(7), false, {24, 10, 1}, {Line(kError, "Invalid value type found for DPT = 10.1 val.ivt=7", "ToKnxValue")}},
      {kNone, Word(7), false, kNone, {Line(kInfo, "Could not find DPT for bit size 0", "ToKnxValue")}},
      {{16, 99, 1}, Float(1), true, {16, 99, 1}, unknown},
      {{16, 9, 1}, Text("x"), false, {16, 9, 1}, {Line(kError, "Invalid value type found for DPT = 9.1 val.ivt=10", "ToKnxValue")}},
      {{16, 9, 1}, VELVALUE(ivtNone), true, {16, 9, 1}, {}}, // an untyped value skips the type check
      {{32, 0, 0}, Float(1.5), true, {16, 14, 0}, {}},
      {{112, 0, 0}, Text("ab"), true, {8, 16, 0}, {}},
  };
  const KnxStack::GroupValue untouched = Group({0xAA}, 8);
  for (const auto& c : cases) {
    ScopedLogCapture capture(kInfo);
    KNXDPT dpt = c.dpt;
    KnxStack::GroupValue gv = untouched;
    EXPECT_EQ(Initialised().ToKnxValue(dpt, c.value, gv), c.result) << c.dpt;
    EXPECT_EQ(dpt, c.completed);
    EXPECT_THAT(capture.Lines(), ElementsAreArray(c.lines)) << c.dpt;
    EXPECT_EQ(gv != untouched, c.result && c.lines.empty()) << c.dpt;
  }
}

TEST(KnxValueConverter, FromKnxValueCompletesAndChecksTheBitSize) {
  const KnxStack::GroupValue shortForm = Group({0x01}, 6), oneByte = Group({0x01}, 8);
  const std::string unexpected = "Failed to convert a GroupValue for DPT ";
  const struct {
    KNXDPT dpt;
    KnxStack::GroupValue gv;
    bool result;
    KNXDPT completed;
    std::vector<LogLine> lines;
    VelValueType type; // of the value afterwards
  } cases[] = {
      {kNone, shortForm, false, kNone, {Line(kError, "Convert from KNX value failed. Missing DPT. GroupValue = 01", "FromKnxValue")}, ivtEmpty},
      {{6, 0, 0}, shortForm, false, {6, 0, 0}, {Line(kInfo, "Could not find DPT for bit size 6", "FromKnxValue")}, ivtEmpty},
      {{1, 1, 1}, shortForm, true, {1, 1, 1}, {}, ivtBool},
      {{1, 1, 1}, oneByte, false, {1, 1, 1}, {Line(kError, unexpected + "1.1 because of unexpected bit size: 8, expected: 1", "FromKnxValue")}, ivtBool},
      {{16, 9, 1}, Group({0, 0, 0, 0}, 32), false, {16, 9, 1},
       {Line(kError, unexpected + "9.1 because of unexpected bit size: 32, expected: 16", "FromKnxValue")}, ivtFloat},
      {kNone, Group({0x0C, 0x33}, 16), true, {16, 9, 0}, {}, ivtFloat},
      {{8, 99, 1}, oneByte, true, {8, 99, 1},
       {Line(kError, "No Entry found for DPT = 99.1", "GetEntry"), Line(kError, "No Entry found for DPT = 99.1", "FromKnxValue"),
        Line(kError, "Assume validity and accept value!", "FromKnxValue")}, ivtEmpty},
  };
  for (const auto& c : cases) {
    ScopedLogCapture capture(kInfo);
    KNXDPT dpt = c.dpt;
    VELVALUE value;
    EXPECT_EQ(Initialised().FromKnxValue(dpt, c.gv, value), c.result) << c.dpt;
    EXPECT_EQ(dpt, c.completed);
    EXPECT_THAT(capture.Lines(), ElementsAreArray(c.lines)) << c.dpt;
    EXPECT_EQ(value.ivt, c.type) << c.dpt;
  }
}

TEST(KnxValueConverter, ShortFormReachesTheConverterWithItsTrueSize) {
  KnxValueConverter converter;
  converter.AddDptValueMapEntry(3, 0, 4, ivtByte, VelDP::vstNone, TestConverter(3));
  for (const auto& [size, seen] : {std::pair<unsigned, const char*>{6, "4:0B"}, {4, "4:0B"}, {2, "2:0B"}}) {
    KNXDPT dpt(4, 3, 7);
    VELVALUE value;
    EXPECT_TRUE(converter.FromKnxValue(dpt, Group({0x0B}, size), value));
    EXPECT_EQ(value.strVal, seen);
  }
}

TEST(KnxValueConverter, ConverterFailuresBecomeOneLineAndFalse) {
  using Mode = TestConverter::Mode;
  VELVALUE typed;
  typed.ivt = ivtBool;
  const std::string null = "NULL pointer as KnxConverter for DPT = 1.1";
  const struct {
    Mode mode;
    std::string toLine, fromLine;
  } cases[] = {
      {Mode::Refuse, "Convert to KNX value failed for DPT = 1.1 val = " + Bool(true).ToString(),
       "Convert from KNX value failed for DPT = 1.1 GroupValue = 01"},
      {Mode::Throw, "Exception caught during conversion of VELVALUE to GroupValue: bad bits",
       "Exception caught during conversion of GroupValue: bad bits(DPT: 1.1, Value: " + typed.ToString() + ")"},
      {Mode::CloneToNull, null, null}};
  for (const auto& c : cases) {
    KnxValueConverter converter;
    converter.AddDptValueMapEntry(1, 0, 1, ivtBool, VelDP::vstNone, TestConverter(1, c.mode));
    ScopedLogCapture capture;
    KNXDPT to(1, 1, 1), from(1, 1, 1);
    KnxStack::GroupValue out;
    VELVALUE value;
    EXPECT_FALSE(converter.ToKnxValue(to, Bool(true), out) || converter.FromKnxValue(from, Group({0x01}, 1), value));
    EXPECT_THAT(capture.Lines(), ElementsAre(Line(kError, c.toLine, "ToKnxValue"), Line(kError, c.fromLine, "FromKnxValue")));
  }
}

TEST(AvoKnxValueConverter, TextFormChoosesTheDefaultDpt) {
  Avo::AvoKnxValueConverter converter;
  converter.Init();
  VELVALUE decoded; // as FromKnxValue fills it: a default record given a type
  decoded.ivt = ivtFloat;
  decoded.dblVal = 21.5;
  std::string text = "unchanged", serialised, character;
  decoded.Serialize(serialised, false);
  EXPECT_TRUE(converter.FromKnxValue(Group({0x0C, 0x33}, 16), text, false)); // 9.000
  EXPECT_EQ(text, serialised);
  text = "unchanged";
  ScopedLogCapture capture(kInfo);
  EXPECT_FALSE(converter.FromKnxValue(Group({0x01}, 6), text, false));
  EXPECT_EQ(text, "unchanged");
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(kInfo, "Could not find DPT for bit size 6", "FromKnxValue")));

  Text("A").Serialize(character, true);
  for (const unsigned long bits : {8UL, 264UL}) { // only the low 8 bits count: 4.001
    KnxStack::GroupValue gv;
    EXPECT_TRUE(converter.ToKnxValue(character, bits, gv));
    EXPECT_EQ(gv, Group({0x41}, 8));
  }
  KNXDPT dpt = kNone;
  KnxStack::GroupValue gv;
  EXPECT_TRUE(converter.ToKnxValue(dpt, serialised, gv));
  EXPECT_EQ(dpt, KNXDPT(16, 9, 0)); // completed in place
  EXPECT_EQ(gv, Group({0x0C, 0x33}, 16));
}

} // namespace
