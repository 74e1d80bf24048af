#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const Avo::KnxConverterDate kDate;
const Avo::KnxConverterTimeOfDay kTimeOfDay;
const Avo::KnxConverterDateTime kDateTime;

VELVALUE Time(VelValueType type, std::uint16_t year, std::uint8_t month, std::uint8_t day,
              std::uint8_t hour = 0, std::uint8_t minute = 0, std::uint8_t second = 0) {
  VELVALUE value(type);
  value.tmVal = VELTIME{year, month, day, hour, minute, second, 0, 0, 0, true, true};
  return value;
}
// Year - 1900, month, day, hour, minute, second.
Bytes Fields(const VELTIME& t) {
  return {Bytes::value_type(t.year - 1900), t.month, t.day, t.hour, t.minute, t.second};
}

const std::string kOutside = "Cannot convert the date outside of the range [1990...2089]: year=";

// Any one of main number 11, sub number 1 or a date record suffices; the
// refusal names 10.001.
TEST(DateConverter, Rules) {
  // clang-format off
  Check(std::vector<ToRow>{
      {kDate, Dpt(11, 1), Time(ivtDate, 2089, 12, 31), "", {0x1F, 0x0C, 0x59}},
      {kDate, Dpt(5, 2), Time(ivtDate, 1990, 1, 2), "", {0x02, 0x01, 0x5A}},
      {kDate, Dpt(11, 1), Time(ivtDate, 2090, 1, 1), kOutside + "2090, month=1, day=1"},
      {kDate, Dpt(11, 1), Time(ivtDate, 1989, 12, 31), kOutside + "1989, month=12, day=31"},
      {kDate, Dpt(5, 2), Integer(1), "Wrong DPT main number (10.001) or vel value type (ivtDayTime)!"},
  });
  Check(std::vector<FromRow>{
      {kDate, Dpt(11, 1), {0x01, 0x01, 0x80}, "No valid Date datagram, reserved fields are not zero!"},
      {kDate, Dpt(11, 1), {0x1F, 0x02, 0x18}, "Cannot convert invalid date: year=2024, month=2, day=31"},
      {kDate, Dpt(5, 2), {0x01, 0x01, 0x01}, "Wrong DPT main number (11.001)!"},
  });
  // clang-format on
  VELVALUE value;
  EXPECT_TRUE(kDate.FromKnxValue(Dpt(5, 1), Raw({0x1F, 0x0C, 0x59}), value));
  EXPECT_EQ(value.ivt, ivtDate);
  EXPECT_EQ(Fields(value.tmVal), (Bytes{189, 12, 31, 0, 0, 0}));
  // Month and day are left to the group value, which raises.
  KnxStack::GroupValue group;
  EXPECT_THROW(kDate.ToKnxValue(Dpt(11, 1), Time(ivtDate, 2000, 13, 1), group),
               KnxStack::GroupValueException);
}

// Each day of week, and none, goes in and out again unchanged.
TEST(TimeOfDayConverter, EveryDayOfWeekRoundTrips) {
  for (unsigned day = 0; day < 8; ++day) {
    const Bytes bytes = {Bytes::value_type(day << 5 | 23), 59, 58};
    VELVALUE value;
    ASSERT_TRUE(kTimeOfDay.FromKnxValue(Dpt(10, 1), Raw(bytes), value));
    EXPECT_EQ(value.ivt, ivtDayTime);
    EXPECT_EQ(Fields(value.tmVal), (Bytes{100, 1, 1, 23, 59, 58}));
    EXPECT_EQ(value.tmVal.weekday, day == 0 ? 0 : 1 << (day - 1));
    EXPECT_EQ(value.tmVal.timeOfDayOnly, 1);
    Check(std::vector<ToRow>{{kTimeOfDay, Dpt(10, 1), value, "", bytes}});
  }
}

TEST(TimeOfDayConverter, Refusals) {
  const std::string reserved = "No valid TimeOfDay datagram, reserved fields are not zero!";
  // clang-format off
  Check(std::vector<ToRow>{
      {kTimeOfDay, Dpt(10, 1), Time(ivtDayTime, 2000, 1, 1, 24),
       "Could not convert VELTIME 2000-01-01 24:00:00, weekday mask 0 to TimeOfDay"},
      {kTimeOfDay, Dpt(5, 2), Integer(1), "Wrong DPT main number (10.001) or vel value type (ivtDayTime)!"},
  });
  Check(std::vector<FromRow>{
      {kTimeOfDay, Dpt(10, 1), {0x0A, 0x40, 0x00}, reserved},
      {kTimeOfDay, Dpt(10, 1), {0x0A, 0x00, 0x80}, reserved},
      {kTimeOfDay, Dpt(10, 1), {0x18, 0x00, 0x00}, "No valid TimeOfDay (10.001)!"},
      {kTimeOfDay, Dpt(10, 1), {0x00, 0x3C, 0x00}, "No valid TimeOfDay (10.001)!"},
      {kTimeOfDay, Dpt(5, 2), {0x00, 0x00, 0x00}, "Wrong DPT main number (10.001)!"},
  });
  // clang-format on
}

// Neither the DPT nor the value type is examined. The year goes out as its
// low 8 bits but comes in as the byte + 1900.
TEST(DateTimeConverter, Rules) {
  // clang-format off
  Check(std::vector<ToRow>{
      {kDateTime, Dpt(19, 1), Time(ivtDateTime, 2024, 5, 6, 10, 20, 30), "", {0xE8, 5, 6, 10, 20, 30, 0x20, 0}},
      {kDateTime, Dpt(5, 1), Time(ivtDate, 1900, 1, 1), "", {0x6C, 1, 1, 0, 0, 0, 0x20, 0}},
      {kDateTime, Dpt(19, 1), Time(ivtDateTime, 2155, 1, 1), "", {0x6B, 1, 1, 0, 0, 0, 0x20, 0}},
      {kDateTime, Dpt(19, 1), Time(ivtDateTime, 1899, 12, 31), kOutside + "1899, month=12, day=31"},
      {kDateTime, Dpt(19, 1), Time(ivtDateTime, 2156, 1, 2), kOutside + "2156, month=1, day=2"},
  });
  const std::string invalid = "Cannot convert invalid date and time: year=2024, month=";
  Check(std::vector<FromRow>{
      {kDateTime, Dpt(19, 1), {124, 13, 6, 10, 20, 30, 0, 0}, invalid + "13, day=6, hour=10, minute=20, second=30"},
      {kDateTime, Dpt(19, 1), {124, 5, 6, 24, 20, 30, 0, 0}, invalid + "5, day=6, hour=24, minute=20, second=30"},
  });
  // clang-format on
  VELVALUE value(ivtDateTime);
  EXPECT_TRUE(
      kDateTime.FromKnxValue(Dpt(5, 1), Raw({0xE8, 5, 6, 0xEA, 20, 30, 0xFF, 0xFF}), value));
  EXPECT_EQ(Fields(value.tmVal),
            (Bytes{232, 5, 6, 10, 20, 30})); // 2132; weekday bits, flags ignored
}

} // namespace
