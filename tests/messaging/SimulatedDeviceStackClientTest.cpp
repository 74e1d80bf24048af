#include "Polt/SimulatedDeviceStackClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Polt::SimulatedAnswerPlan;
using Polt::SimulatedDeviceStackClient;
using ::testing::ElementsAre;

// One answer as a handler received it.
struct Answer {
  std::string handler;
  std::string requestId;
  std::string payload;
  int code;
  std::string message;
  bool operator==(const Answer& other) const {
    return handler == other.handler && requestId == other.requestId &&
           payload == other.payload && code == other.code && message == other.message;
  }
  friend std::ostream& operator<<(std::ostream& os, const Answer& a) {
    return os << a.handler << "(" << a.requestId << ", '" << a.payload << "', " << a.code << ", '"
              << a.message << "')";
  }
};

class RecordingHandler : public Polt::IDeviceStackClient::IResponseHandler {
public:
  using IError = Polt::IDeviceStackClient::IError;
  std::vector<Answer> Answers() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_answers;
  }
  void OnResponse(void*, const std::string& id, const std::string& r, const IError& e) override {
    Record("OnResponse", id, r, e);
  }
  void OnRegisterApplication(void*, const std::string& id, const IError& e) override {
    Record("OnRegisterApplication", id, "", e);
  }
  void OnGetConfiguration(void*, const std::string& id, const std::string& c,
                          const IError& e) override {
    Record("OnGetConfiguration", id, c, e);
  }
  void OnSetConfiguration(void*, const std::string& id, const IError& e) override {
    Record("OnSetConfiguration", id, "", e);
  }
  void OnGetValue(void*, const std::string& id, unsigned long, const std::string&,
                  const std::string& v, const IError& e) override {
    Record("OnGetValue", id, v, e);
  }
  void OnSetValue(void*, const std::string& id, unsigned long, const std::string&,
                  const std::string& v, const IError& e) override {
    Record("OnSetValue", id, v, e);
  }

private:
  void Record(const char* handler, const std::string& id, const std::string& payload,
              const IError& error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers.push_back({handler, id, payload, error.GetCode(), error.GetMessage()});
  }
  mutable std::mutex m_mutex;
  std::vector<Answer> m_answers;
};

struct SimulatedDeviceStack : ::testing::Test {
  SimulatedDeviceStack() {
    stack.SetObject(42, "4.2:21", "urn:test:42");
    stack.SetResponseHandler(&handler, 0);
  }
  ~SimulatedDeviceStack() override { stack.SetResponseHandler(nullptr, 0); }
  std::vector<Answer> AnswersWhenIdle() {
    EXPECT_TRUE(stack.WaitUntilIdle(5s));
    return handler.Answers();
  }
  RecordingHandler handler;
  SimulatedDeviceStackClient stack;
};

TEST_F(SimulatedDeviceStack, AnswersEveryRequestKindThroughItsHandlerAndKeepsItsEffect) {
  EXPECT_EQ(stack.RegisterApplication("app", "1.0", "/opt/app"), "1");
  EXPECT_EQ(stack.SendConfiguration("{cfg}"), "2");
  EXPECT_EQ(stack.SetValue(42, "4.2:22", false, nullptr), "3");
  EXPECT_EQ(stack.GetValue(42, false), "4");
  EXPECT_EQ(stack.Request("ping"), "5");
  EXPECT_EQ(stack.GetValue(7, false), "6");
  EXPECT_EQ(stack.SetValue(7, "4.2:1", false, nullptr), "7");
  EXPECT_THAT(AnswersWhenIdle(),
              ElementsAre(Answer{"OnRegisterApplication", "1", "", 0, ""},
                          Answer{"OnSetConfiguration", "2", "", 0, ""},
                          Answer{"OnSetValue", "3", "4.2:22", 0, ""},
                          Answer{"OnGetValue", "4", "4.2:22", 0, ""},
                          Answer{"OnResponse", "5", "ping", 0, ""},
                          Answer{"OnGetValue", "6", "", 2, "Object 7 does not exist"},
                          Answer{"OnSetValue", "7", "4.2:1", 2, "Object 7 does not exist"}));
  EXPECT_THAT(stack.GetRegisteredApplications(),
              ElementsAre(SimulatedDeviceStackClient::ApplicationRegistration{"app", "1.0",
                                                                               "/opt/app"}));
  EXPECT_THAT(stack.GetConfigurations(), ElementsAre("{cfg}"));
  EXPECT_FALSE(stack.GetObjectValue(7).has_value());
}

TEST_F(SimulatedDeviceStack, CarriesOutEachPlannedFault) {
  struct Case {
    const char* name;
    SimulatedAnswerPlan plan;
    std::string expectedId;
    std::vector<Answer> expectedAnswers;
    const char* expectedValue;
  };
  SimulatedAnswerPlan drop, duplicate, error, emptyId, delayed;
  drop.drop = true;
  duplicate.duplicate = true;
  error.errorCode = 9;
  error.errorMessage = "busy";
  emptyId.emptyRequestId = true;
  delayed.delay = 3ms;
  const std::vector<Case> cases = {
      {"drop", drop, "1", {}, "v1"},
      {"duplicate", duplicate, "2", {{"OnSetValue", "2", "v2", 0, ""}, {"OnSetValue", "2", "v2", 0, ""}}, "v2"},
      {"error", error, "3", {{"OnSetValue", "3", "v3", 9, "busy"}}, "v2"},
      {"empty id", emptyId, "", {}, "v2"},
      {"delay", delayed, "4", {{"OnSetValue", "4", "v5", 0, ""}}, "v5"},
  };
  std::size_t answersBefore = 0;
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    stack.PlanNextAnswer(c.plan);
    EXPECT_EQ(stack.SetValue(42, "v" + std::to_string(++n), false, nullptr), c.expectedId);
    const std::vector<Answer> answers = AnswersWhenIdle();
    EXPECT_EQ(std::vector<Answer>(answers.begin() + answersBefore, answers.end()),
              c.expectedAnswers);
    answersBefore = answers.size();
    EXPECT_EQ(stack.GetObjectValue(42), c.expectedValue);
  }
  const auto counters = stack.GetCounters();
  EXPECT_EQ(counters.requests, 5u);
  EXPECT_EQ(counters.droppedAnswers + counters.duplicatedAnswers + counters.errorAnswers +
                counters.emptyRequestIds,
            4u);
  EXPECT_EQ(counters.deliveredAnswers, 4u);
}

TEST_F(SimulatedDeviceStack, BeginsAnEarlyAnswerBeforeTheRequestReturns) {
  SimulatedAnswerPlan early;
  early.early = true;
  early.delay = 1h; // an early answer does not wait for its delay
  stack.PlanNextAnswer(early);
  stack.Request("now");
  EXPECT_EQ(stack.GetCounters().earlyAnswers, 1u);
  EXPECT_EQ(AnswersWhenIdle().size(), 1u);
}

TEST_F(SimulatedDeviceStack, HoldsAnswersUntilReleasedAndDeliversTheRestOnDestruction) {
  RecordingHandler lateHandler;
  {
    SimulatedDeviceStackClient local;
    local.SetResponseHandler(&lateHandler, 0);
    SimulatedAnswerPlan held, late;
    held.hold = true;
    late.delay = 1h;
    local.PlanNextAnswer(held);
    local.PlanNextAnswer(held);
    local.PlanNextAnswer(late);
    local.Request("a");
    local.Request("b");
    local.Request("c");
    EXPECT_EQ(local.GetHeldAnswerCount(), 2u);
    local.ReleaseHeldAnswers();
    EXPECT_EQ(local.GetHeldAnswerCount(), 0u);
  }
  EXPECT_THAT(lateHandler.Answers(), ElementsAre(Answer{"OnResponse", "1", "a", 0, ""},
                                                 Answer{"OnResponse", "2", "b", 0, ""},
                                                 Answer{"OnResponse", "3", "c", 0, ""}));
}

TEST(SimulatedDeviceStackRates, SameSeedGivesTheSameRun) {
  Polt::SimulatedDeviceStackOptions options;
  options.dropRate = options.duplicateRate = options.errorRate = options.emptyRequestIdRate = 0.2;
  options.maxDelay = 100us;
  options.seed = 7;
  auto run = [&] {
    SimulatedDeviceStackClient stack(options);
    std::vector<std::string> ids;
    for (int i = 0; i < 200; ++i) {
      ids.push_back(stack.Request("r"));
    }
    EXPECT_TRUE(stack.WaitUntilIdle(5s));
    return std::make_pair(ids, stack.GetCounters());
  };
  const auto first = run();
  const auto second = run();
  EXPECT_EQ(first.first, second.first);
  EXPECT_EQ(first.second.droppedAnswers, second.second.droppedAnswers);
  EXPECT_EQ(first.second.errorAnswers, second.second.errorAnswers);
  // Each fault drawn at 20 %: far from none and from all.
  for (auto count : {first.second.droppedAnswers, first.second.duplicatedAnswers,
                     first.second.errorAnswers, first.second.emptyRequestIds}) {
    EXPECT_GT(count, 10u);
    EXPECT_LT(count, 80u);
  }
  EXPECT_EQ(first.second.answersWithoutHandler,
            first.second.requests - first.second.emptyRequestIds -
                first.second.droppedAnswers + first.second.duplicatedAnswers);
}

TEST_F(SimulatedDeviceStack, KeepsConfigurationAndValueFormat) {
  using Polt::IDeviceStackClient;
  const std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property> name{
      {IDeviceStackClient::ptName, {"Lamp"}}};
  EXPECT_FALSE(stack.SetConfiguration(7, name, false));
  EXPECT_TRUE(stack.SetConfiguration(42, name, false));
  EXPECT_EQ(stack.GetObjectProperties(42), name);
  EXPECT_TRUE(stack.SetDeviceConfig({{"b", "2"}, {"a", "1"}}));
  std::string config;
  EXPECT_TRUE(stack.GetDeviceConfig(config, false));
  EXPECT_EQ(config, "a=1\nb=2\n");
  EXPECT_FALSE(stack.SetValueFormat(""));
  EXPECT_TRUE(stack.SetValueFormat("Native"));
  EXPECT_EQ(stack.GetValueFormat(), "Native");
}

} // namespace
