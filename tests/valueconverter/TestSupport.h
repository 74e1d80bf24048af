#pragma once
// Helpers of the value converter tests: value records by type, a converter
// whose clones are counted and whose behaviour a test picks, and one
// initialised converter shared by the tests that only read it.
#include "AvoObjectModel/KnxValueConverter.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace AvoTest {

template <class Field, class T>
VELVALUE Make(VelValueType type, Field VELVALUE::*field, T v) {
  VELVALUE r(type);
  r.*field = static_cast<Field>(v);
  return r;
}
inline VELVALUE Byte(std::uint8_t v) { return Make(ivtByte, &VELVALUE::byVal, v); }
inline VELVALUE Word(std::uint16_t v) { return Make(ivtWord, &VELVALUE::wVal, v); }
inline VELVALUE DWord(std::uint32_t v) { return Make(ivtDWord, &VELVALUE::dwVal, v); }
inline VELVALUE Int(std::int32_t v) { return Make(ivtInteger, &VELVALUE::lVal, v); }
inline VELVALUE Float(double v) { return Make(ivtFloat, &VELVALUE::dblVal, v); }
inline VELVALUE Bool(bool v) { return Make(ivtBool, &VELVALUE::byVal, v); }
inline VELVALUE Text(const std::string& v) { return Make(ivtString, &VELVALUE::strVal, v); }

inline KnxStack::GroupValue Group(std::vector<std::uint8_t> bytes, unsigned int bitSize) {
  return KnxStack::GroupValue(KnxStack::BinaryData(std::move(bytes)), bitSize);
}

/// Equal values, whatever status the records were constructed with.
inline bool SameValue(VELVALUE actual, const VELVALUE& expected) {
  actual.status = expected.status;
  return actual == expected;
}

inline std::string DptText(const KNXDPT& dpt) {
  return std::to_string(dpt.mainNumber) + "." + std::to_string(dpt.subNumber);
}

/// Writes its tag as one byte; reads into the text the defined size and the
/// bytes it was handed. Or refuses, throws, or clones to null.
class TestConverter final : public Avo::KnxConverter {
public:
  enum class Mode { Succeed, Refuse, Throw, CloneToNull };
  explicit TestConverter(int tag, Mode mode = Mode::Succeed) : m_tag(tag), m_mode(mode) { ++s_live; }
  TestConverter(const TestConverter& o) : KnxConverter(o), m_tag(o.m_tag), m_mode(o.m_mode) { ++s_live; }
  ~TestConverter() override { --s_live; }

  bool ToKnxValue(const KNXDPT&, const VELVALUE&, KnxStack::GroupValue& group) const override {
    group.SetAsUnsigned8(static_cast<unsigned char>(Act()));
    return m_mode != Mode::Refuse;
  }
  bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue& group, VELVALUE& value) const override {
    Act();
    value.strVal = std::to_string(group.GetDefinedSize()) + ":" + group.GetRawData().ToString();
    return m_mode != Mode::Refuse;
  }
  Avo::KnxConverter* Clone() const override {
    return m_mode == Mode::CloneToNull ? nullptr : new TestConverter(*this);
  }
  int Tag() const { return m_tag; }
  static int Live() { return s_live; } ///< TestConverter objects alive

private:
  int Act() const {
    if (m_mode == Mode::Throw) {
      throw KnxStack::GroupValueException("bad bits");
    }
    return m_tag;
  }
  int m_tag;
  Mode m_mode;
  static inline std::atomic<int> s_live{0};
};

/// The tag of a row holding a TestConverter; -1 for any other row.
inline int TagOf(const Avo::DptValueEntry& row) {
  const auto* converter = dynamic_cast<const TestConverter*>(row.GetConverter());
  return converter != nullptr ? converter->Tag() : -1;
}

inline const Avo::KnxValueConverter& Initialised() {
  static const Avo::KnxValueConverter converter = [] {
    Avo::KnxValueConverter c;
    c.Init();
    return c;
  }();
  return converter;
}

} // namespace AvoTest
