// Any input, read as the value record's text form and as its byte form for
// each type, must neither crash nor read out of bounds; what reads must
// write back to a text or bytes that read to the same record.
#include "VelValue.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort
#include <string>

namespace {

void Check(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void TextRoundTrip(const std::string& text) {
  VELVALUE value(ivtWord);
  if (!value.Deserialize(text)) {
    Check(value == VELVALUE());
    return;
  }
  (void)value.ToString();
  for (const bool internalFormat : {false, true}) {
    std::string written;
    value.Serialize(written, internalFormat);
    VELVALUE read;
    Check(read.Deserialize(written));
    Check(read == value);
  }
}

void ByteRoundTrip(const std::uint8_t* data, std::size_t size) {
  const auto count = static_cast<unsigned int>(size);
  for (const VelValueType type :
       {ivtBool, ivtFloat, ivtInteger, ivtShort, ivtByte, ivtWord, ivtDWord, ivtData40, ivtString,
        ivtDate, ivtByteArray, ivtEmpty}) {
    for (const bool shortForm : {false, true}) {
      VELVALUE value(type);
      if (!ByteArrayToVelValue(data, count, value, shortForm)) {
        continue;
      }
      unsigned char buffer[16];
      unsigned int written = sizeof buffer;
      if (VelValueToByteArray(value, buffer, written)) {
        VELVALUE read(type);
        Check(ByteArrayToVelValue(buffer, written, read, false));
        Check(read == value);
      }
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TextRoundTrip(std::string(reinterpret_cast<const char*>(data), size));
  ByteRoundTrip(data, size);
  return 0;
}
