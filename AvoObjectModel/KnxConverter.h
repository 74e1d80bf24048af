#pragma once
/// @file
/// Converters between a VELVALUE and a KNX group value, one class per DPT
/// family, and the range classes that bound and scale their values.
///
/// Every catalogue row owns a private clone of its converter (Clone). The
/// converters hold no mutable state, so one object may convert on several
/// threads at once.

#include "AvoObjectModel/Export.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <cstddef> // std::size_t
#include <cstdint>
#include <iosfwd>
#include <string>

namespace Avo {

// ---------------------------------------------------------------------------
// Ranges. The first pair bounds the value on the VELVALUE side (internal
// range), the second the raw KNX value (external range). The scale factor is
// computed once, at construction.
// ---------------------------------------------------------------------------

/// Two pairs of signed 32-bit bounds.
class AVO_OBJECTMODEL_EXPORT IntegerRange {
public:
  /// Computes the scale factor (external width / internal width). An empty
  /// range (minimum equal to maximum) on either side is logged at ERROR
  /// ("Failed to calculate the scale factor because of invalid ... range")
  /// and leaves the factor at 1: the range is built all the same, so a
  /// converter that holds it still converts, unscaled.
  IntegerRange(std::int32_t internalMinimum, std::int32_t internalMaximum,
               std::int32_t externalMinimum, std::int32_t externalMaximum);

  std::int32_t GetInternalMinimum() const { return m_internalMinimum; } ///< value side
  std::int32_t GetInternalMaximum() const { return m_internalMaximum; } ///< value side
  std::int32_t GetExternalMinimum() const { return m_externalMinimum; } ///< bus side
  std::int32_t GetExternalMaximum() const { return m_externalMaximum; } ///< bus side
  /// External width divided by internal width; 1 when either range is empty.
  double GetScaleFactor() const { return m_scaleFactor; }

  /// "IntegerRange(<imin>, <imax>, <emin>, <emax>)".
  std::string ToString() const;

private:
  void CalculateScaleFactor();

  std::int32_t m_internalMinimum;
  std::int32_t m_internalMaximum;
  std::int32_t m_externalMinimum;
  std::int32_t m_externalMaximum;
  double m_scaleFactor = 1.0;
};

/// Two pairs of signed 64-bit bounds (for the unsigned 24- and 32-bit values).
class AVO_OBJECTMODEL_EXPORT LongIntegerRange {
public:
  /// Computes the scale factor (external width / internal width). An empty
  /// range (minimum equal to maximum) on either side is logged at ERROR
  /// ("Failed to calculate the scale factor because of invalid ... range")
  /// and leaves the factor at 1: the range is built all the same, so a
  /// converter that holds it still converts, unscaled.
  LongIntegerRange(std::int64_t internalMinimum, std::int64_t internalMaximum,
                   std::int64_t externalMinimum, std::int64_t externalMaximum);

  std::int64_t GetInternalMinimum() const { return m_internalMinimum; } ///< value side
  std::int64_t GetInternalMaximum() const { return m_internalMaximum; } ///< value side
  std::int64_t GetExternalMinimum() const { return m_externalMinimum; } ///< bus side
  std::int64_t GetExternalMaximum() const { return m_externalMaximum; } ///< bus side
  /// External width divided by internal width; 1 when either range is empty.
  double GetScaleFactor() const { return m_scaleFactor; }

  /// "IntegerRange(<imin>, <imax>, <emin>, <emax>)": the same prefix as
  /// IntegerRange, which log readers already know.
  std::string ToString() const;

private:
  void CalculateScaleFactor();

  std::int64_t m_internalMinimum;
  std::int64_t m_internalMaximum;
  std::int64_t m_externalMinimum;
  std::int64_t m_externalMaximum;
  double m_scaleFactor = 1.0;
};

/// A double range on the value side and a signed 32-bit range on the bus side.
class AVO_OBJECTMODEL_EXPORT FloatIntegerRange {
public:
  /// Double range -671088.64 .. 670760.96 (the KNX 2-byte float's value
  /// limits), integer range -2147483648 .. 2147483647.
  FloatIntegerRange();
  /// Computes the scale factor (integer width / double width). An empty
  /// range (minimum equal to maximum) on either side is logged at ERROR
  /// ("Failed to calculate the scale factor because of invalid double range"
  /// or "... invalid integer range")
  /// and leaves the factor at 1: the range is built all the same, so a
  /// converter that holds it still converts, unscaled.
  FloatIntegerRange(double doubleMinimum, double doubleMaximum, std::int32_t integerMinimum,
                    std::int32_t integerMaximum);

  double GetDoubleMinimum() const { return m_doubleMinimum; }         ///< value side
  double GetDoubleMaximum() const { return m_doubleMaximum; }         ///< value side
  std::int32_t GetIntegerMinimum() const { return m_integerMinimum; } ///< bus side
  std::int32_t GetIntegerMaximum() const { return m_integerMaximum; } ///< bus side
  /// Integer width divided by double width; 1 when either range is empty.
  double GetScaleFactor() const { return m_scaleFactor; }

  /// "FloatIntegerRange(<dmin>, <dmax>, <imin>, <imax>)".
  std::string ToString() const;

private:
  void CalculateScaleFactor();

  double m_doubleMinimum;
  double m_doubleMaximum;
  std::int32_t m_integerMinimum;
  std::int32_t m_integerMaximum;
  double m_scaleFactor = 1.0;
};

/// Two pairs of double bounds; the only range that orders its bounds.
class AVO_OBJECTMODEL_EXPORT FloatRange {
public:
  /// Computes the scale factor (external width / double width,
  /// each bound pair taken in either order). An empty
  /// range (minimum equal to maximum) on either side is logged at ERROR
  /// ("Failed to calculate the scale factor because of invalid double range"
  /// or "... invalid external range")
  /// and leaves the factor at 1: the range is built all the same, so a
  /// converter that holds it still converts, unscaled.
  FloatRange(double doubleMinimum, double doubleMaximum, double externalMinimum,
             double externalMaximum);

  double GetDoubleMinimum() const { return m_doubleMinimum; }     ///< value side
  double GetDoubleMaximum() const { return m_doubleMaximum; }     ///< value side
  double GetExternalMinimum() const { return m_externalMinimum; } ///< bus side
  double GetExternalMaximum() const { return m_externalMaximum; } ///< bus side
  /// External width divided by double width; 1 when either range is empty.
  double GetScaleFactor() const { return m_scaleFactor; }

  /// "FloatRange(<dmin>, <dmax>, <emin>, <emax>)".
  std::string ToString() const;

private:
  void CalculateScaleFactor();

  double m_doubleMinimum;
  double m_doubleMaximum;
  double m_externalMinimum;
  double m_externalMaximum;
  double m_scaleFactor = 1.0;
};

/// Writes range.ToString(), as log lines print ranges.
AVO_OBJECTMODEL_EXPORT std::ostream& operator<<(std::ostream& os, const IntegerRange& range);
/// Writes range.ToString(), as log lines print ranges.
AVO_OBJECTMODEL_EXPORT std::ostream& operator<<(std::ostream& os, const LongIntegerRange& range);
/// Writes range.ToString(), as log lines print ranges.
AVO_OBJECTMODEL_EXPORT std::ostream& operator<<(std::ostream& os, const FloatIntegerRange& range);
/// Writes range.ToString(), as log lines print ranges.
AVO_OBJECTMODEL_EXPORT std::ostream& operator<<(std::ostream& os, const FloatRange& range);

// ---------------------------------------------------------------------------
// Converter interface.
// ---------------------------------------------------------------------------

/// Turns a VELVALUE into a group value for a DPT and back. Both operations
/// return false on every refusal (with one ERROR line); on false the output
/// may be partly written. The KNX stack's exceptions pass through: callers
/// that convert bytes from the bus go through KnxValueConverter, which
/// catches them.
class AVO_OBJECTMODEL_EXPORT KnxConverter {
public:
  virtual ~KnxConverter() = default;

  /// Writes value into group for dpt. False, after one ERROR line, when the
  /// value's type or range does not fit the converter; group may then be
  /// partly written. A KnxStack::GroupValueException of the group value's
  /// setters is not caught here (KnxValueConverter catches and logs it).
  virtual bool ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                          KnxStack::GroupValue& group) const = 0;
  /// Reads group into value for dpt. False, after one ERROR line, when the
  /// bytes do not hold a valid value of the DPT; value may then be partly
  /// written. A group value with fewer bytes than the encoding needs raises
  /// KnxStack::GroupValueException from its getter, which is not caught here
  /// (KnxValueConverter catches and logs it).
  virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                            VELVALUE& value) const = 0;
  /// A newly allocated copy of the same class (range included); the caller
  /// owns it and deletes it through this base.
  virtual KnxConverter* Clone() const = 0;

  /// Converters are allocated through a small cache of freed blocks kept per
  /// thread: every value check clones the whole catalogue and frees it again,
  /// and the general heap would be most of that check's cost. Each object is
  /// still a block of its own, owned and deleted like any other.
  static void* operator new(std::size_t size); // NOLINT(misc-new-delete-overloads): sized delete
  /// Returns the block to the current thread's cache (or to the heap when the
  /// cache is full), whichever thread allocated it.
  static void operator delete(void* block, std::size_t size) noexcept;

protected:
  KnxConverter() = default;
  /// Copies for Clone only: a converter is copied as its own class.
  KnxConverter(const KnxConverter&) = default;
  /// Assignment for the derived classes only.
  KnxConverter& operator=(const KnxConverter&) = default;
  /// Moves for the derived classes only (a converter holds no resources).
  KnxConverter(KnxConverter&&) = default;
  /// Move assignment for the derived classes only.
  KnxConverter& operator=(KnxConverter&&) = default;
};

namespace detail {

/// Clone for a concrete converter class.
template <class Derived>
class ClonableKnxConverter : public KnxConverter {
public:
  KnxConverter* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};

/// A converter holding a range by value, fixed at construction.
template <class Derived, class Range>
class RangedKnxConverter : public ClonableKnxConverter<Derived> {
public:
  explicit RangedKnxConverter(const Range& range) : m_range(range) {}
  const Range& GetRange() const { return m_range; }

protected:
  Range m_range;
};

} // namespace detail

/// Declares the two conversions of a converter class (this header only).
#define AVO_KNX_CONVERTER_OPERATIONS                                                               \
  bool ToKnxValue(const KNXDPT& dpt, const VELVALUE& value, KnxStack::GroupValue& group)           \
      const override;                                                                              \
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, VELVALUE& value)         \
      const override

/// Fall-back converter on raw bytes, through the platform's byte codec.
class AVO_OBJECTMODEL_EXPORT KnxConverterDefault final
    : public detail::ClonableKnxConverter<KnxConverterDefault> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 1.x, switching (1 bit).
class AVO_OBJECTMODEL_EXPORT KnxConverter1Bit final
    : public detail::ClonableKnxConverter<KnxConverter1Bit> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 2.x, control with priority (2 bits).
class AVO_OBJECTMODEL_EXPORT KnxConverter2Bit final
    : public detail::ClonableKnxConverter<KnxConverter2Bit> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 3.x, step control (4 bits).
class AVO_OBJECTMODEL_EXPORT KnxConverter4Bit final
    : public detail::RangedKnxConverter<KnxConverter4Bit, FloatIntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 4.x, one character.
class AVO_OBJECTMODEL_EXPORT KnxConverter8BitString final
    : public detail::RangedKnxConverter<KnxConverter8BitString, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 5.x, unsigned byte.
class AVO_OBJECTMODEL_EXPORT KnxConverterByte8BitUnsigned final
    : public detail::RangedKnxConverter<KnxConverterByte8BitUnsigned, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 6.x, signed byte.
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger8BitSigned final
    : public detail::RangedKnxConverter<KnxConverterInteger8BitSigned, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 6.020, status with a one-hot mode field.
class AVO_OBJECTMODEL_EXPORT KnxConverterStatus8Bit final
    : public detail::RangedKnxConverter<KnxConverterStatus8Bit, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 7.x, unsigned 16-bit.
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger16BitUnsigned final
    : public detail::RangedKnxConverter<KnxConverterInteger16BitUnsigned, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 8.x, signed 16-bit.
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger16BitSigned final
    : public detail::RangedKnxConverter<KnxConverterInteger16BitSigned, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// 3-byte unsigned (DPT 232.x).
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger24BitUnsigned final
    : public detail::RangedKnxConverter<KnxConverterInteger24BitUnsigned, LongIntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 12.x, unsigned 32-bit.
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger32BitUnsigned final
    : public detail::RangedKnxConverter<KnxConverterInteger32BitUnsigned, LongIntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 13.x, signed 32-bit; the only converter that scales.
class AVO_OBJECTMODEL_EXPORT KnxConverterInteger32BitSigned final
    : public detail::RangedKnxConverter<KnxConverterInteger32BitSigned, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 9.x, the KNX 2-byte float.
class AVO_OBJECTMODEL_EXPORT KnxConverterFloat16BitFloat final
    : public detail::RangedKnxConverter<KnxConverterFloat16BitFloat, FloatRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 14.x, IEEE 754 single precision.
class AVO_OBJECTMODEL_EXPORT KnxConverterFloat32BitFloat final
    : public detail::RangedKnxConverter<KnxConverterFloat32BitFloat, FloatRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 11.001, date.
class AVO_OBJECTMODEL_EXPORT KnxConverterDate final
    : public detail::ClonableKnxConverter<KnxConverterDate> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 10.001, time of day with day of week.
class AVO_OBJECTMODEL_EXPORT KnxConverterTimeOfDay final
    : public detail::ClonableKnxConverter<KnxConverterTimeOfDay> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 19.x, date and time (8 bytes).
class AVO_OBJECTMODEL_EXPORT KnxConverterDateTime final
    : public detail::ClonableKnxConverter<KnxConverterDateTime> {
public:
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 17.001, scene number.
class AVO_OBJECTMODEL_EXPORT KnxConverterSceneNumber final
    : public detail::RangedKnxConverter<KnxConverterSceneNumber, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 18.001, scene control.
class AVO_OBJECTMODEL_EXPORT KnxConverterSceneControl final
    : public detail::RangedKnxConverter<KnxConverterSceneControl, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 26.001, scene info.
class AVO_OBJECTMODEL_EXPORT KnxConverterSceneInfo final
    : public detail::RangedKnxConverter<KnxConverterSceneInfo, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

/// DPT 16.x, 14-byte string.
class AVO_OBJECTMODEL_EXPORT KnxConverter14ByteString final
    : public detail::RangedKnxConverter<KnxConverter14ByteString, IntegerRange> {
public:
  using RangedKnxConverter::RangedKnxConverter;
  AVO_KNX_CONVERTER_OPERATIONS;
};

#undef AVO_KNX_CONVERTER_OPERATIONS

/// What a converter is, for programs that show the DPT catalogue.
struct AVO_OBJECTMODEL_EXPORT KnxConverterDescription {
  /// The converter's class without the namespace ("KnxConverterFloat16BitFloat");
  /// empty for a class that this header does not define.
  std::string className;
  /// The range the converter holds, its class and its four bounds in full
  /// ("FloatRange(-671088.64, 670760.96, -671088.64, 670760.96)"); empty when
  /// it holds none.
  std::string range;
};

/// Names the class of the converter and the range it holds.
AVO_OBJECTMODEL_EXPORT KnxConverterDescription DescribeKnxConverter(const KnxConverter& converter);

} // namespace Avo
