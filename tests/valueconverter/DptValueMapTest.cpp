#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace AvoTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DptValueMap, LookupFindsExactRowThenMainRowThenEmptyEntry) {
  // Registered out of key order; 30.005 has no main.x row. Tag = main * 1000 + sub.
  Avo::KnxValueConverter converter;
  for (const auto& [main, sub] : {std::pair<int, int>{20, 103}, {9, 1}, {30, 5}, {20, 0}, {9, 0}, {20, 102}}) {
    converter.AddDptValueMapEntry(main, sub, 16, ivtFloat, VelDP::vstNone, TestConverter(main * 1000 + sub));
  }
  const struct {
    KNXDPT requested;
    int tag; // -1: the shared empty entry, after the line
    const char* line;
  } cases[] = {{{16, 9, 1}, 9001, ""},       {{0, 9, 1}, 9001, ""}, // the bit size is no part of the key
               {{16, 9, 29}, 9000, ""},      {{16, 9, 0}, 9000, ""},   {{8, 20, 105}, 20000, ""},
               {{8, 20, 103}, 20103, ""},    {{8, 30, 5}, 30005, ""},  {{8, 30, 7}, -1, "30.x"},
               {{8, 30, 0}, -1, "30.0"},     {{8, 30, 1}, -1, "30.x"}, {{8, 99, 1}, -1, "99.1"},
               {{8, 8, 1}, -1, "8.1"}};
  for (const auto& c : cases) {
    ScopedLogCapture capture;
    const Avo::DptValueEntry& row = converter.GetEntry(c.requested);
    EXPECT_EQ(TagOf(row), c.tag) << c.requested;
    if (c.tag < 0) {
      EXPECT_EQ(&row, &Avo::DptValueMap::GetEmptyEntry());
      EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::ERROR_LOG_LEVEL,
                                                    std::string("No Entry found for DPT = ") + c.line, "GetEntry")));
    } else {
      EXPECT_THAT(capture.Lines(), IsEmpty());
    }
  }
  const Avo::DptValueEntry& empty = Avo::DptValueMap::GetEmptyEntry();
  EXPECT_TRUE(empty.GetDpt() == KNXDPT(0, 0, 0) && empty.GetValueType() == ivtEmpty && empty.GetValueSubType() == 0);
  EXPECT_NE(dynamic_cast<const Avo::KnxConverterDefault*>(empty.GetConverter()), nullptr);
}

// A converter filled by Init finds its rows through an index of the
// catalogue's layout; the same rows registered one by one are searched. Both
// must give the same row, or the same line, for any DPT.
TEST(DptValueMap, CatalogueLookupsAgreeWithASearchOfTheSameRows) {
  Avo::KnxValueConverter searched;
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    const KNXDPT& dpt = row.GetDpt();
    searched.AddDptValueMapEntry(dpt.mainNumber, dpt.subNumber, dpt.bitSize, row.GetValueType(),
                                 row.GetValueSubType(), *row.GetConverter());
  }
  ScopedLogCapture capture;
  std::vector<std::string> mismatches;
  for (std::uint16_t main = 0; main <= 300; ++main) {
    for (std::uint16_t sub : {0, 1, 2, 5, 6, 7, 20, 27, 28, 29, 101, 102, 103, 104, 600, 65535}) {
      const KNXDPT dpt(16, main, sub);
      const Avo::DptValueEntry& indexed = Initialised().GetEntry(dpt);
      const std::vector<std::string> indexedLines = capture.Texts();
      capture.Clear();
      const Avo::DptValueEntry& found = searched.GetEntry(dpt);
      if (!(indexed.GetDpt() == found.GetDpt()) || capture.Texts() != indexedLines) {
        mismatches.push_back(DptText(dpt));
      }
      capture.Clear();
    }
  }
  EXPECT_THAT(mismatches, IsEmpty());
}

// A moved-from converter is left without rows (and without the index of the
// rows it gave away); the one moved to keeps finding them.
TEST(DptValueMap, MovedFromConverterIsEmptyAndItsLookupsFail) {
  Avo::KnxValueConverter source;
  source.Init();
  Avo::KnxValueConverter target(std::move(source));
  Avo::KnxValueConverter assigned;
  assigned = std::move(target);
  ScopedLogCapture capture;
  EXPECT_EQ(assigned.GetEntry(KNXDPT(16, 9, 1)).GetDpt(), KNXDPT(16, 9, 1));
  EXPECT_EQ(assigned.GetEntry(KNXDPT(1, 1, 1)).GetDpt(), KNXDPT(1, 1, 0));
  for (const Avo::KnxValueConverter* empty : {&source, &target}) {
    EXPECT_EQ(empty->GetDptValueMap().GetSize(), 0u);
    EXPECT_EQ(&empty->GetEntry(KNXDPT(16, 9, 1)), &Avo::DptValueMap::GetEmptyEntry());
  }
  EXPECT_THAT(capture.Texts(), ElementsAre("No Entry found for DPT = 9.1", "No Entry found for DPT = 9.1"));
}

TEST(DptValueMap, FirstRegistrationWinsAndEveryRowOwnsItsOwnClone) {
  const KNXDPT dpt(8, 4, 1);
  {
    const TestConverter first(1);
    Avo::KnxValueConverter converter;
    EXPECT_TRUE(converter.AddDptValueMapEntry(4, 1, 8, ivtString, VelDP::vstAsciiString, first));
    EXPECT_TRUE(converter.AddDptValueMapEntry(4, 1, 16, ivtByte, VelDP::vstLatin1String, TestConverter(2)));
    const Avo::DptValueEntry& row = converter.GetEntry(dpt);
    EXPECT_TRUE(TagOf(row) == 1 && row.GetDpt() == dpt && row.GetValueSubType() == VelDP::vstAsciiString);
    EXPECT_NE(row.GetConverter(), &first);
    EXPECT_EQ(TestConverter::Live(), 2); // the argument and the row's clone

    Avo::KnxValueConverter copy(converter);
    Avo::DptValueEntry rowCopy(row);
    EXPECT_NE(copy.GetEntry(dpt).GetConverter(), row.GetConverter());
    EXPECT_NE(rowCopy.GetConverter(), row.GetConverter());
    copy = converter;
    rowCopy = row;
    EXPECT_EQ(TestConverter::Live(), 4);
  }
  EXPECT_EQ(TestConverter::Live(), 0);
}

} // namespace
