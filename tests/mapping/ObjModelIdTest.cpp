#include "AvoObjectModel/KnxKelMapping.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Avo::KnxKelMapping;
using Avo::ObjModelId;
using Avo::ParameterType;
using boost::make_optional;
using K = KnxKelMapping;

// Every identifier lies in its logical device's block and classifies back to it.
void ExpectInBlock(ObjModelId id, Avo::LogicalDeviceId ld) {
  EXPECT_TRUE(id >= K::GetLogicalKnxDeviceObjModelId(ld) && id <= K::GetLastObjModelId(ld)) << id;
  EXPECT_TRUE(K::GetLogicalDeviceIdFromObject(id) == ld) << id;
}

TEST(ObjModelId, EveryCommunicationObjectClassifiesBack) {
  std::set<ObjModelId> seen;
  for (const int ld : {1, 2}) {
    EXPECT_FALSE(K::GetCoChannelObjModelId(4096, ld) || K::GetCoValueObjModelId(4096, ld));
    for (std::uint16_t co = 0; co < 4096; ++co) {
      const ObjModelId channel = K::GetCoChannelObjModelId(co, ld).value();
      ExpectInBlock(channel, ld);
      EXPECT_TRUE(channel % 2 == 0 && seen.insert(channel).second) << channel;
      EXPECT_FALSE(K::GetCoNumberFromObjModelId(channel, ld) || K::IsCoValue(channel)) << channel;
      // CO 0 has a channel that is not recognised as one, hence no value.
      EXPECT_EQ(K::IsCoChannel(channel), co != 0) << co;
      const auto value = K::GetCoValueObjModelId(co, ld);
      EXPECT_TRUE(value == K::GetCoValueObjModelId(channel)) << co;
      if (co != 0) {
        EXPECT_TRUE(value == channel + 1 && K::IsCoValue(*value) && !K::IsCoChannel(*value)) << co;
        EXPECT_TRUE(K::GetCoNumberFromObjModelId(*value, ld) == co) << co;
        seen.insert(*value);
      }
    }
  }
  EXPECT_EQ(seen.size(), 2u * (4096 + 4095));
}

TEST(ObjModelId, EveryParameterClassifiesBack) {
  for (const int ld : {1, 2}) {
    for (const ParameterType type :
         {ParameterType::Ip, ParameterType::Number, ParameterType::Text}) {
      const std::uint32_t maximum = K::GetMaxParametersOfType(type);
      for (std::uint16_t n = 0; n <= maximum + 1; ++n) {
        const auto channel = K::GetParameterChannelObjModelId(n, ld, type);
        const auto value = K::GetParameterValueObjModelId(n, ld, type);
        EXPECT_TRUE(value == (type == ParameterType::Ip ? K::GetIpParameterValueObjModelId(n, ld)
                              : type == ParameterType::Number
                                  ? K::GetNumberParameterValueObjModelId(n, ld)
                                  : K::GetTextParameterValueObjModelId(n, ld)));
        if (n > maximum) {
          EXPECT_FALSE(channel || value) << n;
          continue;
        }
        ExpectInBlock(*channel, ld);
        EXPECT_TRUE(*channel % 2 == 0 && value == *channel + 1) << *channel;
        // Number 0 of the IP and number parameters is handed out but not
        // recognised; values pass the channel test as well as channels.
        const bool recognised = n != 0 || type == ParameterType::Text;
        for (const ObjModelId id : {*channel, *value}) {
          EXPECT_EQ(K::IsParameterChannel(id), recognised) << id;
          EXPECT_TRUE(K::GetParameterValueObjModelId(id) ==
                      (recognised ? make_optional(id + 1) : boost::none));
          EXPECT_TRUE(K::GetParameterTypeFromObjModelId(id, ld) ==
                      (recognised ? make_optional(type) : boost::none));
          EXPECT_TRUE(K::GetParameterNumberFromObjModelId(id, ld) ==
                      (recognised ? make_optional(static_cast<std::uint8_t>(n)) : boost::none))
              << id;
          EXPECT_FALSE(K::IsCoChannel(id) || K::IsCoValue(id)) << id;
        }
      }
    }
  }
}

TEST(ObjModelId, AppControlObjectsAreToldApartPerDevice) {
  using Check = bool (*)(ObjModelId, Avo::LogicalDeviceId);
  const Check checks[] = {K::IsAppHostAppControlState, K::IsAppHostAppControlEvent,
                          K::IsAppHostAppControlAliveHeartbeat, K::IsAppHostAppControlAppDebug};
  for (const int ld : {1, 2}) {
    const ObjModelId objects[] = {
        K::GetAppHostAppControlStateObjModelId(ld), K::GetAppHostAppControlEventObjModelId(ld),
        K::GetAppHostAppControlAliveObjModelId(ld), K::GetAppHostAppControlAppDebugObjModelId(ld)};
    for (unsigned object = 0; object < 4; ++object) {
      EXPECT_EQ(objects[object], 100000u * ld + 21 + object);
      for (unsigned check = 0; check < 4; ++check) {
        EXPECT_EQ(checks[check](objects[object], ld), check == object) << objects[object];
        EXPECT_FALSE(checks[check](objects[object], 3 - ld)) << objects[object];
      }
    }
    EXPECT_EQ(K::GetAppHostAppControlChannelObjModelId(ld), 100000u * ld + 20);
  }
}

TEST(ObjModelId, KnownIdentifiersAndKeptQuirks) {
  EXPECT_EQ(K::GetDeviceObjModelId(), 1000u);
  EXPECT_EQ(K::GetKnxDeviceObjModelId(), 1000u);
  EXPECT_EQ(K::GetLastObjModelId(2), 299999u);
  EXPECT_TRUE(K::GetCoValueObjModelId(1, 1) == ObjModelId{100101});
  EXPECT_TRUE(K::GetCoChannelObjModelId(4095, 2) == ObjModelId{208288});
  EXPECT_FALSE(K::IsCoChannel(108290) || K::IsCoValue(108291)); // past CO 4095
  EXPECT_TRUE(K::GetParameterChannelObjModelId(1, 1, ParameterType::Number) == ObjModelId{170002});
  EXPECT_TRUE(K::GetTextParameterValueObjModelId(500, 1) == ObjModelId{181001});
  EXPECT_TRUE(K::GetParameterNumberFromObjModelId(181000, 1) == std::uint8_t{244}); // 500 in 8 bits
  // Modulo ld * 100000: an ID of block 1 read for ld 2.
  EXPECT_TRUE(K::GetCoNumberFromObjModelId(100101, 2) == std::uint16_t{50001});
  EXPECT_TRUE(K::GetParameterValueObjModelId(170003) ==
              ObjModelId{170004}); // a value passes as channel
  EXPECT_TRUE(K::IsAnyLogicalKnxDeviceId(4000000000U) && !K::IsAnyLogicalKnxDeviceId(99999));
  EXPECT_FALSE(K::GetLogicalDeviceIdFromObject(300000) || K::GetLogicalDeviceIdFromObject(99999));
  EXPECT_EQ(K::GetMaxParametersOfType(static_cast<ParameterType>(3)), 0u);
}

TEST(ObjModelId, LogicalDeviceOutsideOneAndTwoIsAProgramBug) {
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(Avo::LogicalDeviceId{0}, Avo::AssertionFailed);
  EXPECT_THROW(Avo::LogicalDeviceId{3}, Avo::AssertionFailed);
  EXPECT_THAT(capture.Texts(),
              ::testing::Each("AVO_ASSERT2(value >= Minimum && value <= Maximum) failed"));
}

} // namespace
