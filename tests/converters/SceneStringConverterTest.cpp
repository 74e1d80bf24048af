#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const KnxConverterSceneNumber kNumber(IntegerRange(0, 63, 0, 63));
const KnxConverterSceneControl kControl(IntegerRange(0, 63, 0, 63));
const KnxConverterSceneInfo kInfo(IntegerRange(-64, 64, 0, 255));
const KnxConverter14ByteString kAscii(IntegerRange(0, 127, 0, 127)),
    kLatin1(IntegerRange(0, 255, 0, 255));

// Every bus byte: a passing byte goes out again unchanged, a refused one is
// refused both ways. A refused scene number is stored without its type;
// control and info never set the type, and info reuses the control's text.
TEST(SceneConverters, EveryByte) {
  const std::string scene = "Scene number is out of range (>63) for Scene";
  const std::string reserved = "Reserved bit is used for scene number in DPT scene control!";
  for (unsigned raw = 0; raw < 256; ++raw) {
    const bool isNumber = raw < 64, isControl = (raw & 0x40) == 0, isInfo = raw < 128;
    const std::string number = isNumber ? "" : scene + "Number: " + std::to_string(raw);
    const std::string control = isControl ? "" : scene + "Control: " + std::to_string(raw & 0x7F);
    const Bytes byte{Bytes::value_type(raw)}, refused;
    // clang-format off
    Check({{To, kNumber, Dpt(17, 1), U8(ivtByte, raw), isNumber ? byte : refused, number},
           {From, kNumber, Dpt(17, 1), isNumber ? U8(ivtByte, raw) : U8(kUntyped, raw), byte, number},
           {To, kControl, Dpt(18, 1), U8(ivtByte, raw), isControl ? byte : refused, control},
           {From, kControl, Dpt(18, 1), isControl ? U8(kUntyped, raw) : VELVALUE(), byte, isControl ? "" : reserved},
           {To, kInfo, Dpt(26, 1), U8(ivtByte, raw), isInfo ? byte : refused, isInfo ? "" : "Reserved bit 8 is set for SceneInfo; skipped."},
           {From, kInfo, Dpt(26, 1), isInfo ? U8(kUntyped, raw) : VELVALUE(), byte, isInfo ? "" : reserved}});
    // clang-format on
  }
}

// Any one of main number, sub number or type suffices for the scene number
// (whose data field is read as a signed 32-bit number); the others want all
// three.
TEST(SceneConverters, AcceptanceRules) {
  const std::string control = "Wrong DPT for Scene number (18.001) or vel value type (ivtByte).";
  const std::string info = "Wrong DPT for Scene number (26.001) or vel value type (ivtByte).";
  // clang-format off
  Check({{To, kNumber, Dpt(17, 2), Lng(ivtInteger, 63), {63}, ""},
         {To, kNumber, Dpt(5, 1), Lng(ivtInteger, 5), {5}, ""},
         {To, kNumber, Dpt(5, 2), U8(ivtByte, 5), {5}, ""},
         {To, kNumber, Dpt(17, 1), Lng(ivtInteger, -1), {}, "Scene number is out of range (>63) for SceneNumber: -1"},
         {To, kNumber, Dpt(5, 2), Lng(ivtInteger, 1), {}, "Wrong DPT main number (17.001) or vel value type (ivtByte)!"},
         {From, kNumber, Dpt(5, 2), VELVALUE(), {1}, "Wrong DPT main number (17.001)!"},
         {To, kControl, Dpt(18, 2), U8(ivtByte, 1), {}, control},
         {To, kControl, Dpt(18, 1), Lng(ivtInteger, 1), {}, control},
         {From, kControl, Dpt(18, 2), VELVALUE(), {1}, "Wrong DPT for Scene number, only 18.001 is valid."},
         {To, kInfo, Dpt(1, 1), U8(ivtByte, 1), {}, info},
         {From, kInfo, Dpt(26, 2), VELVALUE(), {1}, "Wrong DPT for Scene number, only 26.001 is valid."}});
  // clang-format on
}

// Characters outside the range become "_" on the way out; on the way in each
// UTF-8 byte outside it does, with one INFO line.
TEST(StringConverter, CharactersOutsideTheRangeBecomeUnderscores) {
  const std::string text = "Caf\xC3\xA9 ol\xC3\xA9";
  const Bytes bus = {'C', 'a', 'f', 0xE9, ' ', 'o', 'l', 0xE9, 0, 0, 0, 0, 0, 0};
  // clang-format off
  Check({{To, kAscii, Dpt(16, 0), Str(ivtString, text), {'C', 'a', 'f', '_', ' ', 'o', 'l', '_', 0, 0, 0, 0, 0, 0}, ""},
         {Both, kLatin1, Dpt(16, 1), Str(ivtString, text), bus, ""},
         {To, kLatin1, Dpt(9, 1), Str(ivtString, text), bus, ""},
         {To, kAscii, Dpt(4, 1), Lng(ivtInteger, 1), {}, "Wrong DPT main number (16.x) or vel value type (ivtString)!"},
         {From, kAscii, Dpt(4, 1), VELVALUE(), bus, "Wrong DPT main number (16.x)!"}});
  // clang-format on
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  VELVALUE ascii(kUntyped);
  EXPECT_TRUE(kAscii.FromKnxValue(Dpt(16, 0), Raw(bus), ascii) &&
              ascii == Str(ivtString, "Caf__ ol__"))
      << ascii.ToString();
  EXPECT_EQ(capture.Lines(), std::vector{Line(log4cplus::INFO_LOG_LEVEL,
                                              "Invalid characters for DPT 16.0 has been replaced "
                                              "with _.",
                                              "FromKnxValue")});
}

} // namespace
