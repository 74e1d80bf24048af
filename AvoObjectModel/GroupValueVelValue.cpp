#include "AvoObjectModel/GroupValueVelValue.h"

#include "Avo/Logging.h"
#include "Avo/MeasureDuration.h"
#include "Avo/Unreachable.h"
#include "AvoObjectModel/KnxValueConverter.h"
#include "AvoObjectModel/TimeOfDay.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/conversion.hpp> // ptime_from_tm
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <utf8.h> // utf8::replace_invalid

#include <algorithm> // std::clamp
#include <array>
#include <chrono>
#include <cmath> // std::isinf
#include <cstdint>
#include <ctime> // std::mktime, std::tm, std::time_t
#include <exception>
#include <iterator> // std::back_inserter
#include <ostream>
#include <utility>

namespace Avo {
namespace {

// The time points that a signed 32-bit seconds count holds: the record's time
// member is set from such a count, so nothing outside them can be stored.
const boost::posix_time::ptime& FirstStorableTime() {
  static const boost::posix_time::ptime first(boost::gregorian::date(1901, 12, 13),
                                              boost::posix_time::time_duration(20, 45, 52));
  return first;
}

const boost::posix_time::ptime& LastStorableTime() {
  static const boost::posix_time::ptime last(boost::gregorian::date(2038, 1, 19),
                                             boost::posix_time::time_duration(3, 14, 7));
  return last;
}

// The years that DPT 11 encodes (two digits: 90..99 are 19xx, 0..89 20xx).
bool IsDateEncodable(const VELTIME& time) {
  return VELTIME::IsValidDate(time.year, time.month, time.day) && time.year >= 1990 &&
         time.year <= 2089;
}

// Prints the eleven fields of a time record in record order, separated by
// blanks: numbers, and the two flags as 0 or 1.
struct TimeFields {
  const VELTIME& time;
};

std::ostream& operator<<(std::ostream& os, TimeFields fields) {
  const VELTIME& t = fields.time;
  return os << t.year << ' ' << unsigned{t.month} << ' ' << unsigned{t.day} << ' '
            << unsigned{t.hour} << ' ' << unsigned{t.minute} << ' ' << unsigned{t.second} << ' '
            << unsigned{t.hundredths} << ' ' << t.weekday << ' ' << t.timeOfDayOnly << ' '
            << (t.isLocalTime ? 1 : 0) << ' ' << (t.isValid ? 1 : 0);
}

using DateTimeBytes = std::array<std::uint8_t, 8>;

// Flags of byte 6 of DPT 19.
constexpr std::uint8_t kNoWorkingDay = 0x20;
constexpr std::uint8_t kNoDayOfWeek = 0x04;
// Fault, no working day, no year, no date, no day of week, no time.
constexpr std::uint8_t kFaultFlags = 0xBE;

// YYYYYYYY 0000MMMM 000DDDDD NNNHHHHH 00mmmmmm 00ssssss flags 0.
// Throws (the calendar's exceptions) when the record names no calendar time.
DateTimeBytes EncodeDateTime(const VELTIME& time) {
  const std::tm fields = time;
  const boost::posix_time::ptime calendarTime = boost::posix_time::ptime_from_tm(fields);
  const boost::gregorian::date day = calendarTime.date();
  const boost::posix_time::time_duration timeOfDay = calendarTime.time_of_day();
  const bool dateKnown = !day.is_special();
  unsigned dayOfWeek = 0;        // unknown
  DateTimeBytes bytes{70, 1, 1}; // 1 January 1970 stands in for an unknown date
  if (dateKnown) {
    bytes[0] = static_cast<std::uint8_t>(day.year() - 1900);
    bytes[1] = static_cast<std::uint8_t>(day.month().as_number());
    bytes[2] = static_cast<std::uint8_t>(day.day().as_number());
    dayOfWeek = day.day_of_week().as_number(); // 0 Sunday .. 6 Saturday
    if (dayOfWeek == 0) {
      dayOfWeek = 7;
    }
  }
  bytes[3] = static_cast<std::uint8_t>(dayOfWeek << 5 | static_cast<unsigned>(timeOfDay.hours()));
  bytes[4] = static_cast<std::uint8_t>(timeOfDay.minutes());
  bytes[5] = static_cast<std::uint8_t>(timeOfDay.seconds());
  bytes[6] = dateKnown ? kNoWorkingDay : kNoWorkingDay | kNoDayOfWeek;
  bytes[7] = 0;
  return bytes;
}

KnxStack::GroupValue FromBytes(const std::uint8_t* bytes, unsigned int count) {
  return KnxStack::GroupValue(KnxStack::BinaryData(bytes, count), 8 * count);
}

// A time of day as the record of a received DPT 10 value: dated
// 1 January 2000, with the weekday as a mask.
VELVALUE ToVelValue(const AvoApp::TimeOfDay& timeOfDay, VelValueType expectedType) {
  VELVALUE result(ivtDayTime);
  result.tmVal.Clear(true);
  result.tmVal.SetDate(2000, 1, 1, true);
  result.tmVal.hour = static_cast<std::uint8_t>(timeOfDay.GetHour());
  result.tmVal.minute = static_cast<std::uint8_t>(timeOfDay.GetMinute());
  result.tmVal.second = static_cast<std::uint8_t>(timeOfDay.GetSecond());
  result.tmVal.weekday = AvoApp::ToVelWeekday(timeOfDay.GetWeekday());
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

} // namespace

boost::optional<KnxStack::GroupValue> VelValueToGroupValue(const VELVALUE& value, PackedDpt dpt) {
  KnxStack::GroupValue groupValue;
  const VelValueType expectedType = KnxKelMapping::GetIvtFromDpt(dpt);
  if (value.ivt != expectedType) {
    AVO_LOG_ERROR("Value type mismatch: Expected '"
                  << VELVALUE::GetNameFromValueType(expectedType) << "', got '"
                  << VELVALUE::GetNameFromValueType(value.ivt) << "'");
    return boost::none;
  }
  const std::uint32_t main = MainNumberOf(dpt);
  switch (main) {
  case 1:
    groupValue.SetAsBoolean(value.byVal != 0);
    break;
  case 2:
  case 23:
    groupValue.SetAsUnsigned2(value.byVal);
    break;
  case 3:
    groupValue.SetAsUnsigned4(value.byVal);
    break;
  case 5:
  case 18:
  case 20:
  case 21:
  case 26:
  case 238:
    groupValue.SetAsUnsigned8(value.byVal);
    break;
  case 6:
    groupValue.SetAsSigned8(static_cast<signed char>(value.byVal));
    break;
  case 7:
  case 22:
  case 217:
  case 234:
  case 237: {
    // Sent clamped rather than refused: the bus gets the nearest value.
    std::uint32_t number = value.dwVal;
    if (number > 65535) {
      AVO_LOG_ERROR("Value out of range: " << number << " (DPT " << main << ")");
      number = 65535;
    }
    groupValue.SetAsUnsigned16(static_cast<std::uint16_t>(number));
    break;
  }
  case 8: {
    std::int32_t number = value.lVal;
    if (static_cast<std::uint32_t>(number) + 32768U >= 65536U) {
      AVO_LOG_ERROR("Value out of range: " << number << " (DPT " << main << ")");
      number = std::clamp(number, std::int32_t{-32768}, std::int32_t{32767});
    }
    groupValue.SetAsSigned16(static_cast<std::int16_t>(number));
    break;
  }
  case 9:
    // NaN goes on to the encoder, which sends the invalid-data code.
    if (std::isinf(value.dblVal)) {
      return boost::none;
    }
    groupValue.SetAsFloat16(value.dblVal);
    break;
  case 10: {
    const auto timeOfDay = AvoApp::FromVelTime(value.tmVal);
    if (!timeOfDay) {
      AVO_LOG_ERROR("Could not convert VELTIME " << TimeFields{value.tmVal} << " to TimeOfDay");
      return boost::none;
    }
    groupValue.SetAsTimeOfDay(
        timeOfDay->GetHour(), timeOfDay->GetMinute(), timeOfDay->GetSecond(),
        static_cast<KnxStack::GroupValue::DayOfWeek>(timeOfDay->GetWeekday()));
    break;
  }
  case 11: {
    const VELTIME& date = value.tmVal;
    // A real date that the two-digit year cannot carry is refused like an
    // invalid one, so that the encoder never throws.
    if (!IsDateEncodable(date)) {
      AVO_LOG_ERROR("Not a valid date: " << date.year << " " << unsigned{date.month} << " "
                                         << unsigned{date.day} << " ");
      return boost::none;
    }
    groupValue.SetAsDate(date.day, date.month, date.year);
    break;
  }
  case 12:
  case 15:
  case 27:
    groupValue.SetAsUnsigned32(value.dwVal);
    break;
  case 13:
    groupValue.SetAsSigned32(value.lVal);
    break;
  case 14:
    groupValue.SetAsFloat32(static_cast<float>(value.dblVal));
    break;
  case 16: {
    const auto text = UTF8String::Create(value.strVal);
    if (!text) {
      AVO_LOG_ERROR("Got VELVALUE that contains a non-UTF8 string");
      return boost::none;
    }
    groupValue.SetAsString14(getLatin1FromUTF8Lossy(*text).Str());
    break;
  }
  case 17:
    if (value.byVal > 63) {
      return boost::none;
    }
    groupValue.SetAsUnsigned8(value.byVal);
    break;
  case 19: {
    DateTimeBytes bytes{};
    try {
      bytes = EncodeDateTime(value.tmVal);
    } catch (const std::exception&) {
      // Sent anyway, as the fault value: the receiver learns of the fault
      // from the flags. The other bytes are still zero, as initialised.
      AVO_LOG_ERROR("Could not convert VELTIME " << TimeFields{value.tmVal} << " to TimeOfDay");
      bytes[6] = kFaultFlags;
    }
    groupValue = FromBytes(bytes.data(), static_cast<unsigned int>(bytes.size()));
    break;
  }
  case 232: {
    const std::uint32_t colour = value.dwVal;
    const std::array<std::uint8_t, 3> bytes = {static_cast<std::uint8_t>(colour >> 16),
                                               static_cast<std::uint8_t>(colour >> 8),
                                               static_cast<std::uint8_t>(colour)};
    groupValue = FromBytes(bytes.data(), static_cast<unsigned int>(bytes.size()));
    break;
  }
  default:
    // The parenthesis opened before "dwDPT" closes only after the quote;
    // log readers match the text as it stands.
    AVO_LOG_ERROR("Value type " << main << " not supported (dwDPT=" << dpt << " with value='"
                                << "ivt: " << value.ivt << ", ToString(): " << value.ToString()
                                << "').");
    return boost::none;
  }
  return groupValue;
}

bool CheckGroupValue(const KnxStack::GroupValue& value, PackedDpt dpt) {
  const std::uint32_t main = MainNumberOf(dpt);
  const std::uint32_t sub = SubNumberOf(dpt);
  KNXDPT dptRecord(static_cast<std::uint8_t>(value.GetDefinedSize()),
                   static_cast<std::uint16_t>(main), static_cast<std::uint16_t>(sub));
  // A converter of its own on every call: checks share no state, so any
  // thread may check at any time.
  KnxValueConverter converter;
  if (!converter.Init()) {
    AVO_LOG_FATAL("Could not Init() the value converter");
    return false;
  }
  AVO_LOG_TRACE("DPT is " << main << "." << sub << " with bit size "
                          << unsigned{dptRecord.bitSize});
  VELVALUE decoded;
  return converter.FromKnxValue(dptRecord, value, decoded);
}

boost::optional<VELVALUE> GroupValueToVelValue(const KnxStack::GroupValue& value, PackedDpt dpt) {
  const MeasureDuration measure("Decoding a KNX value took ", std::chrono::milliseconds(100));
  const std::uint32_t main = MainNumberOf(dpt);
  const std::uint32_t sub = SubNumberOf(dpt);
  const VelValueType expectedType = KnxKelMapping::GetIvtFromDpt(dpt);
  if (expectedType == ivtEmpty) {
    AVO_LOG_ERROR("Unsupported DPT: " << main << "." << sub);
    return boost::none;
  }
  if (!CheckGroupValue(value, dpt)) {
    AVO_LOG_ERROR("Received invalid value " << value.GetRawData().ToString() << " for DPT " << main
                                            << "." << sub);
    return boost::none;
  }
  try {
    VELVALUE result;
    switch (main) {
    case 1:
      result = ToVelValue(value.GetAsBoolean(), expectedType);
      break;
    case 2:
    case 23:
      result = ToVelValue(std::uint8_t{value.GetAsUnsigned2()}, expectedType);
      break;
    case 3:
      result = ToVelValue(std::uint8_t{value.GetAsUnsigned4()}, expectedType);
      break;
    case 31:
      result = ToVelValue(std::uint8_t{value.GetAsUnsigned3()}, expectedType);
      break;
    case 5:
    case 17:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238:
      result = ToVelValue(std::uint8_t{value.GetAsUnsigned8()}, expectedType);
      break;
    case 6:
      result = ToVelValue(static_cast<std::uint8_t>(value.GetAsSigned8()), expectedType);
      break;
    case 7:
    case 22:
    case 217:
    case 234:
    case 237:
      result = ToVelValue(std::uint16_t{value.GetAsUnsigned16()}, expectedType);
      break;
    case 8:
      result = ToVelValue(std::int32_t{value.GetAsSigned16()}, expectedType);
      break;
    case 13:
      result = ToVelValue(std::int32_t{value.GetAsSigned32()}, expectedType);
      break;
    case 12:
    case 15:
    case 27:
    case 232:
      result = ToVelValue(std::uint32_t{value.GetRawData().GetUInt32Value(0)}, expectedType);
      break;
    case 9:
      result = ToVelValue(double{value.GetAsFloat16()}, expectedType);
      break;
    case 14:
      result = ToVelValue(double{value.GetAsFloat32()}, expectedType);
      break;
    case 10: {
      int hour = 0;
      int minute = 0;
      int second = 0;
      KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
      value.GetAsTimeOfDay(&hour, &minute, &second, &day);
      const auto timeOfDay = AvoApp::TimeOfDay::Create(hour, minute, second, day);
      if (!timeOfDay) {
        AVO_LOG_WARN("Received invalid DPT 10 time of day: " << hour << ":" << minute << ":"
                                                             << second << " " << unsigned{day});
        return boost::none;
      }
      result = ToVelValue(*timeOfDay, expectedType);
      break;
    }
    case 11: {
      const KnxStack::BinaryData& raw = value.GetRawData();
      if (raw.GetSize() != 3) {
        AVO_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: Length in bytes is "
                     << raw.GetSize() << ", expected 3");
        return boost::none;
      }
      const unsigned yearByte = raw.GetUInt8Value(2);
      if (yearByte >= 100) {
        AVO_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: Year "
                     << yearByte << " is out of range (0-99)");
        return boost::none;
      }
      int day = 0;
      int month = 0;
      int year = 0;
      value.GetAsDate(&day, &month, &year);
      if (year < 1990 || year > 2089 || month < 1 || month > 12 || day < 1 || day > 31) {
        AVO_LOG_WARN("Received an invalid DPT 11.001 date from the KNX: " << year << "-" << month
                                                                          << "-" << day);
        return boost::none;
      }
      // A day beyond its month (31 February) throws bad_day_of_month here;
      // the check above has already refused such dates.
      const boost::gregorian::date date(static_cast<unsigned short>(year),
                                        static_cast<unsigned short>(month),
                                        static_cast<unsigned short>(day));
      result = ToVelValue(boost::posix_time::ptime(date), expectedType);
      break;
    }
    case 16: {
      // Latin-1 always converts to valid UTF-8; anything else is a bug.
      const UTF8String text =
          UndefinedBehaviourIfNone(UTF8String::Create(getUTF8FromLatin1(value.GetAsString14())));
      result = ToVelValue(text.Str(), expectedType);
      break;
    }
    case 19: {
      const KnxStack::BinaryData& raw = value.GetRawData();
      const unsigned year = raw.GetUInt8Value(0) + 1900U;
      const unsigned month = raw.GetUInt8Value(1) & 0x0FU;
      const unsigned day = raw.GetUInt8Value(2) & 0x1FU;
      const unsigned hour = raw.GetUInt8Value(3) & 0x1FU;
      const unsigned minute = raw.GetUInt8Value(4) & 0x3FU;
      const unsigned second = raw.GetUInt8Value(5) & 0x3FU;
      // Month 0 or above 12 and day 0 throw (bad_month, bad_day_of_month);
      // the check above has already refused them.
      const boost::gregorian::date date(static_cast<unsigned short>(year),
                                        static_cast<unsigned short>(month),
                                        static_cast<unsigned short>(day));
      const boost::posix_time::ptime time(date,
                                          boost::posix_time::time_duration(hour, minute, second));
      result = ToVelValue(time, expectedType);
      break;
    }
    default:
      // Known to the table, but nothing to decode: the empty record.
      break;
    }
    return result;
  } catch (const KnxStack::GroupValueException&) {
    // Main numbers that the converter does not know pass the check unseen;
    // a value too short for their encoding ends here.
    AVO_LOG_ERROR("Received invalid value " << value.GetRawData().ToString() << " for DPT " << main
                                            << "." << sub);
    return boost::none;
  }
}

UTF8String RepairUTF8(std::string text) {
  if (UTF8String::IsValid(text)) {
    return UndefinedBehaviourIfNone(UTF8String::Create(std::move(text)));
  }
  // The appended NUL closes a sequence cut off at the very end, so that it
  // counts as one invalid sequence and becomes a single "?"; the NUL itself is
  // valid, is copied and is dropped again.
  text.push_back('\0');
  std::string repaired;
  repaired.reserve(text.size());
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired), '?');
  if (!repaired.empty() && repaired.back() == '\0') {
    repaired.pop_back();
  }
  return UndefinedBehaviourIfNone(UTF8String::Create(std::move(repaired)));
}

VELVALUE ToVelValue(const boost::posix_time::ptime& time, VelValueType expectedType) {
  VELVALUE unstorable;
  if (time.is_special() || time < FirstStorableTime() || time > LastStorableTime()) {
    return unstorable;
  }
  const boost::gregorian::date day = time.date();
  const boost::posix_time::time_duration timeOfDay = time.time_of_day();
  std::tm fields{};
  fields.tm_year = day.year() - 1900;
  fields.tm_mon = day.month() - 1;
  fields.tm_mday = day.day();
  fields.tm_hour = static_cast<int>(timeOfDay.hours());
  fields.tm_min = static_cast<int>(timeOfDay.minutes());
  fields.tm_sec = static_cast<int>(timeOfDay.seconds());
  fields.tm_isdst = -1; // let the local time zone decide
  fields.tm_wday = -1;  // mktime sets it only on success
  const std::time_t seconds = std::mktime(&fields);
  if (seconds == static_cast<std::time_t>(-1) && fields.tm_wday == -1) {
    // A local time that the platform's time_t cannot hold.
    return unstorable;
  }
  // Built with its type (not retagged) so that its status reads as a set
  // value, like every other decoded record.
  VELVALUE result(expectedType);
  result.tmVal.Clear(true);
  result.tmVal = static_cast<long>(seconds);
  return result;
}

} // namespace Avo
