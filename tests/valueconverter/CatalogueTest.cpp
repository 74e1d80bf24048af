#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <set>
#include <thread>

namespace {

using namespace AvoTest;

TEST(DptCatalogue, InitRegistersTheSameRowsEachTime) {
  Avo::KnxValueConverter converter;
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  const auto rows = [&converter] {
    std::vector<std::string> dpts;
    std::set<const Avo::KnxConverter*> converters;
    for (const Avo::DptValueEntry& row : converter.GetDptValueMap()) {
      dpts.push_back(DptText(row.GetDpt()));
      converters.insert(row.GetConverter());
    }
    EXPECT_EQ(converters.size(), dpts.size()) << "rows share a converter";
    return dpts;
  };
  converter.Init();
  const std::vector<std::string> first = rows();
  EXPECT_TRUE(converter.Init());
  EXPECT_EQ(rows(), first);
  EXPECT_EQ(first.size(), 53U);
  EXPECT_EQ(converter.GetDptValueMap().GetMainNumberCount(), 27U);
  EXPECT_EQ(converter.GetEntry({112, 16, 2}).GetValueSubType(), VelDP::vstAsciiString); // the 16.x row
  EXPECT_TRUE(capture.Lines().empty());
}

TEST(DptCatalogue, RangesBoundTheValuesOfTheirRows) {
  const struct {
    std::uint16_t sub;
    double low, high;
  } floats[] = {{0, -671088.64, 670760.96}, {9, -671088.64, 670760.96}, {1, -273, 670760},
                {2, -670760, 670760},       {4, 0, 670760},  {25, -670760, 670760}, {26, -671088.64, 670760.96},
                {27, -459.6, 670760.96},    {28, 0, 670760.96}};
  const ScopedLogCapture capture;
  const auto writes = [](KNXDPT dpt, const VELVALUE& value) {
    KnxStack::GroupValue gv;
    return Initialised().ToKnxValue(dpt, value, gv);
  };
  for (const auto& f : floats) {
    const KNXDPT dpt(16, 9, f.sub);
    EXPECT_TRUE(writes(dpt, Float(f.low)) && writes(dpt, Float(f.high))) << dpt;
    EXPECT_FALSE(writes(dpt, Float(std::nextafter(f.low, -1e9))) || writes(dpt, Float(std::nextafter(f.high, 1e9))));
  }
  EXPECT_TRUE(writes({8, 5, 1}, Byte(255)) && writes({8, 4, 2}, Text("\xC3\xA9")));
  EXPECT_FALSE(writes({8, 5, 6}, Byte(255)) || writes({8, 17, 1}, Int(64)) || writes({8, 4, 1}, Text("\xC3\xA9")));
  for (const auto& [dpt, byte, accepted] : {std::tuple<KNXDPT, std::uint8_t, bool>{{8, 20, 102}, 4, true},
                                            {{8, 20, 102}, 5, false}, {{8, 20, 1}, 5, true}, {{8, 5, 6}, 255, false}}) {
    KNXDPT requested = dpt;
    VELVALUE value;
    EXPECT_EQ(Initialised().FromKnxValue(requested, Group({byte}, 8), value), accepted) << dpt << " " << int{byte};
  }
}

VELVALUE Time(VelValueType type, unsigned short year, unsigned char month, unsigned char day) {
  VELVALUE value(type);
  value.tmVal.Clear(true);
  if (type == ivtDate) {
    value.tmVal.SetDate(year, month, day, true);
  } else if (type == ivtDateTime) {
    value.tmVal.SetDateTime(year, month, day, 10, 20, 30, true);
  } else { // a time of day on a Wednesday
    value.tmVal = VELTIME{year, month, day, 10, 20, 30, 0, VelWeekDays::WEDNESDAY, 0, true, false};
  }
  return value;
}

/// A value, its bytes on the bus, and the value those bytes read back as.
struct Sample {
  KNXDPT dpt;
  VELVALUE value;
  std::vector<std::uint8_t> bytes;
  VELVALUE back;
};

Sample Same(KNXDPT dpt, VELVALUE value, std::vector<std::uint8_t> bytes) { return {dpt, value, std::move(bytes), value}; }

std::vector<Sample> RoundTripSamples() {
  std::vector<std::uint8_t> hello = {'H', 'e', 'l', 'l', 'o'}, e14 = {0xE9};
  hello.resize(14);
  e14.resize(14);
  std::vector<Sample> samples = {
      Same({1, 1, 1}, Bool(true), {0x01}),         Same({8, 4, 0}, Text("A"), {0x41}),
      Same({8, 4, 1}, Text("A"), {0x41}),          Same({8, 4, 2}, Text("\xC3\xA9"), {0xE9}),
      Same({8, 5, 1}, Byte(255), {0xFF}),          Same({8, 5, 6}, Byte(254), {0xFE}),
      Same({8, 6, 10}, Int(-5), {0xFB}),           Same({8, 6, 20}, Byte(0x0C), {0x0C}),
      Same({16, 7, 1}, Word(65535), {0xFF, 0xFF}), Same({16, 8, 1}, Int(-32768), {0x80, 0x00}),
      // Kept: 10.x registers the plain time type; its converter reads back the time with weekday.
      {{24, 10, 1}, Time(ivtTime, 0, 0, 0), {0x6A, 0x14, 0x1E}, Time(ivtDayTime, 2000, 1, 1)},
      Same({24, 11, 1}, Time(ivtDate, 2024, 5, 6), {0x06, 0x05, 0x18}),
      Same({32, 12, 1}, DWord(4294967295U), {0xFF, 0xFF, 0xFF, 0xFF}),
      Same({32, 13, 1}, Int(-2147483647 - 1), {0x80, 0x00, 0x00, 0x00}),
      Same({32, 14, 0}, Float(1.5), {0x3F, 0xC0, 0x00, 0x00}),
      Same({32, 15, 0}, DWord(0x12345678), {0x12, 0x34, 0x56, 0x78}),
      Same({112, 16, 0}, Text("Hello"), hello),    Same({112, 16, 1}, Text("\xC3\xA9"), e14),
      {{8, 17, 1}, Int(63), {0x3F}, Byte(63)},
      // Kept: the year goes out as its low byte but reads back as 1900 + byte.
      {{64, 19, 1}, Time(ivtDateTime, 2024, 5, 6), {0xE8, 5, 6, 10, 20, 30, 0x20, 0}, Time(ivtDateTime, 2132, 5, 6)},
      Same({8, 20, 1}, Byte(3), {0x03}),           Same({8, 20, 102}, Byte(4), {0x04}),
      Same({8, 20, 103}, Byte(4), {0x04}),         Same({8, 21, 1}, Byte(0x81), {0x81}),
      Same({8, 23, 1}, Byte(2), {0x02}),           Same({8, 26, 1}, Byte(0x40), {0x40}),
      Same({32, 27, 1}, DWord(0x0001FFFF), {0, 1, 0xFF, 0xFF}),
      Same({24, 232, 600}, DWord(0x00102030), {0x10, 0x20, 0x30}),
      Same({8, 236, 1}, Byte(9), {0x09}),          Same({8, 238, 600}, Byte(1), {0x01}),
  };
  for (std::uint16_t sub : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 20, 21, 22, 23, 24, 25, 26, 27, 28}) {
    samples.push_back(Same({16, 9, sub}, Float(21.5), {0x0C, 0x33}));
  }
  return samples;
}

// Rows whose converter refuses the row's own value type on the way out: they only read.
std::vector<Sample> ReadOnlySamples() {
  VELVALUE step(ivtFloat), scene(ivtInteger);
  step.byVal = 11;
  scene.byVal = 0x81;
  return {{{2, 2, 1}, {}, {0x03}, Byte(3)}, {{4, 3, 7}, {}, {0x0B}, step}, {{8, 18, 1}, {}, {0x81}, scene}};
}

/// Empty when the sample converts as expected, else what went wrong. The
/// time-of-day converter fills time fields of its own: only the time is compared.
std::string Check(const Sample& s, bool write) {
  KnxStack::GroupValue gv = write ? KnxStack::GroupValue() : Group(s.bytes, s.dpt.bitSize);
  KNXDPT dpt = s.dpt;
  if (write && !(Initialised().ToKnxValue(dpt, s.value, gv) && gv.GetRawData().GetBytes() == s.bytes)) {
    return "written as " + gv.GetRawData().ToString();
  }
  VELVALUE back;
  const bool read = Initialised().FromKnxValue(dpt, gv, back);
  const VELTIME &a = back.tmVal, &b = s.back.tmVal;
  const bool same = s.back.ivt != ivtDayTime ? SameValue(back, s.back)
                                             : back.ivt == ivtDayTime && a.year == b.year && a.hour == b.hour &&
                                                   a.minute == b.minute && a.second == b.second && a.weekday == b.weekday;
  return read && same ? "" : "read back as " + back.ToString();
}

TEST(DptCatalogue, EveryRowConvertsItsSampleOnFourThreadsAtOnce) {
  std::set<const Avo::DptValueEntry*> covered;
  for (const bool write : {true, false}) {
    for (const Sample& s : write ? RoundTripSamples() : ReadOnlySamples()) {
      EXPECT_EQ(Check(s, write), "") << s.dpt;
      covered.insert(&Initialised().GetEntry(s.dpt));
    }
  }
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    EXPECT_EQ(covered.count(&row), 1U) << "no sample for " << row.GetDpt();
  }
  const std::vector<Sample> samples = RoundTripSamples();
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        for (const Sample& s : samples) {
          failures += Check(s, true).empty() ? 0 : 1;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
}

} // namespace
