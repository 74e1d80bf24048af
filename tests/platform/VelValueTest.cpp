#include "VelValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace {

TEST(VelValue, ConstructionSetsTheStatusFromTheTagAndClearsTheTimeAsLocal) {
  const struct {
    VelValueType type;
    std::uint8_t status;
  } cases[] = {{ivtNone, 1}, {ivtEmpty, 0}, {ivtBool, 2}, {ivtDayTime, 2}, {ivtAngle, 2}};
  for (const auto& c : cases) {
    const VELVALUE value(c.type);
    EXPECT_EQ(value.status, c.status) << c.type;
    VELTIME cleared{};
    cleared.isLocalTime = true;
    EXPECT_EQ(value.tmVal, cleared);
    EXPECT_TRUE(value.strVal.empty());
  }
  const VELVALUE empty;
  EXPECT_EQ(empty.ivt, ivtEmpty);
  EXPECT_EQ(empty, VELVALUE(ivtEmpty));
}

TEST(VelValue, EqualityLooksAtTheMemberTheTypeUses) {
  VELVALUE a(ivtByte);
  VELVALUE b(ivtByte);
  a.byVal = b.byVal = 7;
  a.wVal = 0x0107; // the high byte is not part of a byte value
  a.strVal = "unused";
  EXPECT_EQ(a, b);
  b.byVal = 8;
  EXPECT_NE(a, b);

  VELVALUE nan(ivtFloat);
  nan.dblVal = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(nan, VELVALUE(nan));

  VELVALUE text(ivtString);
  text.strVal = "a";
  VELVALUE otherStatus = text;
  otherStatus.status = 7;
  EXPECT_NE(text, otherStatus);
  VELVALUE otherType = text;
  otherType.ivt = ivtByteArray;
  EXPECT_NE(text, otherType);

  VELVALUE date(ivtDate);
  VELVALUE otherFlag = date;
  otherFlag.tmVal.isValid = true;
  EXPECT_NE(date, otherFlag);
}

TEST(VelValue, NamesOfTagsAndSubtypes) {
  EXPECT_EQ(VELVALUE::GetNameFromValueType(ivtFloat), "Float");
  EXPECT_EQ(VELVALUE::GetNameFromValueType(ivtEmpty), "Empty");
  EXPECT_EQ(VELVALUE::GetNameFromValueType(ivtDayTime), "DayTime");
  EXPECT_EQ(VELVALUE::GetNameFromValueType(static_cast<VelValueType>(999)), "Type999");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(VelDP::vstSwitch), "Switch");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(VelDP::vstLatin1String), "Latin1String");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(static_cast<VelDP::VelValueSubType>(77)), "Subtype77");
}

TEST(VelValue, ToStringIsOneReadableLine) {
  VELVALUE number(ivtFloat);
  number.dblVal = 21.5;
  VELVALUE undefined(ivtFloat);
  undefined.dblVal = std::numeric_limits<double>::quiet_NaN();
  undefined.status = 7;
  VELVALUE text(ivtString);
  text.strVal = "two\nlines \"q\"";
  VELVALUE on(ivtBool);
  on.byVal = 1;
  VELVALUE bytes(ivtByteArray);
  bytes.strVal = "\x01\xAB";
  VELVALUE date(ivtDate);
  date.tmVal.SetDate(2024, 5, 6, true);
  const struct {
    VELVALUE value;
    const char* text;
  } cases[] = {
      {VELVALUE(), "Empty"},
      {VELVALUE(ivtNone), "None"},
      {number, "Float 21.5"},
      {undefined, "Float nan (status 7)"},
      {text, "String \"two\\nlines \\\"q\\\"\""},
      {on, "Bool true"},
      {VELVALUE(ivtBool), "Bool false"},
      {bytes, "ByteArray 01AB"},
      {VELVALUE(ivtByteArray), "ByteArray"},
      {date, "Date 2024-05-06T00:00:00.00;weekday=0;timeOfDayOnly=0;local;valid"},
      {VELVALUE(static_cast<VelValueType>(999)), "Type999"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.value.ToString(), c.text);
    std::ostringstream os;
    os << c.value;
    EXPECT_EQ(os.str(), c.text);
  }
}

TEST(KnxDpt, PrintsMainAndSubInDecimal) {
  const struct {
    KNXDPT dpt;
    const char* text;
  } cases[] = {{KNXDPT(16, 9, 1), "9.1"}, {KNXDPT(24, 232, 600), "232.600"}, {KNXDPT(), "0.0"},
               {KNXDPT(8, 65535, 65535), "65535.65535"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.dpt.ToString(), c.text);
    std::ostringstream os;
    os << c.dpt;
    EXPECT_EQ(os.str(), c.text);
  }
}

} // namespace
