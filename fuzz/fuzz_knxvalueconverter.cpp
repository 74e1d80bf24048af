// Feeds arbitrary DPTs, group values and value records through the value
// converter in both directions, and through its text form. Every line is
// formatted (into a null appender), so that printing odd values is covered too.
//
// Input: byte 0 picks the operation; then the DPT's bit size (1 byte), main
// number (2), sub number (2), the group value's defined size (2) and the value
// type (2), big-endian; the rest is the payload (group value bytes, or value
// area and text, or the serialised text).
#include "AvoObjectModel/KnxValueConverter.h"
#include "Avo/Logging.h"

#include <log4cplus/nullappender.h>

#include <cstddef>
#include <cstdint>
#include <cstring> // std::memcpy
#include <string>

namespace {

class Input {
public:
  Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

  unsigned Take(std::size_t bytes) {
    unsigned value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      value = (value << 8) | (m_position < m_size ? m_data[m_position++] : 0U);
    }
    return value;
  }
  const std::uint8_t* Rest() const { return m_data + m_position; }
  std::size_t RestSize() const { return m_size - m_position; }

private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_position = 0;
};

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

VELVALUE MakeValue(VelValueType type, const std::uint8_t* payload, std::size_t size) {
  VELVALUE value(type);
  Input in(payload, size);
  if (type == ivtDate || type == ivtTime || type == ivtDateTime || type == ivtDayTime ||
      type == ivtTimestamp || type == ivtTimeSpan || type == ivtDayDate || type == ivtUtcDateTime) {
    VELTIME& t = value.tmVal;
    t.year = static_cast<std::uint16_t>(in.Take(2));
    t.month = static_cast<std::uint8_t>(in.Take(1));
    t.day = static_cast<std::uint8_t>(in.Take(1));
    t.hour = static_cast<std::uint8_t>(in.Take(1));
    t.minute = static_cast<std::uint8_t>(in.Take(1));
    t.second = static_cast<std::uint8_t>(in.Take(1));
    t.weekday = static_cast<std::uint16_t>(in.Take(2));
  } else {
    std::uint8_t area[sizeof(double)] = {};
    for (std::uint8_t& byte : area) {
      byte = static_cast<std::uint8_t>(in.Take(1));
    }
    std::memcpy(&value.dblVal, area, sizeof(area)); // every member but the time lies in these bytes
  }
  value.strVal.assign(reinterpret_cast<const char*>(in.Rest()), in.RestSize());
  return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Avo::AvoKnxValueConverter& converter = Converter();
  Input in(data, size);
  const unsigned operation = in.Take(1) % 4;
  KNXDPT dpt;
  dpt.bitSize = static_cast<std::uint8_t>(in.Take(1));
  dpt.mainNumber = static_cast<std::uint16_t>(in.Take(2));
  dpt.subNumber = static_cast<std::uint16_t>(in.Take(2));
  const unsigned definedSize = in.Take(2);
  const auto type = static_cast<VelValueType>(in.Take(2));
  const KnxStack::BinaryData bytes(in.Rest(), static_cast<unsigned>(in.RestSize()));
  const KnxStack::GroupValue group(bytes, definedSize);
  const std::string text(reinterpret_cast<const char*>(in.Rest()), in.RestSize());

  switch (operation) {
  case 0: {
    VELVALUE value(type);
    converter.FromKnxValue(dpt, group, value);
    break;
  }
  case 1: {
    KnxStack::GroupValue out;
    converter.ToKnxValue(dpt, MakeValue(type, in.Rest(), in.RestSize()), out);
    break;
  }
  case 2: {
    KnxStack::GroupValue out;
    converter.ToKnxValue(text, definedSize, out);
    break;
  }
  default: {
    std::string serialised;
    converter.FromKnxValue(group, serialised, (definedSize & 1U) != 0);
    break;
  }
  }
  return 0;
}
