#include "ConverterTestSupport.h"

#include "Avo/Text.h"

namespace {

using namespace ConverterTest;
using Avo::IntegerRange;

const Avo::KnxConverter8BitString kAscii(IntegerRange(0, 127, 0, 127));
const Avo::KnxConverter8BitString kLatin1(IntegerRange(0, 255, 0, 255));
const Avo::KnxConverterByte8BitUnsigned kUnsigned(IntegerRange(0, 255, 0, 255));
const Avo::KnxConverterByte8BitUnsigned kUpTo254(IntegerRange(0, 254, 0, 254));
const Avo::KnxConverterInteger8BitSigned kSigned(IntegerRange(-128, 127, -128, 127));
const Avo::KnxConverterStatus8Bit kStatus(IntegerRange(0, 255, 0, 255));

VELVALUE Character(unsigned byte) { // one Latin-1 character in UTF-8
  return Str(ivtString, getUTF8FromLatin1(std::string(1, static_cast<char>(byte))));
}

// Every bus byte is decoded and goes out again as the same byte, or is
// refused both ways; the status converter leaves a refused byte written, its
// mode field must be one-hot. Only 5.006 is checked on the way out, with a
// text of its own.
TEST(ByteConverters, EveryByteRoundTripsOrIsRefusedBothWays) {
  const std::string to255 = "Value out of raw range [0..254] for DPT 5.006: 255";
  const std::string from255 =
      "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255";
  for (unsigned raw = 0; raw < 256; ++raw) {
    const Bytes byte{Bytes::value_type(raw)};
    const bool ascii = raw < 128, below255 = raw < 255,
               oneHot = raw % 8 == 1 || raw % 8 == 2 || raw % 8 == 4;
    const std::string notAscii =
        ascii ? "" : "Value out of raw range [0..127] for DPT 4.001: " + std::to_string(raw);
    const std::string mode = oneHot
                                 ? ""
                                 : "The internal value of DPT=6.20, f=" + std::to_string(raw % 8) +
                                       " is out of the allowed range.";
    // clang-format off
    Check({{Both, kLatin1, Dpt(4, 2), Character(raw), byte, ""},
           {Both, kAscii, Dpt(4, 1), Character(raw), byte, notAscii},
           {Both, kUnsigned, Dpt(5, 1), U8(ivtByte, raw), byte, ""},
           {To, kUpTo254, Dpt(5, 6), U8(ivtByte, raw), below255 ? byte : Bytes(), below255 ? "" : to255},
           {From, kUpTo254, Dpt(5, 6), below255 ? U8(ivtByte, raw) : VELVALUE(), byte, below255 ? "" : from255},
           {Both, kSigned, Dpt(6, 1), Lng(ivtInteger, static_cast<std::int8_t>(raw)), byte, ""},
           {To, kStatus, Dpt(6, 20), U8(ivtByte, raw), byte, mode},
           {From, kStatus, Dpt(6, 20), oneHot ? U8(ivtByte, raw) : VELVALUE(), byte, mode}});
    // clang-format on
  }
}

// A character wants 4.x and a text, of which it takes the first character; a
// byte any DPT; a signed byte 6.x and an integer, truncated; a status any one
// of 6.x, x.020 and a byte.
TEST(ByteConverters, AcceptanceRules) {
  const std::string signedByte = "Wrong vel value type (ivtInteger) or DPT main number (6.x)!";
  // clang-format off
  Check({{To, kLatin1, Dpt(5, 1), Str(ivtString, "a"), {}, "Wrong vel value type (ivtString) or DPT main number (4.x)!"},
         {To, kLatin1, Dpt(4, 2), Str(ivtString, "\xC3\xA9t\xC3\xA9"), {0xE9}, ""},
         {To, kLatin1, Dpt(4, 2), Str(ivtString, ""), {0x00}, ""},
         {From, kLatin1, Dpt(5, 1), VELVALUE(), {0x41}, "Wrong DPT main number (4.x)!"},
         {To, kUnsigned, Dpt(5, 1), Lng(ivtInteger, 1), {}, "Wrong vel value type (ivtByte)!"},
         {To, kUpTo254, Dpt(9, 6), U8(ivtByte, 255), {0xFF}, ""},
         {To, kSigned, Dpt(6, 1), Lng(ivtInteger, 300), {0x2C}, ""},
         {To, kSigned, Dpt(8, 1), Lng(ivtInteger, 1), {}, signedByte},
         {To, kSigned, Dpt(6, 1), U8(ivtByte, 1), {}, signedByte},
         {From, kSigned, Dpt(9, 1), Lng(ivtInteger, -1), {0xFF}, ""},
         {To, kStatus, Dpt(9, 20), Lng(ivtInteger, 4), {0x04}, ""},
         {To, kStatus, Dpt(6, 1), Lng(ivtInteger, 4), {0x04}, ""},
         {To, kStatus, Dpt(5, 1), Lng(ivtInteger, 4), {}, "Wrong vel value type (ivtByte) or DPT main number (6.020)!"},
         {From, kStatus, Dpt(9, 20), U8(ivtByte, 1), {0x01}, ""},
         {From, kStatus, Dpt(5, 1), VELVALUE(), {0x01}, "Wrong DPT main number (6.020)!"}});
  // clang-format on
}

} // namespace
