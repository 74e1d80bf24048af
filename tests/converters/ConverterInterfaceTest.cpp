// What every converter class shares: Clone, the "DPT is used." trace lines,
// and how a reader meets a group value too short for its encoding.

#include "ConverterTestSupport.h"

#include <cxxabi.h> // abi::__cxa_demangle

#include <cstdlib> // std::free
#include <functional>
#include <memory>
#include <thread>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace Avo;
using namespace ConverterTest;

template <class T, class = void>
struct HasRange : std::false_type {};
template <class T>
struct HasRange<T, std::void_t<decltype(std::declval<const T&>().GetRange())>> : std::true_type {};

struct ConverterCase {
  std::function<KnxConverter*()> make;
  std::function<std::string(const KnxConverter&)> rangeOf; // text and scale factor
  const std::type_info& type;
  bool tracesTo, tracesFrom;
  KNXDPT dpt;            // one that the reader accepts
  unsigned encodedBytes; // 0: no fixed size
  bool checksLength;     // refuses a short value rather than letting the getter raise
};

template <class Converter, class... Range>
ConverterCase Case(bool tracesTo, bool tracesFrom, KNXDPT dpt, unsigned bytes, bool checks,
                   Range... range) {
  auto rangeOf = [](const KnxConverter& converter) -> std::string {
    if constexpr (HasRange<Converter>::value) {
      const auto& held = dynamic_cast<const Converter&>(converter).GetRange();
      return held.ToString() + " x" + std::to_string(held.GetScaleFactor());
    }
    return "";
  };
  return {[=] { return new Converter(range...); },
          rangeOf,
          typeid(Converter),
          tracesTo,
          tracesFrom,
          dpt,
          bytes,
          checks};
}

// Ranges that differ from any default, so that a clone that lost its range shows.
// clang-format off
const std::vector<ConverterCase> kAll = {
    Case<KnxConverterDefault>(false, false, Dpt(7, 1), 0, false),
    Case<KnxConverter1Bit>(true, false, Dpt(1, 1), 1, false),
    Case<KnxConverter2Bit>(true, false, Dpt(2, 1), 1, false),
    Case<KnxConverter4Bit>(true, true, Dpt(3, 7), 1, false, FloatIntegerRange(-100, 100, 0, 15)),
    Case<KnxConverter8BitString>(true, true, Dpt(4, 1), 1, false, IntegerRange(0, 127, 0, 127)),
    Case<KnxConverterByte8BitUnsigned>(true, true, Dpt(5, 1), 1, false, IntegerRange(0, 254, 1, 2)),
    Case<KnxConverterInteger8BitSigned>(true, true, Dpt(6, 1), 1, false, IntegerRange(-8, 7, 0, 1)),
    Case<KnxConverterStatus8Bit>(true, true, Dpt(6, 20), 1, false, IntegerRange(0, 255, 0, 25)),
    Case<KnxConverterInteger16BitUnsigned>(true, true, Dpt(7, 1), 2, false, IntegerRange(0, 9, 0, 3)),
    Case<KnxConverterInteger16BitSigned>(true, true, Dpt(8, 1), 2, false, IntegerRange(-9, 9, 0, 3)),
    Case<KnxConverterInteger24BitUnsigned>(true, true, Dpt(232, 600), 3, true, LongIntegerRange(0, 99, 0, 9)),
    Case<KnxConverterInteger32BitUnsigned>(true, true, Dpt(12, 1), 4, false, LongIntegerRange(0, 4294967295, 1, 2)),
    Case<KnxConverterInteger32BitSigned>(true, true, Dpt(13, 1), 4, false, IntegerRange(0, 100, 0, 255)),
    Case<KnxConverterFloat16BitFloat>(true, true, Dpt(9, 1), 2, false, FloatRange(-273, 670760, -1, 1)),
    Case<KnxConverterFloat32BitFloat>(true, true, Dpt(14, 1), 4, false, FloatRange(-1, 1, -2, 2)),
    Case<KnxConverterDate>(true, true, Dpt(11, 1), 3, true),
    Case<KnxConverterTimeOfDay>(true, true, Dpt(10, 1), 3, true),
    Case<KnxConverterDateTime>(false, false, Dpt(19, 1), 8, true),
    Case<KnxConverterSceneNumber>(true, true, Dpt(17, 1), 1, false, IntegerRange(0, 63, 0, 63)),
    Case<KnxConverterSceneControl>(true, true, Dpt(18, 1), 1, false, IntegerRange(0, 63, 0, 64)),
    Case<KnxConverterSceneInfo>(true, true, Dpt(26, 1), 1, false, IntegerRange(-64, 64, 0, 255)),
    Case<KnxConverter14ByteString>(true, true, Dpt(16, 1), 14, false, IntegerRange(0, 255, 0, 9)),
};
// clang-format on

TEST(ConverterInterface, CloneIsAnIndependentObjectOfTheSameClassAndRange) {
  for (const ConverterCase& testCase : kAll) {
    SCOPED_TRACE(testCase.type.name());
    std::unique_ptr<KnxConverter> original(testCase.make());
    const std::string range = testCase.rangeOf(*original);
    const std::unique_ptr<KnxConverter> copy(original->Clone());
    ASSERT_NE(copy.get(), original.get());
    original.reset(); // the clone must not depend on the original
    const KnxConverter& cloned = *copy;
    EXPECT_EQ(typeid(cloned), testCase.type);
    EXPECT_EQ(testCase.rangeOf(cloned), range);
  }
}

// Converter blocks are recycled per thread by size: clones of every class,
// more of each than a thread keeps, freed on another thread and made again,
// must each keep their own class and range.
TEST(ConverterInterface, ClonesKeepClassAndRangeWhileBlocksAreRecycledAcrossThreads) {
  struct Clone {
    const ConverterCase* of;
    std::unique_ptr<KnxConverter> converter;
  };
  std::vector<std::unique_ptr<KnxConverter>> originals;
  std::vector<std::string> ranges;
  for (const ConverterCase& testCase : kAll) {
    originals.emplace_back(testCase.make());
    ranges.push_back(testCase.rangeOf(*originals.back()));
  }
  std::vector<Clone> clones;
  for (int round = 0; round < 3; ++round) {
    for (int copies = 0; copies < 100; ++copies) {
      for (std::size_t i = 0; i < kAll.size(); ++i) {
        clones.push_back({&kAll[i], std::unique_ptr<KnxConverter>(originals[i]->Clone())});
      }
    }
    // Every other clone dies on another thread; its block goes to that thread.
    std::vector<Clone> survivors;
    std::vector<std::unique_ptr<KnxConverter>> doomed;
    for (std::size_t i = 0; i < clones.size(); ++i) {
      if (i % 2 == 0) {
        survivors.push_back(std::move(clones[i]));
      } else {
        doomed.push_back(std::move(clones[i].converter));
      }
    }
    std::thread([&doomed] { doomed.clear(); }).join();
    clones = std::move(survivors);
  }
  for (const Clone& clone : clones) {
    const std::size_t i = static_cast<std::size_t>(clone.of - kAll.data());
    const KnxConverter& converter = *clone.converter;
    ASSERT_EQ(typeid(converter), clone.of->type);
    ASSERT_EQ(clone.of->rangeOf(converter), ranges[i]);
  }
}

// A converter class of another library.
struct ForeignConverter final : KnxConverter {
  bool ToKnxValue(const KNXDPT&, const VELVALUE&, KnxStack::GroupValue&) const override { return true; }
  bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue&, VELVALUE&) const override { return true; }
  KnxConverter* Clone() const override { return new ForeignConverter(*this); }
};

TEST(ConverterInterface, DescriptionNamesTheClassAndItsRange) {
  for (const ConverterCase& testCase : kAll) {
    SCOPED_TRACE(testCase.type.name());
    const std::unique_ptr<KnxConverter> converter(testCase.make());
    const KnxConverterDescription description = DescribeKnxConverter(*converter);
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> className(
        abi::__cxa_demangle(testCase.type.name(), nullptr, nullptr, &status), std::free);
    ASSERT_EQ(status, 0);
    EXPECT_EQ("Avo::" + description.className, className.get());
    EXPECT_EQ(description.range.empty(), testCase.rangeOf(*converter).empty());
  }
  // Bounds in full, each range under its own class name.
  const std::pair<KnxConverterDescription, std::string> ranges[] = {
      {DescribeKnxConverter(KnxConverterFloat16BitFloat(FloatRange(-671088.64, 670760.96, -0.5, 1e+300))),
       "FloatRange(-671088.64, 670760.96, -0.5, 1e+300)"},
      {DescribeKnxConverter(KnxConverter4Bit(FloatIntegerRange(-100.25, 100, -2147483648, 15))),
       "FloatIntegerRange(-100.25, 100, -2147483648, 15)"},
      {DescribeKnxConverter(KnxConverterInteger32BitUnsigned(LongIntegerRange(0, 4294967295, -1, 2))),
       "LongIntegerRange(0, 4294967295, -1, 2)"},
      {DescribeKnxConverter(KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255))),
       "IntegerRange(-64, 64, 0, 255)"}};
  for (const auto& range : ranges) {
    EXPECT_EQ(range.first.range, range.second);
  }
  const KnxConverterDescription foreign = DescribeKnxConverter(ForeignConverter());
  EXPECT_EQ(foreign.className, "");
  EXPECT_EQ(foreign.range, "");
}

TEST(ConverterInterface, TraceLineBeginsTheOperationsThatWriteIt) {
  const VELVALUE value = Float(21.5);
  const std::vector<AvoTest::LogLine> none,
      to{AvoTest::Line(log4cplus::DEBUG_LOG_LEVEL,
                       "DPT is used. DPT = 9.1 ivt=3 val=" + value.ToString(), "ToKnxValue")};
  const std::vector<AvoTest::LogLine> from{
      AvoTest::Line(log4cplus::DEBUG_LOG_LEVEL, "DPT is used. DPT = 9.1 grp.size=16 grp.val=0C 33",
                    "FromKnxValue")};
  for (const ConverterCase& testCase : kAll) {
    SCOPED_TRACE(testCase.type.name());
    const std::unique_ptr<KnxConverter> converter(testCase.make());
    AvoTest::ScopedLogCapture capture;
    KnxStack::GroupValue written;
    VELVALUE read;
    try { // what follows the trace line does not matter here
      converter->ToKnxValue(Dpt(9, 1), value, written);
    } catch (const KnxStack::GroupValueException&) {
    }
    EXPECT_EQ(capture.Lines(log4cplus::DEBUG_LOG_LEVEL), testCase.tracesTo ? to : none);
    capture.Clear();
    try {
      converter->FromKnxValue(Dpt(9, 1), Raw({0x0C, 0x33}), read);
    } catch (const KnxStack::GroupValueException&) {
    }
    EXPECT_EQ(capture.Lines(log4cplus::DEBUG_LOG_LEVEL), testCase.tracesFrom ? from : none);
  }
}

// An empty value and one a byte short: the getter raises and the converter
// lets it pass, except where the converter reads the bytes itself.
TEST(ConverterInterface, ShortGroupValuesRaiseOrAreRefused) {
  for (const ConverterCase& testCase : kAll) {
    if (testCase.encodedBytes == 0) { // the default converter has no fixed encoding
      continue;
    }
    const std::unique_ptr<KnxConverter> converter(testCase.make());
    for (unsigned size : {0U, testCase.encodedBytes - 1}) { // twice 0 for one-byte encodings
      SCOPED_TRACE(std::string(testCase.type.name()) + " bytes: " + std::to_string(size));
      VELVALUE value;
      if (!testCase.checksLength) {
        EXPECT_THROW(converter->FromKnxValue(testCase.dpt, Raw(Bytes(size, 1), 8), value),
                     KnxStack::GroupValueException);
        continue;
      }
      Check(
          std::vector<FromRow>{{*converter, testCase.dpt, Bytes(size, 1),
                                "The group value of DPT=" + testCase.dpt.ToString() +
                                    " is too short: " + std::to_string(size) + " bytes, expected " +
                                    std::to_string(testCase.encodedBytes) + "."}});
    }
  }
}

} // namespace
