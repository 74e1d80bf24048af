#include "AvoObjectModel/KnxKelMapping.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

using K = Avo::KnxKelMapping;

// The known main numbers, grouped by the value type of their values.
std::map<std::uint32_t, VelValueType> KnownMainNumbers() {
  const std::map<VelValueType, std::vector<std::uint32_t>> byType = {
      {ivtEmpty, {4, 29, 219, 222, 229, 230}},
      {ivtBool, {1}},
      {ivtByte, {2, 3, 5, 6, 17, 18, 20, 21, 23, 25, 26, 31, 238}},
      {ivtWord, {7, 22, 200, 201, 202, 217, 234, 237}},
      {ivtInteger, {8, 13}},
      {ivtFloat, {9, 14}},
      {ivtDWord, {12, 15, 27, 30, 232}},
      {ivtString, {16, 24, 28}},
      {ivtDate, {11}},
      {ivtDateTime, {19}},
      {ivtDayTime, {10}}};
  std::map<std::uint32_t, VelValueType> known;
  for (const auto& group : byType) {
    for (const std::uint32_t main : group.second) {
      known.emplace(main, group.first);
    }
  }
  return known;
}

TEST(MainTypeTable, EveryMainNumberHasItsValueTypeAndDefault) {
  const auto known = KnownMainNumbers();
  ASSERT_EQ(known.size(), 43u);
  for (std::uint32_t main = 0; main <= 0xFFFF; ++main) {
    const auto row = known.find(main);
    const VelValueType type = row != known.end() ? row->second : ivtEmpty;
    EXPECT_EQ(K::GetIvtFromDpt(main << 16 | 0xFFFF), type) << main;
    EXPECT_EQ(K::GetIvtFromMainType(main), VELVALUE::GetNameFromValueType(type)) << main;
    EXPECT_EQ(K::GetIstFromMainType(main) == "Generic", row == known.end()) << main;
    for (const bool internalFormat : {false, true}) {
      const std::string text = K::GetDefaultValueFromDpt(main << 16 | 1, internalFormat);
      VELVALUE value;
      EXPECT_EQ(value.Deserialize(text), row != known.end()) << main;
      // Zero, the empty text or a cleared time; main 234 holds "en".
      VELVALUE zero = type == ivtEmpty ? VELVALUE() : VELVALUE(type);
      if (type == ivtDate || type == ivtDateTime || type == ivtDayTime) {
        zero.tmVal.Clear(true);
      }
      if (main == 234) {
        zero.wVal = 0x656E;
      }
      EXPECT_TRUE(row == known.end() || value == zero) << main << ": " << text;
    }
  }
  EXPECT_EQ(K::GetIstFromMainType(1), VelDP::GetNameFromValueSubType(VelDP::vstSwitch));
  EXPECT_EQ(K::GetIstFromMainType(6), VelDP::GetNameFromValueSubType(VelDP::vstSigned8Bit));
  EXPECT_EQ(K::GetIstFromMainType(8), VelDP::GetNameFromValueSubType(VelDP::vstSigned16Bit));
  EXPECT_EQ(K::GetIstFromMainType(9), VelDP::GetNameFromValueSubType(VelDP::vstNone));
}

TEST(MainTypeTable, EmptyMakerOnlyMakesEmptyRecordsAndSharedNamesStand) {
  EXPECT_EQ(K::CreateDefaultValueEmpty(ivtEmpty), VELVALUE());
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(K::CreateDefaultValueEmpty(ivtByte), Avo::AssertionFailed);
  EXPECT_THAT(capture.Lines(),
              ::testing::ElementsAre(AvoTest::Line(log4cplus::FATAL_LOG_LEVEL,
                                                   "AVO_ASSERT2(emptyVelValue.ivt == ivt) failed",
                                                   "CreateDefaultValueEmpty")));
  EXPECT_STREQ(Avo::kConnectorAppName, "ConnectorApp");
  EXPECT_STREQ(Avo::kYonConfigName, "YonConfig");
  EXPECT_STREQ(Avo::kObjectModelConfigPath, "/opt/userdata/devicestack/avoOM/config.json");
}

} // namespace
