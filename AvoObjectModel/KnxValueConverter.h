#pragma once
/// @file
/// The table-driven conversion path between KNX group values and VELVALUE
/// records: the DPT value map (one row per convertible DPT, each owning its
/// converter), the DPT catalogue that fills it, Avo::KnxValueConverter and
/// its text-form companion Avo::AvoKnxValueConverter.
///
/// Threads: a converter is read-only after Init, so several threads may
/// convert through one converter at once; Init must not run while another
/// thread converts through the same object.

#include "AvoObjectModel/Export.h"
#include "AvoObjectModel/KnxConverter.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <boost/container/small_vector.hpp>

#include <array>
#include <cstddef> // std::size_t
#include <cstdint> // std::uint16_t, std::uint32_t
#include <memory>  // std::unique_ptr
#include <string>
#include <utility> // std::move

namespace Avo {

/// One row of the DPT value map: the DPT (with the group value's size in
/// bits), the value type and subtype that a VELVALUE for it carries, and the
/// converter that does the work. A row owns its converter exclusively:
/// building a row from a converter and copying a row both clone it.
class AVO_OBJECTMODEL_EXPORT DptValueEntry {
public:
  /// A row holding a clone of `converter`; a null converter gives a row without one.
  DptValueEntry(const KNXDPT& dpt, VelValueType valueType, VelDP::VelValueSubType valueSubType,
                const KnxConverter* converter)
      : DptValueEntry(
            dpt, valueType, valueSubType,
            std::unique_ptr<KnxConverter>(converter != nullptr ? converter->Clone() : nullptr)) {}
  /// A row that takes over `converter`, a clone made for it alone.
  DptValueEntry(const KNXDPT& dpt, VelValueType valueType, VelDP::VelValueSubType valueSubType,
                std::unique_ptr<KnxConverter>&& converter) noexcept
      : m_dpt(dpt), m_valueType(valueType), m_valueSubType(valueSubType),
        m_converter(std::move(converter)) {}
  /// Copies DPT and types and clones the converter.
  DptValueEntry(const DptValueEntry& other);
  /// Takes the other row's converter over; the other row is left without one.
  DptValueEntry(DptValueEntry&& other) noexcept = default;
  /// Copies DPT and types and clones the converter; the row is unchanged
  /// when the clone cannot be made.
  DptValueEntry& operator=(const DptValueEntry& other);
  /// Takes the other row's converter over; the other row is left without one.
  DptValueEntry& operator=(DptValueEntry&& other) noexcept = default;
  virtual ~DptValueEntry() = default;

  /// The DPT with the bit size of its group values.
  const KNXDPT& GetDpt() const { return m_dpt; }
  /// The value type of the row's VELVALUE records.
  VelValueType GetValueType() const { return m_valueType; }
  /// The value subtype of the row's VELVALUE records.
  VelDP::VelValueSubType GetValueSubType() const { return m_valueSubType; }
  /// The row's own converter; null for a row built without one.
  const KnxConverter* GetConverter() const { return m_converter.get(); }

private:
  KNXDPT m_dpt;
  VelValueType m_valueType;
  VelDP::VelValueSubType m_valueSubType;
  std::unique_ptr<KnxConverter> m_converter;
};

/// The rows of the DPT catalogue, ordered by main number and, within a main
/// number, by sub number (smallest first). The bit size is no part of the
/// key. A row with sub number 0 stands for its whole main number ("main.x")
/// and serves every sub number that has no row of its own. Copying the map
/// clones every converter.
class AVO_OBJECTMODEL_EXPORT DptValueMap {
public:
  /// Rows held inside the map object itself: the whole catalogue. A map is
  /// built for every value check, so its rows must not cost an allocation
  /// of their own; further rows go to the heap.
  static constexpr std::size_t kInlineRows = 53;
  /// The row storage.
  using Rows = boost::container::small_vector<DptValueEntry, kInlineRows>;
  /// Iterates over the rows in key order.
  using const_iterator = Rows::const_iterator;

  /// No rows.
  DptValueMap() = default;
  /// Copies every row, cloning its converter.
  DptValueMap(const DptValueMap&) = default;
  /// Takes the other map's rows over; the other map is left empty.
  DptValueMap(DptValueMap&& other) noexcept;
  /// Copies every row, cloning its converter.
  DptValueMap& operator=(const DptValueMap&) = default;
  /// Takes the other map's rows over; the other map is left empty.
  DptValueMap& operator=(DptValueMap&& other) noexcept;
  virtual ~DptValueMap() = default;

  /// Stores a row for `dpt` that takes over `converter`, unless a row for
  /// the DPT's main and sub number exists already: the first registration
  /// wins, and a repeated one is reported as success (its converter is
  /// deleted). True once the pair has a row.
  bool Add(const KNXDPT& dpt, VelValueType valueType, VelDP::VelValueSubType valueSubType,
           std::unique_ptr<KnxConverter>&& converter) {
    // Defined here to be inlined into the catalogue's filling: the catalogue
    // registers nearly every row in key order, and appending where there is
    // room is a few stores that cannot throw.
    const std::size_t size = m_entries.size();
    m_catalogueIndex = nullptr;
    if (size != m_entries.capacity() &&
        (size == 0 || KeyOf(m_entries[size - 1].GetDpt()) < KeyOf(dpt))) {
      m_entries.emplace_back(dpt, valueType, valueSubType, std::move(converter));
      return true;
    }
    return Insert(DptValueEntry(dpt, valueType, valueSubType, std::move(converter)));
  }

  /// The row for the DPT: the exact (main, sub) row, else the main.x row of
  /// the main number, else the shared empty entry (value type 1) after one
  /// ERROR line. Never throws.
  const DptValueEntry& GetEntry(const KNXDPT& dpt) const {
    // Defined here, so that a conversion finds a catalogue row without a
    // call: through the index to the main number's rows, a short walk over
    // them, or the main.x row. Everything else is searched and logged.
    if (m_catalogueIndex != nullptr && dpt.mainNumber < kIndexedMainNumbers) {
      const std::uint8_t position = (*m_catalogueIndex)[dpt.mainNumber];
      if (position != kNoRow) {
        const DptValueEntry* const first = m_entries.data() + position;
        const DptValueEntry* const end = m_entries.data() + m_entries.size();
        const std::uint32_t key = KeyOf(dpt);
        for (const DptValueEntry* row = first; row != end && KeyOf(row->GetDpt()) <= key; ++row) {
          if (KeyOf(row->GetDpt()) == key) {
            return *row;
          }
        }
        if (dpt.subNumber != 0 && first->GetDpt().subNumber == 0) {
          return *first;
        }
      }
    }
    return GetEntry(dpt, Search{});
  }

  /// Removes every row (and so deletes every converter).
  void Clear();

  /// Number of rows.
  std::size_t GetSize() const { return m_entries.size(); }
  /// Number of distinct main numbers.
  std::size_t GetMainNumberCount() const;
  /// The first row in key order.
  const_iterator begin() const { return m_entries.begin(); }
  /// Past the last row.
  const_iterator end() const { return m_entries.end(); }

  /// What a failed lookup returns: DPT 0.0 with 0 bits, value type 1, subtype
  /// 0 and a KnxConverterDefault. Built on first use and kept for the life of
  /// the process.
  static const DptValueEntry& GetEmptyEntry();

private:
  friend class KnxValueConverter; // lays the catalogue out and indexes it

  /// The main numbers of every catalogue row lie below this one.
  static constexpr std::size_t kIndexedMainNumbers = 256;
  /// Marks a main number without rows in a MainNumberIndex.
  static constexpr std::uint8_t kNoRow = 0xFF;
  /// Position of the first row of each main number, kNoRow where it has none.
  using MainNumberIndex = std::array<std::uint8_t, kIndexedMainNumbers>;

  /// The index of the current rows; their positions must lie below kNoRow.
  MainNumberIndex BuildIndex() const;

  struct Search {};
  /// GetEntry by searching the rows, for the lookups that the index does not
  /// answer; it logs the failed ones (under the name GetEntry).
  const DptValueEntry& GetEntry(const KNXDPT& dpt, Search /*search*/) const;

  /// The ordering key: main number, then sub number.
  static std::uint32_t KeyOf(const KNXDPT& dpt) {
    return (static_cast<std::uint32_t>(dpt.mainNumber) << 16) | dpt.subNumber;
  }
  /// Orders rows against a key (a function object, so that searches inline it).
  struct RowBelow {
    bool operator()(const DptValueEntry& row, std::uint32_t key) const {
      return KeyOf(row.GetDpt()) < key;
    }
  };
  /// Add for a row out of key order, a repeated row or a map without room.
  bool Insert(DptValueEntry&& entry);

  Rows m_entries; // sorted by (main, sub)
  /// While the rows are those of the catalogue, as Init lays them out every
  /// time: where each main number's rows begin, so that a lookup goes
  /// straight to them. Null once the rows change otherwise (then a lookup
  /// searches).
  const MainNumberIndex* m_catalogueIndex = nullptr;
};

/// Converts between KNX group values and VELVALUE records through the DPT
/// catalogue. Construct, call Init, then convert. Where the caller does not
/// know the DPT (main number 0), a default DPT is chosen from the value's
/// type or from the bit size. Conversions return false with one logged line
/// on failure and never let a KnxStack::GroupValueException escape (it is
/// caught and logged: "Exception caught during conversion of ..."). A DPT
/// without a catalogue row is accepted as valid: true, after the ERROR lines
/// "No Entry found for DPT = ..." (GetEntry's and the conversion's own) and
/// "Assume validity and accept value!". Kept so that values of DPTs this
/// library does not know still pass.
class AVO_OBJECTMODEL_EXPORT KnxValueConverter {
public:
  /// Defined size that marks a main number of variable size: such values
  /// pass the bit-size check whatever their size.
  static constexpr unsigned int kVariableBitSize = 0x7FFFFFFF;

  /// An empty map: call Init before converting.
  KnxValueConverter() = default;
  /// Copies the map, cloning every row's converter.
  KnxValueConverter(const KnxValueConverter&) = default;
  /// Takes the other converter's rows over; it is left with an empty map.
  KnxValueConverter(KnxValueConverter&&) noexcept = default;
  /// Copies the map, cloning every row's converter.
  KnxValueConverter& operator=(const KnxValueConverter&) = default;
  /// Takes the other converter's rows over; it is left with an empty map.
  KnxValueConverter& operator=(KnxValueConverter&&) noexcept = default;
  virtual ~KnxValueConverter() = default;

  /// Fills the map from the catalogue (FillDptValueMap); may be called again
  /// and then rebuilds the same rows. Always true.
  bool Init();

  /// Writes `val` into `gv` for `dpt`. When dpt's main number is 0 it is
  /// completed in place from the value's type or, failing that, its bit size.
  bool ToKnxValue(KNXDPT& dpt, const VELVALUE& val, KnxStack::GroupValue& gv) const;
  /// Reads `gv` into `val` for `dpt`. When dpt's main number is 0 it is
  /// completed in place from its bit size or, when that is 0, from the group
  /// value's defined size. `val.ivt` is set to the row's value type even when
  /// the conversion then fails.
  bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, VELVALUE& val) const;

  /// The map's row for the DPT (see DptValueMap::GetEntry).
  const DptValueEntry& GetEntry(const KNXDPT& dpt) const { return m_dptValueMap.GetEntry(dpt); }
  /// Registers one row holding a clone of `converter`; the first registration
  /// of a (main, sub) pair wins. False only when the row could not be stored.
  bool AddDptValueMapEntry(std::uint16_t mainNumber, std::uint16_t subNumber, std::uint8_t bitSize,
                           VelValueType valueType, VelDP::VelValueSubType valueSubType,
                           const KnxConverter& converter) {
    // Defined here so that filling the catalogue inlines it: Init runs for
    // every value check. The row's one clone is moved into the map.
    std::unique_ptr<KnxConverter> clone(converter.Clone());
    return m_dptValueMap.Add(KNXDPT(bitSize, mainNumber, subNumber), valueType, valueSubType,
                             std::move(clone));
  }
  /// The rows registered so far.
  const DptValueMap& GetDptValueMap() const { return m_dptValueMap; }

  /// Default DPT for the bit size of `dpt`: writes main and sub, keeps the
  /// bit size. False, with `dpt` unchanged, for a size without a default.
  static bool GetDefaultMappingDptForSize(KNXDPT& dpt);
  /// Default DPT for the type of `val` (for floats, integers and strings
  /// also by the bit size requested in `dpt`): writes main, sub and bit size.
  /// False, with `dpt` unchanged, when there is none.
  static bool GetDefaultMappingDptForValueType(KNXDPT& dpt, const VELVALUE& val);
  /// Whether a value of type `given` may be converted by a row that expects
  /// type `expected`. Not symmetric: a date-and-time value fits a date row,
  /// but a date value does not fit a date-and-time row.
  static bool AreValueTypesCompatible(VelValueType given, VelValueType expected);
  /// Size in bits of the group values of a main number; kVariableBitSize for
  /// the variable-size ones, 0 for main numbers without a standard size.
  static unsigned int GetStandardBitSize(std::uint16_t mainNumber);

  /// Clears the map and registers every row of the DPT catalogue, in the
  /// catalogue's order. Always true: a row that cannot be stored is logged
  /// and skipped.
  bool FillDptValueMap();

private:
  DptValueMap m_dptValueMap;
};

/// KnxValueConverter with the serialised text form of a VELVALUE
/// (VELVALUE::Serialize / Deserialize) on the value side. DPT choice,
/// checks, results and log lines are those of KnxValueConverter.
class AVO_OBJECTMODEL_EXPORT AvoKnxValueConverter : public KnxValueConverter {
public:
  using KnxValueConverter::FromKnxValue;
  using KnxValueConverter::ToKnxValue;

  /// Deserialises `text` and converts it for `dpt`, which is completed in
  /// place when its main number is 0. A text that does not parse is handed
  /// on as whatever Deserialize left.
  bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv) const;
  /// Deserialises `text` and converts it for the default DPT of its type or,
  /// failing that, of the low 8 bits of `bitSize`.
  bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv) const;
  /// Converts `gv` for the default DPT of its defined size and, only on
  /// success, serialises the value into `text` (`flag` goes to Serialize).
  bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool flag) const;
};

} // namespace Avo
