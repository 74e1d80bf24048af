#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;
using Avo::IntegerRange;

const Avo::KnxConverterSceneNumber kNumber(IntegerRange(0, 63, 0, 63));
const Avo::KnxConverterSceneControl kControl(IntegerRange(0, 63, 0, 63));
const Avo::KnxConverterSceneInfo kInfo(IntegerRange(-64, 64, 0, 255));
const Avo::KnxConverter14ByteString kAscii(IntegerRange(0, 127, 0, 127));
const Avo::KnxConverter14ByteString kLatin1(IntegerRange(0, 255, 0, 255));

// Every bus byte: a passing byte goes out again unchanged, a refused one is
// refused both ways. A refused scene number is stored without its type;
// control and info never set the type.
TEST(SceneConverters, EveryByte) {
  const std::string reserved = "Reserved bit is used for scene number in DPT scene control!";
  const std::string info = "Reserved bit 8 is set for SceneInfo; skipped.";
  for (unsigned raw = 0; raw < 256; ++raw) {
    const std::string scene =
        "Scene number is out of range (>63) for SceneNumber: " + std::to_string(raw);
    const std::string control =
        "Scene number is out of range (>63) for SceneControl: " + std::to_string(raw & 0x7F);
    const bool number = raw < 64, noBit6 = (raw & 0x40) == 0, noBit7 = raw < 128;
    const Bytes byte{Bytes::value_type(raw)};
    const VELVALUE stored = Make(ivtInteger, &VELVALUE::byVal, raw);
    // clang-format off
    Check(std::vector<ToRow>{
        {kNumber, Dpt(17, 1), Byte(raw), number ? "" : scene, number ? byte : kUntouched},
        {kControl, Dpt(18, 1), Byte(raw), noBit6 ? "" : control, noBit6 ? byte : kUntouched},
        {kInfo, Dpt(26, 1), Byte(raw), noBit7 ? "" : info, noBit7 ? byte : kUntouched},
    });
    Check(std::vector<FromRow>{
        {kNumber, Dpt(17, 1), byte, number ? "" : scene, number ? Byte(raw) : stored, !number},
        {kControl, Dpt(18, 1), byte, noBit6 ? "" : reserved, noBit6 ? stored : VELVALUE(), true},
        {kInfo, Dpt(26, 1), byte, noBit7 ? "" : reserved, noBit7 ? stored : VELVALUE(), true},
    });
    // clang-format on
  }
}

// Any one of DPT, sub number or type suffices for the scene number (whose
// data field is read as a signed 32-bit number); the others want all three.
TEST(SceneConverters, AcceptanceRules) {
  const std::string control = "Wrong DPT for Scene number (18.001) or vel value type (ivtByte).";
  const std::string info = "Wrong DPT for Scene number (26.001) or vel value type (ivtByte).";
  // clang-format off
  Check(std::vector<ToRow>{
      {kNumber, Dpt(17, 1), Integer(63), "", {63}},
      {kNumber, Dpt(5, 1), Byte(5), "", {5}},
      {kNumber, Dpt(17, 1), Integer(-1), "Scene number is out of range (>63) for SceneNumber: -1"},
      {kNumber, Dpt(5, 2), Integer(1), "Wrong DPT main number (17.001) or vel value type (ivtByte)!"},
      {kControl, Dpt(18, 2), Byte(1), control},
      {kControl, Dpt(18, 1), Integer(1), control},
      {kInfo, Dpt(1, 1), Byte(1), info},
      {kInfo, Dpt(26, 1), Integer(1), info},
  });
  Check(std::vector<FromRow>{
      {kNumber, Dpt(5, 1), {1}, "", Byte(1)},
      {kNumber, Dpt(5, 2), {1}, "Wrong DPT main number (17.001)!"},
      {kControl, Dpt(18, 2), {1}, "Wrong DPT for Scene number, only 18.001 is valid."},
      {kInfo, Dpt(26, 2), {1}, "Wrong DPT for Scene number, only 26.001 is valid."},
  });
  // clang-format on
}

// Characters outside the range become "_" on the way out; on the way in each
// UTF-8 byte outside it does, with one INFO line.
TEST(StringConverter, CharactersOutsideTheRangeBecomeUnderscores) {
  const std::string text = "Caf\xC3\xA9 ol\xC3\xA9";
  const Bytes bus = {'C', 'a', 'f', 0xE9, ' ', 'o', 'l', 0xE9, 0, 0, 0, 0, 0, 0};
  // clang-format off
  Check(std::vector<ToRow>{
      {kAscii, Dpt(16, 0), Text(text), "", {'C', 'a', 'f', '_', ' ', 'o', 'l', '_', 0, 0, 0, 0, 0, 0}},
      {kLatin1, Dpt(9, 1), Text(text), "", bus},
      {kAscii, Dpt(4, 1), Integer(1), "Wrong DPT main number (16.x) or vel value type (ivtString)!"},
  });
  // clang-format on
  Check(std::vector<FromRow>{{kAscii, Dpt(4, 1), bus, "Wrong DPT main number (16.x)!"}});
  AvoTest::ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  VELVALUE latin1(ivtQWord), ascii(ivtQWord);
  EXPECT_TRUE(kLatin1.FromKnxValue(Dpt(16, 1), Raw(bus), latin1));
  EXPECT_TRUE(kAscii.FromKnxValue(Dpt(16, 0), Raw(bus), ascii));
  EXPECT_EQ(latin1, Text(text));
  EXPECT_EQ(ascii, Text("Caf__ ol__"));
  const AvoTest::LogLine line =
      AvoTest::Line(log4cplus::INFO_LOG_LEVEL,
                    "Invalid characters for DPT 16.0 has been replaced with _.", "FromKnxValue");
  EXPECT_EQ(capture.Lines(), std::vector<AvoTest::LogLine>{line});
}

} // namespace
