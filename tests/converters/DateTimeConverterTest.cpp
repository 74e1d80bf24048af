#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const Avo::KnxConverterDate kDate;
const Avo::KnxConverterTimeOfDay kTimeOfDay;
const Avo::KnxConverterDateTime kDateTime;
const std::string kOutside = "Cannot convert the date outside of the range [1990...2089]: year=";

VELVALUE Time(VelValueType type, std::uint16_t year, std::uint8_t month, std::uint8_t day,
              std::uint8_t hour = 0, std::uint8_t minute = 0, std::uint8_t second = 0,
              std::uint16_t weekday = 0, std::uint16_t dayOnly = 0) {
  return Tm(type, VELTIME{year, month, day, hour, minute, second, 0, weekday, dayOnly, true, true});
}

// Any one of main number 11, sub number 1 or a date record suffices; the
// refusal names 10.001. Month and day are left to the group value, which
// raises (and the value converter catches).
TEST(DateConverter, Rules) {
  // clang-format off
  Check({{Both, kDate, Dpt(11, 1), Time(ivtDate, 2089, 12, 31), {0x1F, 0x0C, 0x59}, ""},
         {To, kDate, Dpt(5, 2), Time(ivtDate, 1990, 1, 2), {0x02, 0x01, 0x5A}, ""},
         {To, kDate, Dpt(11, 1), Time(ivtDate, 2090, 1, 1), {}, kOutside + "2090, month=1, day=1"},
         {To, kDate, Dpt(11, 1), Time(ivtDate, 1989, 12, 31), {}, kOutside + "1989, month=12, day=31"},
         {To, kDate, Dpt(5, 2), Lng(ivtInteger, 1), {}, "Wrong DPT main number (10.001) or vel value type (ivtDayTime)!"},
         {From, kDate, Dpt(5, 1), Time(ivtDate, 1999, 1, 1), {0x01, 0x01, 0x63}, ""},
         {From, kDate, Dpt(11, 1), VELVALUE(), {0x01, 0x01, 0x80}, "No valid Date datagram, reserved fields are not zero!"},
         {From, kDate, Dpt(11, 1), VELVALUE(), {0x1F, 0x02, 0x18}, "Cannot convert invalid date: year=2024, month=2, day=31"},
         {From, kDate, Dpt(5, 2), VELVALUE(), {0x01, 0x01, 0x01}, "Wrong DPT main number (11.001)!"}});
  // clang-format on
}

// Each day of week, and none, goes in and out again unchanged; the date part
// reads as 2000-01-01.
TEST(TimeOfDayConverter, Rules) {
  const std::string reserved = "No valid TimeOfDay datagram, reserved fields are not zero!";
  for (unsigned day = 0; day < 8; ++day) {
    const VELVALUE value =
        Time(ivtDayTime, 2000, 1, 1, 23, 59, 58, day == 0 ? 0 : 1 << (day - 1), 1);
    Check({{Both, kTimeOfDay, Dpt(10, 1), value, {Bytes::value_type(day << 5 | 23), 59, 58}, ""}});
  }
  // clang-format off
  Check({{To, kTimeOfDay, Dpt(10, 1), Time(ivtDayTime, 2000, 1, 1, 24), {},
          "Could not convert VELTIME 2000-01-01 24:00:00, weekday mask 0 to TimeOfDay"},
         {To, kTimeOfDay, Dpt(5, 2), Lng(ivtInteger, 1), {}, "Wrong DPT main number (10.001) or vel value type (ivtDayTime)!"},
         {From, kTimeOfDay, Dpt(10, 1), VELVALUE(), {0x0A, 0x40, 0x00}, reserved},
         {From, kTimeOfDay, Dpt(10, 1), VELVALUE(), {0x0A, 0x00, 0x80}, reserved},
         {From, kTimeOfDay, Dpt(10, 1), VELVALUE(), {0x18, 0x00, 0x00}, "No valid TimeOfDay (10.001)!"},
         {From, kTimeOfDay, Dpt(5, 2), VELVALUE(), {0x00, 0x00, 0x00}, "Wrong DPT main number (10.001)!"}});
  // clang-format on
}

// Neither the DPT nor the value type is examined. Kept: the year goes out as
// its low 8 bits but comes in as the byte + 1900; weekday bits and flags are
// dropped on the way in, the type is left.
TEST(DateTimeConverter, Rules) {
  const std::string invalid = "Cannot convert invalid date and time: year=2024, month=";
  // clang-format off
  Check({{To, kDateTime, Dpt(19, 1), Time(ivtDateTime, 2024, 5, 6, 10, 20, 30), {0xE8, 5, 6, 10, 20, 30, 0x20, 0}, ""},
         {To, kDateTime, Dpt(5, 1), Time(ivtDate, 1900, 1, 1), {0x6C, 1, 1, 0, 0, 0, 0x20, 0}, ""},
         {To, kDateTime, Dpt(19, 1), Time(ivtDateTime, 2155, 1, 1), {0x6B, 1, 1, 0, 0, 0, 0x20, 0}, ""},
         {To, kDateTime, Dpt(19, 1), Time(ivtDateTime, 1899, 12, 31), {}, kOutside + "1899, month=12, day=31"},
         {To, kDateTime, Dpt(19, 1), Time(ivtDateTime, 2156, 1, 2), {}, kOutside + "2156, month=1, day=2"},
         {From, kDateTime, Dpt(5, 1), Time(kUntyped, 2132, 5, 6, 10, 20, 30, VelWeekDays::TUESDAY), {0xE8, 5, 6, 0xEA, 20, 30, 0xFF, 0xFF}, ""},
         {From, kDateTime, Dpt(19, 1), VELVALUE(), {124, 13, 6, 10, 20, 30, 0, 0}, invalid + "13, day=6, hour=10, minute=20, second=30"},
         {From, kDateTime, Dpt(19, 1), VELVALUE(), {124, 5, 6, 24, 20, 30, 0, 0}, invalid + "5, day=6, hour=24, minute=20, second=30"}});
  // clang-format on
}

} // namespace
