// Feeds arbitrary DPTs, group values and value records through the value
// converter in both directions, and through its text form. Every line is
// formatted (into a null appender), so that printing odd values is covered too.
// No exception may leave the converter. For a DPT of the catalogue, what the
// converter writes is stable: the record it reads back, where it is
// written again, reads back unchanged.
//
// Input: byte 0 picks the operation; then the DPT's bit size (1 byte), main
// number (2), sub number (2), the group value's defined size (2) and the value
// type (2), big-endian; the rest is the payload: the group value's bytes, the
// serialised text, or a record's value area (the size of a VELTIME, in the
// host's layout) followed by its text.
#include "Avo/Logging.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include <log4cplus/nullappender.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort
#include <cstring> // std::memcpy
#include <string>
#include <vector>

namespace {

const Avo::AvoKnxValueConverter& Converter() {
  static const Avo::AvoKnxValueConverter converter = [] {
    log4cplus::Logger& logger = Avo::GetGlobalDefaultLogger();
    logger.setAdditivity(false);
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
    logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    Avo::AvoKnxValueConverter c;
    c.Init();
    return c;
  }();
  return converter;
}

/// A record whose value area (every member lies in it) holds the first bytes
/// of `payload`, the time's flags kept to valid booleans, and whose text the rest.
VELVALUE RecordOf(VelValueType type, const std::string& payload) {
  VELVALUE value(type);
  std::uint8_t area[sizeof(VELTIME)] = {};
  const std::size_t used = std::min(payload.size(), sizeof(area));
  std::memcpy(area, payload.data(), used);
  std::memcpy(&value.tmVal, area, sizeof(area));
  value.tmVal.isLocalTime = (area[offsetof(VELTIME, isLocalTime)] & 1U) != 0;
  value.tmVal.isValid = (area[offsetof(VELTIME, isValid)] & 1U) != 0;
  value.strVal = payload.substr(used);
  return value;
}

/// Reads a group value the converter wrote for dpt, writes the record again
/// and reads that: where the record is written at all, it must come back as
/// it was.
void CheckStable(KNXDPT dpt, const KnxStack::GroupValue& sent) {
  if (Converter().GetEntry(dpt).GetValueType() == ivtEmpty) {
    return; // accepted unseen, nothing was written
  }
  if (dpt.mainNumber == 19) {
    return; // the year goes out as its low byte and comes in as byte + 1900
  }
  VELVALUE read;
  if (!Converter().FromKnxValue(dpt, sent, read)) {
    return;
  }
  KnxStack::GroupValue resent;
  if (!Converter().ToKnxValue(dpt, read, resent)) {
    return; // some rows read a record type that their own type check refuses
  }
  VELVALUE reread;
  if (!Converter().FromKnxValue(dpt, resent, reread) || reread != read) {
    std::abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::uint8_t header[10] = {};
  const std::size_t headerSize = std::min(size, sizeof(header));
  std::memcpy(header, data, headerSize);
  const auto word = [&header](int at) {
    return static_cast<std::uint16_t>(header[at] << 8 | header[at + 1]);
  };
  KNXDPT dpt(header[1], word(2), word(4));
  const unsigned definedSize = word(6);
  const std::string payload(reinterpret_cast<const char*>(data) + headerSize, size - headerSize);
  const KnxStack::GroupValue group(
      KnxStack::BinaryData(std::vector<std::uint8_t>(payload.begin(), payload.end())), definedSize);
  VELVALUE value(static_cast<VelValueType>(word(8)));
  KnxStack::GroupValue out;
  std::string serialised;
  switch (header[0] % 4) {
  case 0:
    if (Converter().FromKnxValue(dpt, group, value) && Converter().ToKnxValue(dpt, value, out)) {
      CheckStable(dpt, out);
    }
    break;
  case 1:
    if (Converter().ToKnxValue(dpt, RecordOf(value.ivt, payload), out)) {
      CheckStable(dpt, out);
    }
    break;
  case 2:
    Converter().ToKnxValue(payload, definedSize, out);
    break;
  default:
    Converter().FromKnxValue(group, serialised, (definedSize & 1U) != 0);
  }
  return 0;
}
