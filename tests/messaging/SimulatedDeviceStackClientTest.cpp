#include "Polt/SimulatedDeviceStackClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using Polt::SimulatedAnswerPlan;
using Polt::SimulatedDeviceStackClient;
using ::testing::_;

class MockHandler : public Polt::IDeviceStackClient::IResponseHandler {
public:
  using IError = Polt::IDeviceStackClient::IError;
  MOCK_METHOD(void, OnResponse, (void*, const std::string&, const std::string&, const IError&),
              (override));
  MOCK_METHOD(void, OnRegisterApplication, (void*, const std::string&, const IError&), (override));
  MOCK_METHOD(void, OnGetConfiguration,
              (void*, const std::string&, const std::string&, const IError&), (override));
  MOCK_METHOD(void, OnSetConfiguration, (void*, const std::string&, const IError&), (override));
  MOCK_METHOD(void, OnGetValue,
              (void*, const std::string&, unsigned long, const std::string&, const std::string&,
               const IError&),
              (override));
  MOCK_METHOD(void, OnSetValue,
              (void*, const std::string&, unsigned long, const std::string&, const std::string&,
               const IError&),
              (override));
};

MATCHER_P2(ErrorIs, code, message, "") {
  return arg.GetCode() == code && arg.GetMessage() == message;
}

SimulatedAnswerPlan Planned(void (*change)(SimulatedAnswerPlan&)) {
  SimulatedAnswerPlan plan;
  change(plan);
  return plan;
}

TEST(SimulatedDeviceStack, CarriesOutPlannedFaultsOnItsObjectModel) {
  ::testing::StrictMock<MockHandler> handler;
  SimulatedDeviceStackClient stack;
  stack.SetObject(42, "v0", "urn:lamp");
  stack.SetResponseHandler(&handler, 0);
  int context = 0;
  EXPECT_CALL(handler, OnSetValue(&context, "2", 42, "urn:lamp", "v2", ErrorIs(0, ""))).Times(2);
  EXPECT_CALL(handler, OnSetValue(_, "3", 42, "urn:lamp", "v3", ErrorIs(9, "busy")));
  EXPECT_CALL(handler, OnGetValue(_, "4", 7, "", "", ErrorIs(2, "Object 7 does not exist")));
  stack.PlanNextAnswer(Planned([](auto& p) { p.drop = true; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.duplicate = true; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.errorCode = 9, p.errorMessage = "busy"; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.delay = 2ms; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.emptyRequestId = true; }));
  EXPECT_EQ(stack.SetValue(42, "v1", false, nullptr), "1"); // written, answer lost
  EXPECT_EQ(stack.SetValue(42, "v2", false, &context), "2");
  EXPECT_EQ(stack.SetValue(42, "v3", false, nullptr), "3"); // refused
  EXPECT_EQ(stack.GetValue(7, false), "4");
  EXPECT_EQ(stack.SetValue(42, "v5", false, nullptr), ""); // refused
  ASSERT_TRUE(stack.WaitUntilIdle(5s));
  EXPECT_EQ(stack.GetObjectValue(42), "v2");
  const auto counters = stack.GetCounters();
  EXPECT_EQ(counters.requests, 5u);
  EXPECT_EQ(counters.errorAnswers, 2u);
}

TEST(SimulatedDeviceStack, AnswersEarlyOrHeldAndDeliversTheRestOnDestruction) {
  ::testing::StrictMock<MockHandler> handler;
  const ::testing::InSequence inOrder;
  EXPECT_CALL(handler, OnResponse(_, "3", "early", _));
  EXPECT_CALL(handler, OnResponse(_, "1", "held", _));
  EXPECT_CALL(handler, OnResponse(_, "2", "late", _));
  SimulatedDeviceStackClient stack;
  stack.SetResponseHandler(&handler, 0);
  stack.PlanNextAnswer(Planned([](auto& p) { p.hold = true; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.delay = 1h; }));
  stack.PlanNextAnswer(Planned([](auto& p) { p.early = true, p.delay = 1h; }));
  stack.Request("held");
  stack.Request("late");
  stack.Request("early");
  EXPECT_EQ(stack.GetCounters().earlyAnswers, 1u);
  EXPECT_EQ(stack.GetHeldAnswerCount(), 1u);
  // The destructor delivers the held and the late answer at once, in order.
}

TEST(SimulatedDeviceStack, SameSeedGivesTheSameRun) {
  Polt::SimulatedDeviceStackOptions options;
  options.dropRate = options.duplicateRate = options.errorRate = options.emptyRequestIdRate = 0.2;
  options.maxDelay = 100us;
  options.seed = 7;
  auto run = [&] {
    SimulatedDeviceStackClient stack(options);
    std::string ids;
    for (int i = 0; i < 200; ++i) {
      ids += stack.Request("r") + ",";
    }
    EXPECT_TRUE(stack.WaitUntilIdle(5s));
    const auto c = stack.GetCounters();
    for (auto count : {c.droppedAnswers, c.duplicatedAnswers, c.errorAnswers, c.emptyRequestIds}) {
      EXPECT_GT(count, 10u); // each drawn at 20 %: far from never and from always
      EXPECT_LT(count, 80u);
      ids += std::to_string(count) + ";";
    }
    EXPECT_EQ(c.answersWithoutHandler,
              c.requests - c.emptyRequestIds - c.droppedAnswers + c.duplicatedAnswers);
    return ids;
  };
  EXPECT_EQ(run(), run());
}

} // namespace
