#include "TestSupport.h"

#include <gtest/gtest.h>

#include <future>
#include <iterator>
#include <set>

namespace {

using namespace AvoTest;

VELVALUE Time(VelValueType type, std::uint16_t year, std::uint8_t month, std::uint8_t day,
              std::uint16_t weekday = 0, std::uint16_t dayOnly = 0) {
  return Tm(type, VELTIME{year, month, day, 10, 20, 30, 0, weekday, dayOnly, true, true});
}

/// A value, its bytes on the bus, and the value those bytes read back as;
/// no value: only read (the 2.x, 3.x and 18.x converters refuse their row's
/// own type on the way out).
struct Sample {
  KNXDPT dpt;
  VELVALUE value;
  std::vector<std::uint8_t> bytes;
  VELVALUE back;
};
Sample Same(KNXDPT dpt, const VELVALUE& value, std::vector<std::uint8_t> bytes) {
  return {dpt, value, std::move(bytes), value};
}

// clang-format off
const std::vector<Sample> kSamples = [] {
  const std::vector<std::uint8_t> hello = {'H', 'e', 'l', 'l', 'o', 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const std::vector<std::uint8_t> e14 = {0xE9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  std::vector<Sample> samples = {
      Same({1, 1, 1}, U8(ivtBool, 1), {0x01}),          Same({8, 4, 0}, Str(ivtString, "A"), {0x41}),
      Same({8, 4, 1}, Str(ivtString, "A"), {0x41}),           Same({8, 4, 2}, Str(ivtString, "\xC3\xA9"), {0xE9}),
      Same({8, 5, 1}, U8(ivtByte, 255), {0xFF}),           Same({8, 5, 6}, U8(ivtByte, 254), {0xFE}),
      Same({8, 6, 10}, Lng(ivtInteger, -5), {0xFB}),            Same({8, 6, 20}, U8(ivtByte, 0x0C), {0x0C}),
      Same({16, 7, 1}, U16(ivtWord, 65535), {0xFF, 0xFF}),  Same({16, 8, 1}, Lng(ivtInteger, -32768), {0x80, 0x00}),
      Same({32, 12, 1}, U32(ivtDWord, 4294967295U), {0xFF, 0xFF, 0xFF, 0xFF}),
      Same({32, 13, 1}, Lng(ivtInteger, -2147483647 - 1), {0x80, 0x00, 0x00, 0x00}),
      Same({32, 14, 0}, Dbl(ivtFloat, 1.5), {0x3F, 0xC0, 0x00, 0x00}),
      Same({32, 15, 0}, U32(ivtDWord, 0x12345678), {0x12, 0x34, 0x56, 0x78}), Same({112, 16, 0}, Str(ivtString, "Hello"), hello),
      Same({112, 16, 1}, Str(ivtString, "\xC3\xA9"), e14),    Same({8, 20, 1}, U8(ivtByte, 3), {0x03}),
      Same({8, 20, 102}, U8(ivtByte, 4), {0x04}),          Same({8, 20, 103}, U8(ivtByte, 4), {0x04}),
      Same({8, 21, 1}, U8(ivtByte, 0x81), {0x81}),         Same({8, 23, 1}, U8(ivtByte, 2), {0x02}),
      Same({8, 26, 1}, U8(ivtByte, 0x40), {0x40}),         Same({32, 27, 1}, U32(ivtDWord, 0x0001FFFF), {0, 1, 0xFF, 0xFF}),
      Same({24, 232, 600}, U32(ivtDWord, 0x00102030), {0x10, 0x20, 0x30}), Same({8, 236, 1}, U8(ivtByte, 9), {0x09}),
      Same({8, 238, 600}, U8(ivtByte, 1), {0x01}),
      {{8, 17, 1}, Lng(ivtInteger, 63), {0x3F}, U8(ivtByte, 63)},
      Same({24, 11, 1}, Tm(ivtDate, VELTIME{2024, 5, 6, 0, 0, 0, 0, 0, 0, true, true}), {0x06, 0x05, 0x18}),
      // Kept: 10.x registers the plain time type; its converter reads back a time of day with weekday.
      {{24, 10, 1}, Time(ivtTime, 0, 0, 0, VelWeekDays::WEDNESDAY), {0x6A, 0x14, 0x1E}, Time(ivtDayTime, 2000, 1, 1, VelWeekDays::WEDNESDAY, 1)},
      // Kept: the year goes out as its low byte but reads back as 1900 + byte.
      {{64, 19, 1}, Time(ivtDateTime, 2024, 5, 6), {0xE8, 5, 6, 10, 20, 30, 0x20, 0}, Time(ivtDateTime, 2132, 5, 6, VelWeekDays::TUESDAY)},
      // Values of up to 6 bits travel in the short form: defined size 6.
      {{6, 1, 1}, {}, {0x01}, U8(ivtBool, 1)},
      {{6, 2, 1}, {}, {0x03}, U8(ivtByte, 3)},
      {{6, 3, 7}, {}, {0x0B}, U8(ivtFloat, 11)},
      {{8, 18, 1}, {}, {0x81}, U8(ivtInteger, 0x81)},
  };
  for (std::uint16_t sub : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 20, 21, 22, 23, 24, 25, 26, 27, 28}) {
    samples.push_back(Same({16, 9, sub}, Dbl(ivtFloat, 21.5), {0x0C, 0x33}));
  }
  return samples;
}();
// clang-format on

/// What went wrong converting the samples `rounds` times: nothing, or per
/// sample what was written or read back instead.
std::string ConvertEverySample(int rounds) {
  std::string failures;
  for (int round = 0; round < rounds * static_cast<int>(kSamples.size()) && failures.empty();
       ++round) {
    const Sample& s = kSamples[round % kSamples.size()];
    KNXDPT dpt = s.dpt;
    KnxStack::GroupValue written;
    VELVALUE back;
    const bool wrote =
        s.value.ivt == ivtEmpty || (Initialised().ToKnxValue(dpt, s.value, written) &&
                                    written.GetRawData().GetBytes() == s.bytes);
    const bool read = Initialised().FromKnxValue(dpt, Group(s.bytes, s.dpt.bitSize), back);
    back.status = s.back.status; // set at construction, no concern of the converters
    if (!wrote || !read || back != s.back) {
      failures += s.dpt.ToString() + " written as " + written.GetRawData().ToString() +
                  ", read back as " + back.ToString();
    }
  }
  return failures;
}

// Init clears the map first: the converter used here is initialised twice,
// and holds 53 rows, each with a converter of its own and a sample, which
// convert their samples on four threads at once.
TEST(DptCatalogue, EveryRowConvertsItsSampleOnFourThreadsAtOnce) {
  const Avo::DptValueMap& map = Initialised().GetDptValueMap();
  std::set<const Avo::DptValueEntry*> rows;
  std::set<const Avo::KnxConverter*> converters;
  for (const Sample& s : kSamples) {
    rows.insert(&Initialised().GetEntry(s.dpt));
  }
  for (const Avo::DptValueEntry& row : map) { // each registered at its main number's standard size
    converters.insert(row.GetConverter());
    EXPECT_EQ(row.GetDpt().bitSize,
              Avo::KnxValueConverter::GetStandardBitSize(row.GetDpt().mainNumber))
        << row.GetDpt();
  }
  EXPECT_TRUE(rows.size() == 53 && converters.size() == 53 &&
              std::distance(map.begin(), map.end()) == 53);
  EXPECT_EQ(map.GetMainNumberCount(), 27U);
  const auto start = [] { return std::async(std::launch::async, ConvertEverySample, 50); };
  std::future<std::string> threads[] = {start(), start(), start(), start()};
  for (std::future<std::string>& thread : threads) {
    EXPECT_EQ(thread.get(), "");
  }
}

} // namespace
