#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

using namespace VelTest;

TEST(VelValue, ConstructionSetsTheStatusFromTheTagAndClearsTheTimeAsLocal) {
  const VELTIME clearedLocal{0, 0, 0, 0, 0, 0, 0, 0, 0, true, false};
  for (const auto& [type, status] : {std::pair{ivtNone, 1}, {ivtEmpty, 0}, {ivtBool, 2}, {ivtAngle, 2}}) {
    const VELVALUE value(type);
    EXPECT_EQ(value.status, status) << type;
    EXPECT_EQ(value.tmVal, clearedLocal);
  }
  EXPECT_EQ(VELVALUE(), VELVALUE(ivtEmpty));
}

TEST(VelValue, EqualityLooksAtTheMemberTheTypeUses) {
  VELVALUE byte = Str(ivtByte, "unused");
  byte.wVal = 0xABAB; // a byte the byte value does not use stays 0xAB
  byte.byVal = 7;
  EXPECT_EQ(byte, U8(ivtByte, 7));
  EXPECT_NE(byte, U8(ivtByte, 8));
  const VELVALUE nan = Dbl(ivtFloat, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(nan, VELVALUE(nan));
  EXPECT_NE(Str(ivtString, "a"), WithStatus(Str(ivtString, "a"), 7));
  EXPECT_NE(Str(ivtString, "a"), Str(ivtByteArray, "a"));
  EXPECT_NE(VELVALUE(ivtDate), Tm(ivtDate, VELTIME{0, 0, 0, 0, 0, 0, 0, 0, 0, true, true}));
}

TEST(VelValue, NamesAndTheReadableLine) {
  EXPECT_EQ(VELVALUE::GetNameFromValueType(ivtDayTime), "DayTime");
  EXPECT_EQ(VELVALUE::GetNameFromValueType(static_cast<VelValueType>(999)), "Type999");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(VelDP::vstSwitch), "Switch");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(static_cast<VelDP::VelValueSubType>(77)), "Subtype77");
  VELTIME date{};
  date.SetDate(2024, 5, 6, true);
  const struct {
    VELVALUE value;
    const char* text;
  } cases[] = {
      {VELVALUE(), "Empty"},
      {Dbl(ivtFloat, 21.5), "Float 21.5"},
      {WithStatus(Dbl(ivtFloat, std::numeric_limits<double>::quiet_NaN()), 7), "Float nan (status 7)"},
      {Lng(ivtInteger, -5), "Integer -5"},
      {Str(ivtString, "two\nlines \"q\""), "String \"two\\nlines \\\"q\\\"\""},
      {U8(ivtBool, 1), "Bool true"},
      {Str(ivtByteArray, "\x01\xAB"), "ByteArray 01AB"},
      {VELVALUE(ivtByteArray), "ByteArray"},
      {Tm(ivtDate, date), "Date 2024-05-06T00:00:00.00;weekday=0;timeOfDayOnly=0;local;valid"},
  };
  for (const auto& c : cases) {
    std::ostringstream os;
    os << c.value;
    EXPECT_EQ(os.str(), c.text);
  }
}

TEST(KnxDpt, PrintsMainAndSubInDecimal) {
  for (const auto& [dpt, text] : {std::pair{KNXDPT(16, 9, 1), "9.1"}, {KNXDPT(24, 232, 600), "232.600"},
                                  {KNXDPT(), "0.0"}, {KNXDPT(8, 65535, 65535), "65535.65535"}}) {
    std::ostringstream os;
    os << dpt;
    EXPECT_EQ(os.str(), text);
    EXPECT_EQ(dpt.ToString(), text);
  }
}

} // namespace
