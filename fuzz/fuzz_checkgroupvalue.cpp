// Checks arbitrary group values for arbitrary DPTs. The check throws nothing
// and shares no state between calls: its verdict is the one of a converter
// initialised once and kept, asked about the same DPT (with the group
// value's defined size as its bit size), and asking twice gives the same.
//
// Input: main and sub number (2 bytes each, big-endian), defined size
// (1 byte; 0 means 8 bits per data byte), then up to 14 data bytes.
#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include "Avo/Logging.h"

#include <log4cplus/nullappender.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort

namespace {

const Avo::KnxValueConverter& KeptConverter() {
  static const Avo::KnxValueConverter converter = [] {
    log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
    logger.setAdditivity(false);
    logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    Avo::KnxValueConverter kept;
    kept.Init();
    return kept;
  }();
  return converter;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Avo::KnxValueConverter& kept = KeptConverter();
  constexpr std::size_t kHeader = 5;
  constexpr std::size_t kMaxData = 14;
  if (size < kHeader || size > kHeader + kMaxData) {
    return -1; // keep out of the corpus
  }
  const auto main = static_cast<std::uint16_t>(data[0] << 8 | data[1]);
  const auto sub = static_cast<std::uint16_t>(data[2] << 8 | data[3]);
  const auto dataSize = static_cast<unsigned int>(size - kHeader);
  const unsigned int bitSize = data[4] != 0 ? data[4] : 8 * dataSize;
  const KnxStack::GroupValue value(KnxStack::BinaryData(data + kHeader, dataSize), bitSize);
  const Avo::PackedDpt dpt = Avo::PackedDpt{main} << 16 | sub;

  const bool accepted = Avo::CheckGroupValue(value, dpt);
  KNXDPT keptDpt(static_cast<std::uint8_t>(bitSize), main, sub);
  VELVALUE scratch;
  if (accepted != kept.FromKnxValue(keptDpt, value, scratch) ||
      accepted != Avo::CheckGroupValue(value, dpt)) {
    std::abort();
  }
  return 0;
}
