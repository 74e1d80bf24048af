#include "AvoObjectModel/GroupValueVelValue.h"

#include "LogCapture.h"
#include "VelValueSamples.h"

#include <boost/optional/optional_io.hpp> // prints expected and actual results

#include <gtest/gtest.h>

#include <algorithm> // std::generate
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace AvoTest;
using Bytes = std::vector<std::uint8_t>;
using W = VelWeekDays::WEEK_DAY_TYPES;

constexpr Avo::PackedDpt Dpt(std::uint32_t main, std::uint32_t sub) { return main << 16 | sub; }

// A record of a date or time type in local time, as the bridge reads and writes them.
VELVALUE Time(VelValueType type, std::uint16_t year, std::uint8_t month, std::uint8_t day,
              std::uint8_t hour = 0, std::uint8_t minute = 0, std::uint8_t second = 0,
              std::uint16_t weekday = 0, bool valid = false) {
  return Tm(type, VELTIME{year, month, day, hour, minute, second, 0, weekday, 0, true, valid});
}

// A group value over bytes with the given defined size (8 bits a byte when 0).
KnxStack::GroupValue Group(const Bytes& bytes, unsigned int bitSize = 0) {
  return {KnxStack::BinaryData(bytes),
          bitSize != 0 ? bitSize : 8 * static_cast<unsigned int>(bytes.size())};
}

TEST(Bridge, EverySupportedMainNumberGoesOutAndComesBack) {
  const struct {
    const char* dpts; // encoded alike
    VELVALUE sent;
    std::string wire;
    unsigned int bits;
    boost::optional<VELVALUE> received; // where it differs from sent
  } cases[] = {{"1.1", Avo::MakeBoolVelValue(true), "01", 1, {}},
               {"2.1", U8(ivtByte, 3), "03", 2, {}},
               {"3.7", U8(ivtByte, 0x0B), "0B", 4, {}},
               {"5.1 18.1 20.102 21.1 26.1 238.600", U8(ivtByte, 3), "03", 8, {}},
               {"17.1", U8(ivtByte, 63), "3F", 8, {}},   // the highest scene number
               {"6.10", U8(ivtByte, 0xF6), "F6", 8, {}}, // -10
               {"7.1 22.101 217.1 234.1 237.600", Avo::MakeWordVelValue(0x0102), "01 02", 16, {}},
               {"8.1", Avo::MakeIntegerVelValue(-300), "FE D4", 16, {}},
               {"9.1", Avo::MakeFloatVelValue(21.5), "0C 33", 16, {}},
               // The date of a time of day is not sent: it comes back as 1 January 2000.
               {"10.1", Time(ivtDayTime, 2024, 5, 8, 10, 20, 30, W::WEDNESDAY), "6A 14 1E", 24,
                Time(ivtDayTime, 2000, 1, 1, 10, 20, 30, W::WEDNESDAY, true)},
               // Dates come back set, with their weekday.
               {"11.1", Time(ivtDate, 2024, 5, 6), "06 05 18", 24,
                Time(ivtDate, 2024, 5, 6, 0, 0, 0, W::MONDAY, true)},
               {"12.1 15.0 27.1", U32(ivtDWord, 0xEE6B2800), "EE 6B 28 00", 32, {}},
               {"13.1", Avo::MakeIntegerVelValue(-2), "FF FF FF FE", 32, {}},
               {"14.0", Avo::MakeFloatVelValue(1.5), "3F C0 00 00", 32, {}},
               // The euro sign has no Latin-1 byte: it goes out and comes back as "?".
               {"16.1", Avo::MakeStringVelValue("\xC3\xBC \xE2\x82\xAC"),
                "FC 20 3F 00 00 00 00 00 00 00 00 00 00 00", 112,
                Avo::MakeStringVelValue("\xC3\xBC ?")},
               // Sunday: day of week 7 beside the hour; the no-working-day flag.
               {"19.1", Time(ivtDateTime, 2024, 5, 5, 10, 20, 30), "7C 05 05 EA 14 1E 20 00", 64,
                Time(ivtDateTime, 2024, 5, 5, 10, 20, 30, W::SUNDAY, true)},
               {"232.600", Avo::MakeDWordVelValue(0x00FF8000), "FF 80 00", 24, {}}};
  ScopedLogCapture capture(log4cplus::OFF_LOG_LEVEL);
  for (const auto& c : cases) {
    std::istringstream dpts(c.dpts);
    for (std::uint32_t main = 0, sub = 0; dpts >> main && dpts.ignore() >> sub;) {
      SCOPED_TRACE(::testing::Message() << "DPT " << main << "." << sub);
      const auto sent = Avo::VelValueToGroupValue(c.sent, Dpt(main, sub));
      ASSERT_TRUE(sent);
      EXPECT_EQ(sent->GetRawData().ToString(), c.wire);
      EXPECT_EQ(sent->GetDefinedSize(), c.bits);
      EXPECT_EQ(Avo::GroupValueToVelValue(*sent, Dpt(main, sub)), c.received.value_or(c.sent));
    }
    EXPECT_TRUE(dpts.eof()) << c.dpts; // every DPT of the row was read
  }
}

TEST(Bridge, DirectionsThatDifferOnPurpose) {
  ScopedLogCapture capture(log4cplus::OFF_LOG_LEVEL);
  // DPT 23 goes out as 2 bits but is received as a byte: its own 2-bit
  // value fails the size check, an 8-bit one decodes.
  const auto twoBits = Avo::VelValueToGroupValue(U8(ivtByte, 2), Dpt(23, 1));
  EXPECT_EQ(twoBits.value().GetDefinedSize(), 2u);
  EXPECT_FALSE(Avo::GroupValueToVelValue(*twoBits, Dpt(23, 1)));
  EXPECT_EQ(Avo::GroupValueToVelValue(Group({0x02}), Dpt(23, 1)), U8(ivtByte, 2));
  // Main 31 (a 3-bit mode field) is decoded only (see the encoding test).
  EXPECT_EQ(Avo::GroupValueToVelValue(Group({0x0D}, 3), Dpt(31, 1)), U8(ivtByte, 5));
  // Known main numbers without a decoding, and dates beyond 2038, come back
  // as an engaged empty record.
  EXPECT_EQ(Avo::GroupValueToVelValue(Group({0x07}), Dpt(25, 1)), VELVALUE());
  const auto late = Avo::VelValueToGroupValue(Time(ivtDate, 2050, 1, 1), Dpt(11, 1));
  EXPECT_EQ(Avo::GroupValueToVelValue(late.value(), Dpt(11, 1)), VELVALUE());
}

TEST(Bridge, EncodingClampsRefusesAndLogs) {
  const struct {
    Avo::PackedDpt dpt;
    VELVALUE value;
    std::string wire;  // "none" when nothing is sent
    std::string error; // the one ERROR line, "" for none
  } cases[] = {
      {Dpt(7, 1), U32(ivtWord, 65535), "FF FF", ""},
      {Dpt(7, 1), U32(ivtWord, 65536), "FF FF", "Value out of range: 65536 (DPT 7)"},
      {Dpt(8, 1), Lng(ivtInteger, -32768), "80 00", ""},
      {Dpt(8, 1), Lng(ivtInteger, -32769), "80 00", "Value out of range: -32769 (DPT 8)"},
      {Dpt(8, 1), Lng(ivtInteger, 32767), "7F FF", ""},
      {Dpt(8, 1), Lng(ivtInteger, 32768), "7F FF", "Value out of range: 32768 (DPT 8)"},
      {Dpt(9, 1), Dbl(ivtFloat, -std::numeric_limits<double>::infinity()), "none", ""},
      {Dpt(9, 1), Dbl(ivtFloat, std::numeric_limits<double>::quiet_NaN()), "7F FF", ""},
      {Dpt(17, 1), U8(ivtByte, 64), "none", ""},
      {Dpt(11, 1), Time(ivtDate, 2089, 12, 31), "1F 0C 59", ""},
      {Dpt(11, 1), Time(ivtDate, 2023, 2, 29), "none", "Not a valid date: 2023 2 29 "},
      {Dpt(11, 1), Time(ivtDate, 1989, 12, 31), "none", "Not a valid date: 1989 12 31 "},
      {Dpt(11, 1), Time(ivtDate, 2090, 1, 1), "none", "Not a valid date: 2090 1 1 "},
      {Dpt(10, 1), Time(ivtDayTime, 2024, 5, 6, 24, 0, 0, W::SUNDAY), "none",
       "Could not convert VELTIME 2024 5 6 24 0 0 0 64 0 1 0 to TimeOfDay"},
      {Dpt(16, 1), Str(ivtString, "ab\xFF"), "none",
       "Got VELVALUE that contains a non-UTF8 string"},
      // Hours roll into the next day (a Thursday); the year byte wraps.
      {Dpt(19, 1), Time(ivtDateTime, 2155, 12, 31, 30), "00 01 01 86 00 00 20 00", ""},
      // No such month: sent as the fault value.
      {Dpt(19, 1), Time(ivtDateTime, 2024, 13, 1, 10), "00 00 00 00 00 00 BE 00",
       "Could not convert VELTIME 2024 13 1 10 0 0 0 0 0 1 0 to TimeOfDay"},
      // The type is checked before anything else.
      {Dpt(7, 1), U32(ivtDWord, 70000), "none",
       "Value type mismatch: Expected 'Word', got 'DWord'"},
      {Dpt(300, 1), U8(ivtByte, 1), "none", "Value type mismatch: Expected 'Empty', got 'Byte'"},
      // Main 31 is decoded only.
      {Dpt(31, 1), U8(ivtByte, 5), "none",
       "Value type 31 not supported (dwDPT=2031617 with value='ivt: 6, ToString(): Byte 5')."},
      // Main 232 sends the low 24 bits only.
      {Dpt(232, 600), U32(ivtDWord, 0x12FF8000), "FF 80 00", ""}};
  for (const auto& c : cases) {
    ScopedLogCapture capture;
    const auto encoded = Avo::VelValueToGroupValue(c.value, c.dpt);
    EXPECT_EQ(encoded ? encoded->GetRawData().ToString() : "none", c.wire);
    const auto error = Line(log4cplus::ERROR_LOG_LEVEL, c.error, "VelValueToGroupValue");
    EXPECT_EQ(capture.Lines(), c.error.empty() ? std::vector<LogLine>{} : std::vector{error});
  }
}

TEST(Bridge, DecodingRefusesWithOneLine) {
  const auto error = log4cplus::ERROR_LOG_LEVEL, warn = log4cplus::WARN_LOG_LEVEL;
  const std::string badDate = "Received an invalid DPT 11.001 date from the KNX: ";
  const struct {
    Avo::PackedDpt dpt;
    KnxStack::GroupValue value;
    log4cplus::LogLevel level;
    std::string text; // the last line
  } cases[] = {
      {Dpt(32, 1), Group({0x01}), error, "Unsupported DPT: 32.1"},
      {Dpt(4, 1), Group({0x41}), error, "Unsupported DPT: 4.1"},
      {Dpt(10, 1), Group({0x19, 0x00, 0x00}), error,
       "Received invalid value 19 00 00 for DPT 10.1"},
      // Unknown to the converter, so unchecked; too short for its encoding.
      {Dpt(22, 1), Group({0x12}), error, "Received invalid value 12 for DPT 22.1"},
      {Dpt(11, 1), Group({0x06, 0x05, 0x18, 0x00}, 24), warn,
       badDate + "Length in bytes is 4, expected 3"},
      {Dpt(11, 1), Group({0x06, 0x05, 0x64}), warn, badDate + "Year 100 is out of range (0-99)"}};
  for (const auto& c : cases) {
    ScopedLogCapture capture(log4cplus::WARN_LOG_LEVEL);
    EXPECT_FALSE(Avo::GroupValueToVelValue(c.value, c.dpt)) << c.text;
    const auto lines = capture.Lines(); // the converter's reasons come first
    EXPECT_EQ(lines.empty() ? LogLine() : lines.back(),
              Line(c.level, c.text, "GroupValueToVelValue"));
  }
  ScopedLogCapture capture;
  EXPECT_TRUE(Avo::CheckGroupValue(Group({0x12}), Dpt(22, 1))); // unknown DPTs are accepted
  const auto checked =
      Line(log4cplus::TRACE_LOG_LEVEL, "DPT is 22.1 with bit size 8", "CheckGroupValue");
  EXPECT_THAT(capture.Lines(), ::testing::Contains(checked));
}

// Every main number with records of every value type to encode, and with
// group values of 0 to 14 random bytes to check and decode (many times over
// for the main numbers up to 255), of 8 bits a byte, the short form or any size.
TEST(BadInput, EveryMainNumberWithAnyInputNeverThrows) {
  std::vector<VELVALUE> records;
  for (const VelValueType type : kAllTypes) {
    records.push_back(Time(type, 65535, 255, 255, 255, 255, 255, 0xFFFF)); // every byte set
    records.back().strVal = "\xC3";
    records.push_back(Dbl(type, -std::numeric_limits<double>::infinity()));
  }
  std::mt19937 random(5);
  for (std::uint32_t main = 0; main <= 0xFFFF; ++main) {
    // Lines are formatted only for the main numbers that the bridge knows, to
    // keep the sweep fast.
    ScopedLogCapture capture(main < 300 ? log4cplus::TRACE_LOG_LEVEL : log4cplus::OFF_LOG_LEVEL);
    for (const VELVALUE& record : records) {
      EXPECT_NO_THROW(Avo::VelValueToGroupValue(record, Dpt(main, 1))) << main << " " << record;
    }
    for (std::uint32_t round = 0; round < (main <= 255 ? 60U : 1U); ++round) {
      Bytes bytes(main <= 255 ? round % 15 : main % 15);
      std::generate(bytes.begin(), bytes.end(),
                    [&] { return static_cast<std::uint8_t>(random()); });
      const unsigned int sizes[] = {0, 6, static_cast<unsigned int>(random() % 256)};
      const auto value = Group(bytes, sizes[random() % 3]);
      const Avo::PackedDpt dpt = Dpt(main, random() % 4 == 0 ? random() % 256 : 1);
      EXPECT_NO_THROW(Avo::CheckGroupValue(value, dpt));
      // Not even the calendar exceptions that decoding lets through: the
      // converter's check keeps impossible dates away.
      EXPECT_NO_THROW({
        const auto decoded = Avo::GroupValueToVelValue(value, dpt);
        EXPECT_TRUE(!decoded || decoded->ivt == ivtEmpty ||
                    decoded->ivt == Avo::KnxKelMapping::GetIvtFromDpt(dpt));
      });
    }
  }
}

} // namespace
