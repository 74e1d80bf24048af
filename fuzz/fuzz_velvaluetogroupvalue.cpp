// Encodes records built from arbitrary bytes for arbitrary DPTs. The encoder
// throws nothing (an escaping exception is a finding), refuses every record
// whose type is not the main number's, and is stable: what it sent, decoded
// by the bridge and encoded again, gives the same record when decoded once
// more, and the very same group value where the DPT can hold the record.
//
// Input: main and sub number (2 bytes each, big-endian), a byte whose lowest
// bit asks for a record type of its own (then 2 more bytes, big-endian)
// instead of the main number's, then the record's value area (the size of a
// VELTIME, in the host's layout) and its text.
#include "AvoObjectModel/GroupValueVelValue.h"

#include "Avo/Logging.h"

#include <boost/date_time/gregorian/greg_day.hpp>   // bad_day_of_month
#include <boost/date_time/gregorian/greg_month.hpp> // bad_month
#include <log4cplus/nullappender.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>  // std::fprintf
#include <cstdlib> // std::abort, setenv
#include <cstring> // std::memcpy
#include <ctime>   // tzset
#include <string>

namespace {

void Check(bool condition, const char* broken) {
  if (!condition) {
    std::fprintf(stderr, "broken: %s\n", broken);
    std::abort();
  }
}

// Every line is still formatted (into a null appender), then dropped. Dates
// and times travel as local time: in UTC every local time exists exactly
// once, so a decoded time encodes back to the same bytes.
bool Prepare() {
  log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  logger.setAdditivity(false);
  logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
  setenv("TZ", "UTC0", 1);
  tzset();
  return true;
}

/// A record of the type whose value area (every member lies in it) holds the
/// first bytes of data, the time's flags kept to valid booleans, and whose
/// text the rest.
VELVALUE RecordOf(VelValueType type, const std::uint8_t* data, std::size_t size) {
  VELVALUE value(type);
  std::uint8_t area[sizeof(VELTIME)] = {};
  const std::size_t used = std::min(size, sizeof(area));
  std::memcpy(area, data, used);
  std::memcpy(&value.tmVal, area, sizeof(area));
  value.tmVal.isLocalTime = (area[offsetof(VELTIME, isLocalTime)] & 1U) != 0;
  value.tmVal.isValid = (area[offsetof(VELTIME, isValid)] & 1U) != 0;
  value.strVal.assign(reinterpret_cast<const char*>(data) + used, size - used);
  return value;
}

// Whether the DPT holds the record unchanged. A DPT 16 text ends at its first
// NUL (what follows travels but is no part of the value); DPT 19 holds the
// years 1900..2155 only, later ones wrap round and lose their day of week.
bool Holds(Avo::PackedDpt dpt, const VELVALUE& value) {
  switch (dpt >> 16) {
  case 16:
    return value.strVal.find('\0') == std::string::npos;
  case 19:
    return value.tmVal.year >= 1900 && value.tmVal.year <= 2155;
  default:
    return true;
  }
}

boost::optional<VELVALUE> Decode(const KnxStack::GroupValue& sent, Avo::PackedDpt dpt) {
  try {
    return Avo::GroupValueToVelValue(sent, dpt);
  } catch (const boost::gregorian::bad_day_of_month&) {
  } catch (const boost::gregorian::bad_month&) {}
  return boost::none;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool prepared = Prepare();
  (void)prepared;
  std::size_t header = 5;
  if (size < header) {
    return -1;
  }
  const Avo::PackedDpt dpt = Avo::PackedDpt{data[0]} << 24 | Avo::PackedDpt{data[1]} << 16 |
                             Avo::PackedDpt{data[2]} << 8 | data[3];
  const VelValueType tableType = Avo::KnxKelMapping::GetIvtFromDpt(dpt);
  VelValueType type = tableType;
  if ((data[4] & 1U) != 0) {
    header += 2;
    if (size < header) {
      return -1;
    }
    type = static_cast<VelValueType>(data[5] << 8 | data[6]);
  }
  const VELVALUE value = RecordOf(type, data + header, size - header);

  const auto sent = Avo::VelValueToGroupValue(value, dpt);
  if (!sent) {
    return 0;
  }
  Check(value.ivt == tableType, "only records of the main number's type are sent");
  const auto decoded = Decode(*sent, dpt);
  if (!decoded || decoded->ivt != tableType) {
    return 0; // refused by the check, or a time beyond what a record holds
  }
  const auto resent = Avo::VelValueToGroupValue(*decoded, dpt);
  Check(resent.has_value(), "a decoded record encodes");
  const auto reread = Decode(*resent, dpt);
  Check(reread && *reread == *decoded, "a decoded record comes back after one more trip");
  if (Holds(dpt, value)) {
    Check(*resent == *sent, "a decoded record encodes to the group value it came from");
  }
  return 0;
}
