#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;
using Avo::IntegerRange;

const Avo::KnxConverter8BitString kAscii(IntegerRange(0, 127, 0, 127));
const Avo::KnxConverter8BitString kLatin1(IntegerRange(0, 255, 0, 255));
const Avo::KnxConverterByte8BitUnsigned kUnsigned(IntegerRange(0, 255, 0, 255));
const Avo::KnxConverterByte8BitUnsigned kUpTo254(IntegerRange(0, 254, 0, 254));
const Avo::KnxConverterInteger8BitSigned kSigned(IntegerRange(-128, 127, -128, 127));
const Avo::KnxConverterStatus8Bit kStatus(IntegerRange(0, 255, 0, 255));

VELVALUE Character(unsigned byte) {
  if (byte < 0x80) {
    return Text(std::string(1, static_cast<char>(byte)));
  }
  return Text({static_cast<char>(0xC0 | (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))});
}

// Every bus byte is decoded and goes out again as the same byte, or is
// refused both ways (the status converter leaves a refused byte written).
TEST(ByteConverters, EveryByteRoundTripsOrIsRefusedBothWays) {
  for (unsigned raw = 0; raw < 256; ++raw) {
    const Bytes byte{Bytes::value_type(raw)};
    const bool ascii = raw < 128, below255 = raw < 255;
    const bool oneHot = (raw & 7) == 1 || (raw & 7) == 2 || (raw & 7) == 4;
    const std::string notAscii =
        "Value out of raw range [0..127] for DPT 4.001: " + std::to_string(raw);
    const std::string mode = "The internal value of DPT=6.20, f=" + std::to_string(raw & 7) +
                             " is out of the allowed range.";
    const std::string from255 =
        "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255";
    const auto signedByte = static_cast<std::int8_t>(raw);
    // clang-format off
    Check(std::vector<FromRow>{
        {kLatin1, Dpt(4, 2), byte, "", Character(raw)},
        {kAscii, Dpt(4, 1), byte, ascii ? "" : notAscii, ascii ? Character(raw) : VELVALUE()},
        {kUnsigned, Dpt(5, 1), byte, "", Byte(raw)},
        {kUpTo254, Dpt(5, 6), byte, below255 ? "" : from255, below255 ? Byte(raw) : VELVALUE()},
        {kSigned, Dpt(6, 1), byte, "", Integer(signedByte)},
        {kStatus, Dpt(6, 20), byte, oneHot ? "" : mode, oneHot ? Byte(raw) : VELVALUE()},
    });
    Check(std::vector<ToRow>{
        {kLatin1, Dpt(4, 2), Character(raw), "", byte},
        {kAscii, Dpt(4, 1), Character(raw), ascii ? "" : notAscii, ascii ? byte : kUntouched},
        {kUnsigned, Dpt(5, 1), Byte(raw), "", byte},
        {kUpTo254, Dpt(5, 6), Byte(raw), below255 ? "" : "Value out of raw range [0..254] for DPT 5.006: 255",
         below255 ? byte : kUntouched},
        {kSigned, Dpt(6, 1), Integer(signedByte), "", byte},
        {kStatus, Dpt(6, 20), Byte(raw), oneHot ? "" : mode, byte},
    });
    // clang-format on
  }
}

TEST(ByteConverters, AcceptanceRules) {
  const std::string signedByte = "Wrong vel value type (ivtInteger) or DPT main number (6.x)!";
  // clang-format off
  Check(std::vector<ToRow>{
      {kLatin1, Dpt(5, 1), Text("a"), "Wrong vel value type (ivtString) or DPT main number (4.x)!"},
      {kLatin1, Dpt(4, 2), Text("\xC3\xA9t\xC3\xA9"), "", {0xE9}}, // the first character only
      {kLatin1, Dpt(4, 2), Text(""), "", {0x00}},
      {kUnsigned, Dpt(5, 1), Integer(1), "Wrong vel value type (ivtByte)!"},
      {kUpTo254, Dpt(9, 6), Byte(255), "", {0xFF}}, // only 5.006 is checked on the way out
      {kSigned, Dpt(6, 1), Integer(300), "", {0x2C}},
      {kSigned, Dpt(8, 1), Integer(1), signedByte},
      {kSigned, Dpt(6, 1), Byte(1), signedByte},
      {kStatus, Dpt(9, 20), Integer(4), "", {0x04}}, // any one of main, sub and type suffices
      {kStatus, Dpt(6, 1), Integer(4), "", {0x04}},
      {kStatus, Dpt(5, 1), Integer(4), "Wrong vel value type (ivtByte) or DPT main number (6.020)!"},
  });
  Check(std::vector<FromRow>{
      {kLatin1, Dpt(5, 1), {0x41}, "Wrong DPT main number (4.x)!"},
      {kSigned, Dpt(9, 1), {0xFF}, "", Integer(-1)}, // the reader checks nothing
      {kStatus, Dpt(9, 20), {0x01}, "", Byte(1)},
      {kStatus, Dpt(5, 1), {0x01}, "Wrong DPT main number (6.020)!"},
  });
  // clang-format on
}

} // namespace
