// The default converter, which works on the record's raw bytes, and clones
// made from recycled blocks.

#include "ConverterTestSupport.h"

#include "AvoObjectModel/KnxValueConverter.h"

#include <thread>
#include <utility>

namespace {

using namespace ConverterTest;

// The byte count comes from the DPT's size (0 bits and more than 23 bytes
// allow 24); one byte goes out as a byte, more as raw data of that length.
// A boolean is written for 1.x and 2.x only, and accepted for any DPT. The
// record's type says how to decode, a defined size of 1 marks the short form.
TEST(DefaultConverter, ConvertsTheRecordsRawBytes) {
  const Avo::KnxConverterDefault d;
  const std::string failed = "VelValueToByteArray failed. DPT=";
  // clang-format off
  Check({{To, d, Dpt(12, 1, 0), U32(ivtDWord, 0x01020304), {1, 2, 3, 4}, ""},
         {To, d, Dpt(12, 1, 16), U32(ivtDWord, 1), {}, failed + "12.1 data size =2"},
         {To, d, Dpt(5, 1, 1), U8(ivtByte, 0xAB), {0xAB}, ""},
         {To, d, Dpt(7, 1, 255), U16(ivtWord, 0x1234), {0x12, 0x34}, ""},
         {To, d, Dpt(1, 1, 1), U8(ivtBool, true), {0x01}, ""},
         {To, d, Dpt(2, 1, 2), U8(ivtBool, true), {0x01}, ""},  // SetAsUnsigned2(0x11)
         {To, d, Dpt(5, 1, 8), U8(ivtBool, true), {}, ""},
         {To, d, Dpt(3, 7, 4), Str(ivtStepBytes, "\x0B"), {0x0B}, ""},
         {To, d, Dpt(3, 7, 4), Str(ivtByteArray, "abc"), {}, failed + "3.7"}});
  // clang-format on
  VELVALUE value = U16(ivtWord, 7);
  ScopedLogCapture capture;
  EXPECT_FALSE(d.FromKnxValue(Dpt(7, 1), Raw({0x12}), value) || value != VELVALUE());
  EXPECT_EQ(capture.Lines(),
            std::vector{Line(log4cplus::ERROR_LOG_LEVEL,
                             "ByteArrayToVelValue failed. DPT=7.1 data size =1", "FromKnxValue")});
}

// Converter blocks are recycled per thread by size: clones of every class in
// the catalogue, more of each than a thread keeps, freed on another thread and
// made again, each keep their own class and range.
TEST(ConverterInterface, ClonesKeepClassAndRangeWhileBlocksAreRecycledAcrossThreads) {
  KnxValueConverter catalogue;
  catalogue.Init();
  const auto describe = [](const KnxConverter& c) {
    return DescribeKnxConverter(c).className + DescribeKnxConverter(c).range;
  };
  std::vector<std::pair<const KnxConverter*, std::unique_ptr<KnxConverter>>> clones;
  for (int round = 0; round < 3; ++round) {
    for (int copies = 0; copies < 100; ++copies) {
      for (const DptValueEntry& row : catalogue.GetDptValueMap()) {
        clones.emplace_back(row.GetConverter(), row.GetConverter()->Clone());
      }
    }
    std::vector<std::pair<const KnxConverter*, std::unique_ptr<KnxConverter>>> survivors, doomed;
    for (std::size_t i = 0; i < clones.size(); ++i) {
      (i % 2 == 0 ? survivors : doomed).push_back(std::move(clones[i]));
    }
    std::thread([&doomed] { doomed.clear(); }).join(); // their blocks go to that thread
    clones = std::move(survivors);
  }
  for (const auto& [original, clone] : clones) {
    ASSERT_EQ(describe(*clone), describe(*original));
  }
}

} // namespace
