// Decodes arbitrary group values for arbitrary DPTs. Only the two calendar
// exceptions that the decoder documents may leave it; anything else (another
// exception, a crash, an out-of-bounds read) is a finding.
//
// Input: main number (2 bytes, big-endian), sub number (1 byte), defined size
// (1 byte; 0 means 8 bits per data byte), then up to 14 data bytes.
#include "AvoObjectModel/GroupValueVelValue.h"

#include "Avo/Logging.h"

#include <boost/date_time/gregorian/greg_day.hpp>   // bad_day_of_month
#include <boost/date_time/gregorian/greg_month.hpp> // bad_month
#include <log4cplus/nullappender.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort

namespace {

// Every line is still formatted (the formatting is fuzzed too), then dropped.
bool SilenceLogging() {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  logger.setAdditivity(false);
  logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool silenced = SilenceLogging();
  (void)silenced;
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kMaxData = 14;
  if (size < kHeader || size > kHeader + kMaxData) {
    return -1; // keep out of the corpus
  }
  const Avo::PackedDpt dpt =
      Avo::PackedDpt{data[0]} << 24 | Avo::PackedDpt{data[1]} << 16 | data[2];
  const auto dataSize = static_cast<unsigned int>(size - kHeader);
  const unsigned int bitSize = data[3] != 0 ? data[3] : 8 * dataSize;
  const KnxStack::GroupValue value(KnxStack::BinaryData(data + kHeader, dataSize), bitSize);

  try {
    const auto decoded = Avo::GroupValueToVelValue(value, dpt);
    if (decoded && decoded->ivt != ivtEmpty &&
        decoded->ivt != Avo::KnxKelMapping::GetIvtFromDpt(dpt)) {
      std::abort(); // a record of a type the table does not name
    }
    if (decoded) {
      (void)Avo::VelValueToGroupValue(*decoded, dpt);
    }
  } catch (const boost::gregorian::bad_day_of_month&) {
  } catch (const boost::gregorian::bad_month&) {}
  return 0;
}
