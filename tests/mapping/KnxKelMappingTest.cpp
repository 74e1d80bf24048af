#include "AvoObjectModel/KnxKelMapping.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using Avo::ObjModelId;
using Avo::ParameterType;
using K = Avo::KnxKelMapping;
using ::testing::ElementsAre;

// Every identifier handed out lies in its logical device's block and classifies back.
TEST(ObjModelId, EveryCommunicationObjectAndParameterClassifiesBack) {
  for (const Avo::LogicalDeviceId ld : {1, 2}) {
    EXPECT_FALSE(K::GetCoChannelObjModelId(4096, ld) || K::GetCoValueObjModelId(4096, ld));
    for (std::uint16_t co = 0; co < 4096; ++co) {
      const ObjModelId channel = K::GetCoChannelObjModelId(co, ld).value();
      const auto value = K::GetCoValueObjModelId(co, ld);
      // CO 0 has a channel that is not recognised as one, hence no value.
      EXPECT_TRUE(K::GetLogicalDeviceIdFromObject(channel) == ld && channel % 2 == 0 &&
                  K::IsCoChannel(channel) == (co != 0))
          << co;
      EXPECT_FALSE(K::GetCoNumberFromObjModelId(channel, ld) || K::IsCoValue(channel)) << co;
      EXPECT_TRUE(value == K::GetCoValueObjModelId(channel)) << co;
      EXPECT_TRUE(co == 0 ||
                  (value == channel + 1 && K::IsCoValue(*value) && !K::IsCoChannel(*value) &&
                   K::GetCoNumberFromObjModelId(*value, ld) == co))
          << co;
    }
    for (const auto type : {ParameterType::Ip, ParameterType::Number, ParameterType::Text}) {
      const std::uint32_t maximum = K::GetMaxParametersOfType(type);
      const auto valueIdOfType = type == ParameterType::Ip ? K::GetIpParameterValueObjModelId
                                 : type == ParameterType::Text
                                     ? K::GetTextParameterValueObjModelId
                                     : K::GetNumberParameterValueObjModelId;
      for (std::uint16_t n = 0; n <= maximum + 1; ++n) {
        const auto channel = K::GetParameterChannelObjModelId(n, ld, type);
        const auto value = K::GetParameterValueObjModelId(n, ld, type);
        EXPECT_TRUE(value == valueIdOfType(n, ld) && static_cast<bool>(channel) == (n <= maximum))
            << n;
        if (!channel) {
          continue;
        }
        EXPECT_TRUE(K::GetLogicalDeviceIdFromObject(*channel) == ld && *channel % 2 == 0 &&
                    value == *channel + 1)
            << *channel;
        // Number 0 of the IP and number parameters is handed out but not
        // recognised; values pass the channel test as well as channels.
        const bool recognised = n != 0 || type == ParameterType::Text;
        const auto ifRecognised = [=](auto x) { return boost::make_optional(recognised, x); };
        for (const ObjModelId id : {*channel, *value}) {
          EXPECT_EQ(K::IsParameterChannel(id), recognised) << id;
          EXPECT_TRUE(K::GetParameterValueObjModelId(id) == ifRecognised(id + 1)) << id;
          EXPECT_TRUE(K::GetParameterTypeFromObjModelId(id, ld) == ifRecognised(type)) << id;
          EXPECT_TRUE(K::GetParameterNumberFromObjModelId(id, ld) ==
                      ifRecognised(static_cast<std::uint8_t>(n)))
              << id; // 8 bits: 500 reads 244
        }
      }
    }
  }
}

// The identifiers themselves are shown, and checked, by the avo-knx objid
// commands; here: what classifies them.
TEST(ObjModelId, KeptQuirksAndClassification) {
  EXPECT_FALSE(K::IsCoChannel(108290) || K::IsCoValue(108291)); // past CO 4095
  // App control of ld 2: state, event, alive and debug, each recognised by its
  // own test and for its own logical device only.
  const std::pair<ObjModelId, bool (*)(ObjModelId, Avo::LogicalDeviceId)> controls[] = {
      {K::GetAppHostAppControlStateObjModelId(2), K::IsAppHostAppControlState},
      {K::GetAppHostAppControlEventObjModelId(2), K::IsAppHostAppControlEvent},
      {K::GetAppHostAppControlAliveObjModelId(2), K::IsAppHostAppControlAliveHeartbeat},
      {K::GetAppHostAppControlAppDebugObjModelId(2), K::IsAppHostAppControlAppDebug}};
  for (const auto& checked : controls) {
    for (const auto& [id, isControl] : controls) {
      EXPECT_TRUE(isControl(checked.first, 2) == (id == checked.first) &&
                  !isControl(checked.first, 1))
          << checked.first;
    }
  }
  // Modulo ld * 100000: an ID of block 1 read for ld 2 gives a wrong number.
  EXPECT_TRUE(K::GetCoNumberFromObjModelId(100101, 2) == std::uint16_t{50001});
  EXPECT_TRUE(K::IsAnyLogicalKnxDeviceId(4000000000U) && !K::IsAnyLogicalKnxDeviceId(99999));
  EXPECT_FALSE(K::GetLogicalDeviceIdFromObject(300000) || K::GetLogicalDeviceIdFromObject(99999));
  // A logical device other than 1 and 2 is a program bug.
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(Avo::LogicalDeviceId{0}, Avo::AssertionFailed);
  EXPECT_THROW(Avo::LogicalDeviceId{3}, Avo::AssertionFailed);
  const std::string failed = "AVO_ASSERT2(value >= Minimum && value <= Maximum) failed";
  EXPECT_THAT(capture.Texts(), ElementsAre(failed, failed));
}

// The table's rows are shown, and pinned, by the avo-knx types command; here
// every main number's accessors agree with them, and unknown ones are empty.
TEST(MainTypeTable, EveryMainNumberHasItsValueTypeAndDefault) {
  std::map<std::uint32_t, K::DptMainType> rows;
  for (const K::DptMainType& row : K::GetDptMainTypes()) {
    rows.emplace(row.mainNumber, row);
  }
  for (std::uint32_t main = 0; main <= 0xFFFF; ++main) {
    const auto row = rows.find(main);
    const bool known = row != rows.end();
    const VelValueType type = known ? row->second.valueType : ivtEmpty;
    EXPECT_EQ(K::GetIvtFromDpt(main << 16 | 0xFFFF), type) << main;
    EXPECT_EQ(K::GetIvtFromMainType(main), VELVALUE::GetNameFromValueType(type)) << main;
    EXPECT_EQ(K::GetIstFromMainType(main),
              known ? VelDP::GetNameFromValueSubType(row->second.valueSubType) : "Generic")
        << main;
    VELVALUE zero(type); // zero, the empty text or a cleared time; main 234 holds "en"
    zero.tmVal.Clear(true);
    zero.wVal = main == 234 ? 0x656E : 0;
    VELVALUE value;
    const bool read = value.Deserialize(K::GetDefaultValueFromDpt(main << 16 | 1, false));
    EXPECT_TRUE(known ? read && value == zero : !read) << main << ": " << value;
  }
  EXPECT_EQ(K::GetDefaultValueFromDpt(0x00090001, true), "3.2:0"); // the format flag is passed on
  // 6.020's low three bits must name exactly one mode: 1 (mode 0), not 0.
  EXPECT_EQ(K::GetDefaultValueFromDpt(0x00060014, false), "6:1");
  // The maker of the empty type (behind the rows without values) makes empty
  // records only.
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(K::CreateDefaultValueEmpty(ivtByte), Avo::AssertionFailed);
  EXPECT_THAT(capture.Texts(), ElementsAre("AVO_ASSERT2(emptyVelValue.ivt == ivt) failed"));
}

} // namespace
