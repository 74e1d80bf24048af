// Converters of the calendar DPTs: 11.001 date, 10.001 time of day and 19.x
// date and time. The group value places the date and time-of-day bits; the
// date-and-time bytes are laid out here.

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"
#include "AvoObjectModel/TimeOfDay.h"

#include <cstdint>
#include <exception> // std::exception
#include <iomanip>   // std::setw
#include <ostream>

namespace Avo {
namespace {

constexpr unsigned int kDateBytes = 3;
constexpr unsigned int kTimeOfDayBytes = 3;
constexpr unsigned int kDateTimeBytes = 8;

// Bits that must be zero in a bus datagram, over its 3 bytes read as one
// number (first byte most significant).
// Date:        000DDDDD 0000MMMM 0YYYYYYY
constexpr std::uint32_t kDateReservedBits = 0xE0F080;
// Time of day: NNNHHHHH 00MMMMMM 00SSSSSS
constexpr std::uint32_t kTimeOfDayReservedBits = 0x00C0C0;

// The date-and-time datagram's flag byte: only "no working day" is set,
// as the record carries no working-day information.
constexpr unsigned char kDateTimeFlags = 0x20;
constexpr int kDateTimeYearBase = 1900;

// The date and time fields of a VELTIME for log lines: "2024-05-06 10:20:30,
// weekday mask 1".
struct TimeText {
  const VELTIME& time;
};

std::ostream& operator<<(std::ostream& os, const TimeText& text) {
  const VELTIME& time = text.time;
  const char fill = os.fill('0');
  os << std::setw(4) << time.year << '-' << std::setw(2) << unsigned{time.month} << '-'
     << std::setw(2) << unsigned{time.day} << ' ' << std::setw(2) << unsigned{time.hour} << ':'
     << std::setw(2) << unsigned{time.minute} << ':' << std::setw(2) << unsigned{time.second};
  os.fill(fill);
  return os << ", weekday mask " << time.weekday;
}

} // namespace

// --- 11.001 ----------------------------------------------------------------

// Any one of main number 11, sub number 1 or a date record suffices. The
// refusal names 10.001 and ivtDayTime although this is the date; the text is
// kept as it is.
bool KnxConverterDate::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 11 && dpt.subNumber != 1 && value.ivt != ivtDate) {
    AVO_LOG_ERROR("Wrong DPT main number (10.001) or vel value type (ivtDayTime)!");
    return false;
  }
  const VELTIME& date = value.tmVal;
  if (static_cast<unsigned>(date.year - 1990) >= 100U) {
    AVO_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year="
                  << date.year << ", month=" << unsigned{date.month}
                  << ", day=" << unsigned{date.day});
    return false;
  }
  // Month and day are left to the group value, which raises on fields
  // outside the encoding.
  group.SetAsDate(date.day, date.month, date.year);
  return true;
}

bool KnxConverterDate::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 11 && dpt.subNumber != 1) {
    AVO_LOG_ERROR("Wrong DPT main number (11.001)!");
    return false;
  }
  const KnxStack::BinaryData& raw = group.GetRawData();
  if (raw.GetSize() < kDateBytes) {
    AVO_LOG_ERROR("The group value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                            << " is too short: " << raw.GetSize()
                                            << " bytes, expected " << kDateBytes << ".");
    return false;
  }
  if ((raw.GetUInt24Value(0) & kDateReservedBits) != 0) {
    AVO_LOG_ERROR("No valid Date datagram, reserved fields are not zero!");
    return false;
  }
  int day = 0;
  int month = 0;
  int year = 0;
  group.GetAsDate(&day, &month, &year);
  if (!VELTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                            static_cast<unsigned char>(day))) {
    AVO_LOG_ERROR("Cannot convert invalid date: year=" << year << ", month=" << month
                                                       << ", day=" << day);
    return false;
  }
  value.tmVal.Clear(true);
  value.tmVal.SetDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                      static_cast<unsigned char>(day), true);
  value.ivt = ivtDate;
  return true;
}

// --- 10.001 ----------------------------------------------------------------

// Any one of main number 10, sub number 1 or a time-of-day record suffices.
bool KnxConverterTimeOfDay::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                       KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 10 && dpt.subNumber != 1 && value.ivt != ivtDayTime) {
    AVO_LOG_ERROR("Wrong DPT main number (10.001) or vel value type (ivtDayTime)!");
    return false;
  }
  const boost::optional<AvoApp::TimeOfDay> time = AvoApp::FromVelTime(value.tmVal);
  if (!time) {
    AVO_LOG_ERROR("Could not convert VELTIME " << TimeText{value.tmVal} << " to TimeOfDay");
    return false;
  }
  group.SetAsTimeOfDay(time->GetHour(), time->GetMinute(), time->GetSecond(),
                       static_cast<KnxStack::GroupValue::DayOfWeek>(time->GetWeekday()));
  return true;
}

// The record gets a fixed date, 2000-01-01, and is marked as a time of day.
bool KnxConverterTimeOfDay::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 10 && dpt.subNumber != 1) {
    AVO_LOG_ERROR("Wrong DPT main number (10.001)!");
    return false;
  }
  const KnxStack::BinaryData& raw = group.GetRawData();
  if (raw.GetSize() < kTimeOfDayBytes) {
    AVO_LOG_ERROR("The group value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                            << " is too short: " << raw.GetSize()
                                            << " bytes, expected " << kTimeOfDayBytes << ".");
    return false;
  }
  if ((raw.GetUInt24Value(0) & kTimeOfDayReservedBits) != 0) {
    AVO_LOG_ERROR("No valid TimeOfDay datagram, reserved fields are not zero!");
    return false;
  }
  int hour = 0;
  int minute = 0;
  int second = 0;
  KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
  group.GetAsTimeOfDay(&hour, &minute, &second, &day);
  const boost::optional<AvoApp::TimeOfDay> time =
      AvoApp::TimeOfDay::Create(hour, minute, second, day);
  if (!time) {
    AVO_LOG_ERROR("No valid TimeOfDay (10.001)!");
    return false;
  }
  value.ivt = ivtDayTime;
  value.tmVal.Clear(true);
  value.tmVal.SetDateTime(2000, 1, 1, static_cast<unsigned char>(time->GetHour()),
                          static_cast<unsigned char>(time->GetMinute()),
                          static_cast<unsigned char>(time->GetSecond()), true);
  value.tmVal.weekday = AvoApp::ToVelWeekday(time->GetWeekday());
  value.tmVal.timeOfDayOnly = 1;
  return true;
}

// --- 19.x ------------------------------------------------------------------
// Neither direction examines the DPT or the value type, and neither writes
// the trace line. The year goes out as its low 8 bits but comes in as the
// byte + 1900, so the two directions are not each other's inverse; both
// are kept as they are.

bool KnxConverterDateTime::ToKnxValue(const KNXDPT& /*dpt*/, const VELVALUE& value,
                                      KnxStack::GroupValue& group) const {
  const VELTIME& time = value.tmVal;
  const int yearOffset = time.year - kDateTimeYearBase;
  if (yearOffset < 0 || yearOffset > 0xFF) {
    // The date converter's text, with its narrower bounds, on purpose.
    AVO_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year="
                  << time.year << ", month=" << unsigned{time.month}
                  << ", day=" << unsigned{time.day});
    return false;
  }
  const unsigned char bytes[kDateTimeBytes] = {static_cast<unsigned char>(time.year & 0xFF),
                                               time.month,
                                               time.day,
                                               time.hour,
                                               time.minute,
                                               time.second,
                                               kDateTimeFlags,
                                               0x00};
  group = KnxStack::GroupValue(KnxStack::BinaryData(bytes, kDateTimeBytes), 64);
  return true;
}

// Flags and clock quality (bytes 6 and 7) are ignored, as are the weekday
// bits of the hour byte.
bool KnxConverterDateTime::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                        VELVALUE& value) const {
  try {
    const KnxStack::BinaryData& raw = group.GetRawData();
    if (raw.GetSize() < kDateTimeBytes) {
      AVO_LOG_ERROR("The group value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                              << " is too short: " << raw.GetSize()
                                              << " bytes, expected " << kDateTimeBytes << ".");
      return false;
    }
    const std::uint8_t* bytes = raw.GetData();
    const int year = bytes[0] + kDateTimeYearBase;
    const unsigned month = bytes[1] & 0x0FU;
    const unsigned day = bytes[2] & 0x1FU;
    const unsigned hour = bytes[3] & 0x1FU;
    const unsigned minute = bytes[4] & 0x3FU;
    const unsigned second = bytes[5] & 0x3FU;
    if (!VELTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                              static_cast<unsigned char>(day)) ||
        !VELTIME::IsValidTime(static_cast<unsigned char>(hour), static_cast<unsigned char>(minute),
                              static_cast<unsigned char>(second))) {
      AVO_LOG_ERROR("Cannot convert invalid date and time: year="
                    << year << ", month=" << month << ", day=" << day << ", hour=" << hour
                    << ", minute=" << minute << ", second=" << second);
      return false;
    }
    value.tmVal.Clear(true);
    value.tmVal.SetDateTime(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                            static_cast<unsigned char>(day), static_cast<unsigned char>(hour),
                            static_cast<unsigned char>(minute), static_cast<unsigned char>(second),
                            true);
    return true;
  } catch (const std::exception& error) {
    AVO_LOG_ERROR("Exception caught during conversion of date and time: " << error.what());
    return false;
  }
}

} // namespace Avo
