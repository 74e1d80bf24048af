#include "ConverterTestSupport.h"

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
  Check({{To, d, Dpt(12, 1, 0), DWord(0x01020304), {1, 2, 3, 4}, ""},
         {To, d, Dpt(12, 1, 16), DWord(1), {}, failed + "12.1 data size =2"},
         {To, d, Dpt(5, 1, 1), Byte(0xAB), {0xAB}, ""},
         {To, d, Dpt(7, 1, 255), Word(0x1234), {0x12, 0x34}, ""},
         {To, d, Dpt(1, 1, 1), Bool(true), {0x01}, ""},
         {To, d, Dpt(2, 1, 2), Bool(true), {0x01}, ""},  // SetAsUnsigned2(0x11)
         {To, d, Dpt(5, 1, 8), Bool(true), {}, ""},
         {To, d, Dpt(3, 7, 4), Make(ivtStepBytes, &VELVALUE::strVal, "\x0B"), {0x0B}, ""},
         {To, d, Dpt(3, 7, 4), Make(ivtByteArray, &VELVALUE::strVal, "abc"), {}, failed + "3.7"}});
  // clang-format on
  VELVALUE value = Bool(false);
  EXPECT_TRUE(d.FromKnxValue(Dpt(1, 1), KnxStack::GroupValue(KnxStack::BinaryData({1}), 1), value) && value == Bool(true));
  value = Word(7);
  AvoTest::ScopedLogCapture capture;
  EXPECT_FALSE(d.FromKnxValue(Dpt(7, 1), Raw({0x12}), value) || value != VELVALUE());
  EXPECT_EQ(capture.Lines(), std::vector{AvoTest::Line(log4cplus::ERROR_LOG_LEVEL,
                                                       "ByteArrayToVelValue failed. DPT=7.1 data size =1", "FromKnxValue")});
}

} // namespace
