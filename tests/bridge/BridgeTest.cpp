#include "AvoObjectModel/GroupValueVelValue.h"

#include "LogCapture.h"

#include <boost/date_time/gregorian/greg_day.hpp> // bad_day_of_month
#include <boost/date_time/gregorian/greg_month.hpp> // bad_month

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using Avo::MakeByteVelValue;
using Avo::MakeDWordVelValue;
using Avo::MakeIntegerVelValue;
using Avo::MakeWordVelValue;
using AvoTest::Line;
using AvoTest::LogLine;

using Bytes = std::vector<std::uint8_t>;

constexpr Avo::PackedDpt Dpt(std::uint32_t main, std::uint32_t sub) { return main << 16 | sub; }

// A record of a date or time type with the given fields (weekday as a mask).
VELVALUE TimeValue(VelValueType type, int year, int month, int day, int hour = 0, int minute = 0,
                   int second = 0, std::uint16_t weekday = 0) {
  VELVALUE value(type);
  value.tmVal.Clear(true);
  value.tmVal.year = static_cast<std::uint16_t>(year);
  value.tmVal.month = static_cast<std::uint8_t>(month);
  value.tmVal.day = static_cast<std::uint8_t>(day);
  value.tmVal.hour = static_cast<std::uint8_t>(hour);
  value.tmVal.minute = static_cast<std::uint8_t>(minute);
  value.tmVal.second = static_cast<std::uint8_t>(second);
  value.tmVal.weekday = weekday;
  return value;
}

// A group value over bytes with the given defined size (8 bits a byte when 0).
KnxStack::GroupValue Group(const Bytes& bytes, unsigned int bitSize = 0) {
  const auto size = static_cast<unsigned int>(bytes.size());
  return KnxStack::GroupValue(KnxStack::BinaryData(bytes.data(), size),
                              bitSize != 0 ? bitSize : 8 * size);
}

Bytes BytesOf(const KnxStack::GroupValue& value) { return value.GetRawData().GetBytes(); }

// Dates and times compare by date and time of day (the rest of the time
// record follows from them), other records by ==.
bool SameValue(const VELVALUE& left, const VELVALUE& right) {
  const VELTIME& a = left.tmVal;
  const VELTIME& b = right.tmVal;
  const bool timeType = left.ivt == ivtDate || left.ivt == ivtDateTime || left.ivt == ivtDayTime;
  return left.ivt == right.ivt &&
         (timeType ? a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
                         a.minute == b.minute && a.second == b.second &&
                         (left.ivt != ivtDayTime || a.weekday == b.weekday)
                   : left == right);
}

struct RoundTrip {
  Avo::PackedDpt dpt;
  VELVALUE sent;
  Bytes wire;
  unsigned int bits;
  boost::optional<VELVALUE> received; // where it differs from sent
};

TEST(Bridge, EverySupportedMainNumberGoesOutAndComesBack) {
  const RoundTrip cases[] = {
      {Dpt(1, 1), Avo::MakeBoolVelValue(true), {0x01}, 1, {}},
      {Dpt(2, 1), MakeByteVelValue(3), {0x03}, 2, {}},
      {Dpt(3, 7), MakeByteVelValue(0x0B), {0x0B}, 4, {}},
      {Dpt(5, 1), MakeByteVelValue(200), {0xC8}, 8, {}},
      {Dpt(6, 10), MakeByteVelValue(0xF6), {0xF6}, 8, {}}, // -10
      {Dpt(7, 1), MakeWordVelValue(0x1234), {0x12, 0x34}, 16, {}},
      {Dpt(8, 1), MakeIntegerVelValue(-300), {0xFE, 0xD4}, 16, {}},
      {Dpt(9, 1), Avo::MakeFloatVelValue(21.5), {0x0C, 0x33}, 16, {}},
      // The date of a time of day is not sent: it comes back as 1 January 2000.
      {Dpt(10, 1),
       TimeValue(ivtDayTime, 2024, 5, 8, 10, 20, 30, VelWeekDays::WEDNESDAY),
       {0x6A, 0x14, 0x1E},
       24,
       TimeValue(ivtDayTime, 2000, 1, 1, 10, 20, 30, VelWeekDays::WEDNESDAY)},
      {Dpt(11, 1), TimeValue(ivtDate, 2024, 5, 6), {0x06, 0x05, 0x18}, 24, {}},
      {Dpt(12, 1), MakeDWordVelValue(4000000000U), {0xEE, 0x6B, 0x28, 0x00}, 32, {}},
      {Dpt(13, 1), MakeIntegerVelValue(-2), {0xFF, 0xFF, 0xFF, 0xFE}, 32, {}},
      {Dpt(14, 0), Avo::MakeFloatVelValue(1.5), {0x3F, 0xC0, 0x00, 0x00}, 32, {}},
      {Dpt(15, 0), MakeDWordVelValue(0x12345678), {0x12, 0x34, 0x56, 0x78}, 32, {}},
      // The euro sign has no Latin-1 byte: it goes out and comes back as "?".
      {Dpt(16, 1),
       Avo::MakeStringVelValue("Gr\xC3\xBC\xC3\x9F"
                               "e \xE2\x82\xAC"),
       {'G', 'r', 0xFC, 0xDF, 'e', ' ', '?', 0, 0, 0, 0, 0, 0, 0},
       112,
       Avo::MakeStringVelValue("Gr\xC3\xBC\xC3\x9F"
                               "e ?")},
      {Dpt(17, 1), MakeByteVelValue(63), {0x3F}, 8, {}},
      {Dpt(18, 1), MakeByteVelValue(0x81), {0x81}, 8, {}},
      // Sunday: day of week 7 beside the hour; the no-working-day flag.
      {Dpt(19, 1),
       TimeValue(ivtDateTime, 2024, 5, 5, 10, 20, 30),
       {0x7C, 0x05, 0x05, 0xEA, 0x14, 0x1E, 0x20, 0x00},
       64,
       {}},
      {Dpt(20, 102), MakeByteVelValue(3), {0x03}, 8, {}},
      {Dpt(21, 1), MakeByteVelValue(0xA5), {0xA5}, 8, {}},
      {Dpt(22, 101), MakeWordVelValue(0x0102), {0x01, 0x02}, 16, {}},
      {Dpt(26, 1), MakeByteVelValue(0x40), {0x40}, 8, {}},
      {Dpt(27, 1), MakeDWordVelValue(0x0000FFFF), {0x00, 0x00, 0xFF, 0xFF}, 32, {}},
      {Dpt(217, 1), MakeWordVelValue(0x2A01), {0x2A, 0x01}, 16, {}},
      {Dpt(232, 600), MakeDWordVelValue(0x00FF8000), {0xFF, 0x80, 0x00}, 24, {}},
      {Dpt(234, 1), MakeWordVelValue(0x656E), {0x65, 0x6E}, 16, {}},
      {Dpt(237, 600), MakeWordVelValue(0x001F), {0x00, 0x1F}, 16, {}},
      {Dpt(238, 600), MakeByteVelValue(0x11), {0x11}, 8, {}},
  };
  // At INFO or above only the converter's acceptance of DPTs it does not
  // know: no error of the bridge, no decode near the 100 ms report.
  AvoTest::ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  for (const RoundTrip& c : cases) {
    SCOPED_TRACE(::testing::Message() << "DPT " << (c.dpt >> 16) << "." << (c.dpt & 0xFFFF));
    const auto sent = Avo::VelValueToGroupValue(c.sent, c.dpt);
    ASSERT_TRUE(sent);
    EXPECT_EQ(BytesOf(*sent), c.wire);
    EXPECT_EQ(sent->GetDefinedSize(), c.bits);
    const auto received = Avo::GroupValueToVelValue(*sent, c.dpt);
    ASSERT_TRUE(received);
    EXPECT_TRUE(SameValue(*received, c.received.value_or(c.sent))) << *received;
  }
  EXPECT_THAT(capture.Lines(),
              ::testing::Each(::testing::Field(&LogLine::function,
                                               ::testing::AnyOf("GetEntry", "FromKnxValue"))));
}

TEST(Bridge, DirectionsThatDifferOnPurpose) {
  AvoTest::ScopedLogCapture capture(log4cplus::OFF_LOG_LEVEL);
  // DPT 23 goes out as 2 bits but is received as a byte: its own 2-bit
  // value fails the size check, an 8-bit one decodes.
  const auto twoBits = Avo::VelValueToGroupValue(MakeByteVelValue(2), Dpt(23, 1));
  EXPECT_EQ(twoBits.value().GetDefinedSize(), 2u);
  EXPECT_FALSE(Avo::GroupValueToVelValue(*twoBits, Dpt(23, 1)));
  EXPECT_TRUE(Avo::GroupValueToVelValue(Group({0x02}), Dpt(23, 1)) == MakeByteVelValue(2));
  // Main 31 (a 3-bit mode field) is decoded only.
  EXPECT_TRUE(Avo::GroupValueToVelValue(Group({0x05}, 3), Dpt(31, 1)) == MakeByteVelValue(5));
  EXPECT_FALSE(Avo::VelValueToGroupValue(MakeByteVelValue(5), Dpt(31, 1)));
  // Main 232 sends the low 24 bits only.
  EXPECT_EQ(
      BytesOf(Avo::VelValueToGroupValue(MakeDWordVelValue(0x12FF8000), Dpt(232, 600)).value()),
      (Bytes{0xFF, 0x80, 0x00}));
  // Known main numbers without a decoding, and dates beyond 2038, come back
  // as an engaged empty record.
  EXPECT_TRUE(Avo::GroupValueToVelValue(Group({0x07}), Dpt(25, 1)) == VELVALUE());
  const auto late = Avo::VelValueToGroupValue(TimeValue(ivtDate, 2050, 1, 1), Dpt(11, 1));
  EXPECT_TRUE(Avo::GroupValueToVelValue(late.value(), Dpt(11, 1)) == VELVALUE());
  // The default of every byte DPT is a value that the bus accepts, 6.020's
  // (whose mode field must name one mode) included.
  for (const Avo::PackedDpt dpt :
       {Dpt(2, 1), Dpt(3, 7), Dpt(5, 6), Dpt(6, 1), Dpt(6, 20), Dpt(17, 1), Dpt(18, 1),
        Dpt(20, 102), Dpt(21, 1), Dpt(26, 1), Dpt(238, 600)}) {
    VELVALUE value;
    ASSERT_TRUE(value.Deserialize(Avo::KnxKelMapping::GetDefaultValueFromDpt(dpt, false)));
    EXPECT_TRUE(Avo::CheckGroupValue(Avo::VelValueToGroupValue(value, dpt).value(), dpt))
        << (dpt >> 16);
  }
  EXPECT_FALSE(Avo::CheckGroupValue(Group({0x00}), Dpt(6, 20)));
}

struct Encoding {
  Avo::PackedDpt dpt;
  VELVALUE value;
  boost::optional<Bytes> wire;
  std::string error; // the one ERROR line, "" for none
};

VELVALUE WideWord(std::uint32_t number) {
  VELVALUE value(ivtWord);
  value.dwVal = number;
  return value;
}

std::string Mismatch(VelValueType expected, VelValueType got) {
  return "Value type mismatch: Expected '" + VELVALUE::GetNameFromValueType(expected) + "', got '" +
         VELVALUE::GetNameFromValueType(got) + "'";
}

TEST(Bridge, EncodingClampsRefusesAndLogs) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Encoding cases[] = {
      {Dpt(7, 1), WideWord(65535), Bytes{0xFF, 0xFF}, ""},
      {Dpt(7, 1), WideWord(65536), Bytes{0xFF, 0xFF}, "Value out of range: 65536 (DPT 7)"},
      {Dpt(237, 600), WideWord(70000), Bytes{0xFF, 0xFF}, "Value out of range: 70000 (DPT 237)"},
      {Dpt(8, 1), MakeIntegerVelValue(-32768), Bytes{0x80, 0x00}, ""},
      {Dpt(8, 1), MakeIntegerVelValue(-32769), Bytes{0x80, 0x00},
       "Value out of range: -32769 (DPT 8)"},
      {Dpt(8, 1), MakeIntegerVelValue(32767), Bytes{0x7F, 0xFF}, ""},
      {Dpt(8, 1), MakeIntegerVelValue(32768), Bytes{0x7F, 0xFF},
       "Value out of range: 32768 (DPT 8)"},
      {Dpt(9, 1), Avo::MakeFloatVelValue(-infinity), boost::none, ""},
      {Dpt(9, 1), Avo::MakeFloatVelValue(std::numeric_limits<double>::quiet_NaN()),
       Bytes{0x7F, 0xFF}, ""},
      {Dpt(17, 1), MakeByteVelValue(64), boost::none, ""},
      {Dpt(11, 1), TimeValue(ivtDate, 2089, 12, 31), Bytes{0x1F, 0x0C, 0x59}, ""},
      {Dpt(11, 1), TimeValue(ivtDate, 2023, 2, 29), boost::none, "Not a valid date: 2023 2 29 "},
      {Dpt(11, 1), TimeValue(ivtDate, 1989, 12, 31), boost::none, "Not a valid date: 1989 12 31 "},
      {Dpt(11, 1), TimeValue(ivtDate, 2090, 1, 1), boost::none, "Not a valid date: 2090 1 1 "},
      {Dpt(10, 1), TimeValue(ivtDayTime, 2024, 5, 6, 24, 0, 0, 64), boost::none,
       "Could not convert VELTIME 2024 5 6 24 0 0 0 64 0 1 0 to TimeOfDay"},
      {Dpt(16, 1), Avo::MakeStringVelValue("ab\xFF"), boost::none,
       "Got VELVALUE that contains a non-UTF8 string"},
      // Hours roll into the next day (a Thursday); the year byte wraps.
      {Dpt(19, 1), TimeValue(ivtDateTime, 2155, 12, 31, 30), Bytes{0, 1, 1, 0x86, 0, 0, 0x20, 0},
       ""},
      // No such month: sent as the fault value.
      {Dpt(19, 1), TimeValue(ivtDateTime, 2024, 13, 1, 10), Bytes{0, 0, 0, 0, 0, 0, 0xBE, 0},
       "Could not convert VELTIME 2024 13 1 10 0 0 0 0 0 1 0 to TimeOfDay"},
      // The type is checked before anything else.
      {Dpt(9, 1), MakeIntegerVelValue(1), boost::none, Mismatch(ivtFloat, ivtInteger)},
      {Dpt(7, 1), MakeDWordVelValue(70000), boost::none, Mismatch(ivtWord, ivtDWord)},
      {Dpt(300, 1), MakeByteVelValue(1), boost::none, Mismatch(ivtEmpty, ivtByte)},
      {Dpt(4, 1), VELVALUE(), boost::none,
       "Value type 4 not supported (dwDPT=262145 with value='ivt: 1, ToString(): " +
           VELVALUE().ToString() + "')."},
  };
  for (const Encoding& c : cases) {
    SCOPED_TRACE(c.value.ToString() + " for main " + std::to_string(c.dpt >> 16));
    AvoTest::ScopedLogCapture capture;
    const auto encoded = Avo::VelValueToGroupValue(c.value, c.dpt);
    ASSERT_EQ(static_cast<bool>(encoded), static_cast<bool>(c.wire));
    EXPECT_TRUE(!encoded || BytesOf(*encoded) == *c.wire);
    EXPECT_EQ(capture.Lines(), c.error.empty()
                                   ? std::vector<LogLine>{}
                                   : std::vector<LogLine>{Line(log4cplus::ERROR_LOG_LEVEL, c.error,
                                                               "VelValueToGroupValue")});
  }
}

struct Refusal {
  Avo::PackedDpt dpt;
  KnxStack::GroupValue value;
  log4cplus::LogLevel level;
  std::string text; // the last line
};

TEST(Bridge, DecodingRefusesWithOneLine) {
  const Refusal cases[] = {
      {Dpt(32, 1), Group({0x01}), log4cplus::ERROR_LOG_LEVEL, "Unsupported DPT: 32.1"},
      {Dpt(4, 1), Group({0x41}), log4cplus::ERROR_LOG_LEVEL, "Unsupported DPT: 4.1"},
      {Dpt(9, 1), Group({0x00, 0x00, 0x0C, 0x33}), log4cplus::ERROR_LOG_LEVEL,
       "Received invalid value 00 00 0C 33 for DPT 9.1"},
      {Dpt(10, 1), Group({0x19, 0x00, 0x00}), log4cplus::ERROR_LOG_LEVEL,
       "Received invalid value 19 00 00 for DPT 10.1"},
      // Unknown to the converter, so unchecked; too short for its encoding.
      {Dpt(22, 1), Group({0x12}), log4cplus::ERROR_LOG_LEVEL,
       "Received invalid value 12 for DPT 22.1"},
      {Dpt(11, 1), Group({0x06, 0x05, 0x18, 0x00}, 24), log4cplus::WARN_LOG_LEVEL,
       "Received an invalid DPT 11.001 date from the KNX: Length in bytes is 4, expected 3"},
      {Dpt(11, 1), Group({0x06, 0x05, 0x64}), log4cplus::WARN_LOG_LEVEL,
       "Received an invalid DPT 11.001 date from the KNX: Year 100 is out of range (0-99)"},
  };
  for (const Refusal& c : cases) {
    AvoTest::ScopedLogCapture capture(log4cplus::WARN_LOG_LEVEL);
    EXPECT_FALSE(Avo::GroupValueToVelValue(c.value, c.dpt)) << c.text;
    ASSERT_FALSE(capture.Lines().empty()) << c.text;
    EXPECT_EQ(capture.Lines().back(), Line(c.level, c.text, "GroupValueToVelValue"));
  }
  AvoTest::ScopedLogCapture capture;
  EXPECT_TRUE(Avo::CheckGroupValue(Group({0x12}), Dpt(22, 1))); // unknown DPTs are accepted
  EXPECT_THAT(capture.Lines(),
              ::testing::Contains(Line(log4cplus::TRACE_LOG_LEVEL, "DPT is 22.1 with bit size 8",
                                       "CheckGroupValue")));
}

TEST(BadInput, EveryMainNumberWithEveryValueTypeEncodesWithoutThrowing) {
  std::vector<VELVALUE> records;
  for (const VelValueType type :
       {ivtNone,      ivtEmpty,    ivtBool,        ivtFloat,     ivtInteger,  ivtShort,
        ivtByte,      ivtWord,     ivtDWord,       ivtData40,    ivtString,   ivtDate,
        ivtTime,      ivtDateTime, ivtTimeLag,     ivtDayTime,   ivtQWord,    ivtTimestamp,
        ivtTimeSpan,  ivtDayDate,  ivtUtcDateTime, ivtByteArray, ivtEnumByte, ivtPercent,
        ivtStepBytes, ivtAngle}) {
    records.push_back(TimeValue(type, 65535, 255, 255, 255, 255, 255, 0xFFFF)); // every byte set
    records.back().strVal = "\xC3";
    records.emplace_back(type);
    records.back().dblVal = -std::numeric_limits<double>::infinity();
  }
  for (std::uint32_t main = 0; main <= 0xFFFF; ++main) {
    // Lines are formatted for the main numbers that the bridge knows only,
    // to keep the sweep fast.
    AvoTest::ScopedLogCapture capture(main < 300 ? log4cplus::TRACE_LOG_LEVEL
                                                 : log4cplus::OFF_LOG_LEVEL);
    for (const VELVALUE& record : records) {
      EXPECT_NO_THROW(Avo::VelValueToGroupValue(record, Dpt(main, 1))) << main << " " << record;
    }
  }
}

TEST(BadInput, RandomGroupValuesDecodeWithoutOtherExceptions) {
  std::mt19937 random(5);
  int calendarExceptions = 0;
  AvoTest::ScopedLogCapture capture(log4cplus::OFF_LOG_LEVEL);
  // Every length of 0 to 14 bytes, many times over, for the main numbers up
  // to 255; one length each for the others. Sizes: 8 bits a byte, the short
  // form, or any.
  for (std::uint32_t main = 0; main <= 0xFFFF; ++main) {
    for (std::uint32_t round = 0; round < (main <= 255 ? 60U : 1U); ++round) {
      Bytes bytes(main <= 255 ? round % 15 : main % 15);
      for (auto& b : bytes) {
        b = static_cast<std::uint8_t>(random());
      }
      const unsigned int sizes[] = {0, 6, static_cast<unsigned int>(random() % 256)};
      const auto value = Group(bytes, sizes[random() % 3]);
      const Avo::PackedDpt dpt =
          Dpt(main, static_cast<std::uint32_t>(random() % 4 == 0 ? random() % 256 : 1));
      EXPECT_NO_THROW(Avo::CheckGroupValue(value, dpt));
      try {
        const auto decoded = Avo::GroupValueToVelValue(value, dpt);
        EXPECT_TRUE(!decoded || decoded->ivt == ivtEmpty ||
                    decoded->ivt == Avo::KnxKelMapping::GetIvtFromDpt(dpt));
      } catch (const boost::gregorian::bad_day_of_month&) {
        ++calendarExceptions;
      } catch (const boost::gregorian::bad_month&) {
        ++calendarExceptions;
      }
    }
  }
  // The converter's check keeps impossible calendar dates away.
  EXPECT_EQ(calendarExceptions, 0);
}

} // namespace
