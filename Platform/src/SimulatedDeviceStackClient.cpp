#include "Polt/SimulatedDeviceStackClient.h"

#include "Polt/DeviceStackError.h"
#include "Polt/DeviceStackObjectModel.h"

#include <algorithm> // std::push_heap, std::pop_heap
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <thread>
#include <tuple> // std::tie
#include <utility>

namespace Polt {
namespace {

using Clock = std::chrono::steady_clock;
using PropertyMap = std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property>;

enum class AnswerKind { Response, RegisterApplication, SetConfiguration, GetValue, SetValue };

// One answer on its way to the response handler.
struct PendingAnswer {
  Clock::time_point due;
  std::uint64_t sequence = 0; // request order; breaks ties of equal due times
  AnswerKind kind = AnswerKind::Response;
  std::string requestId;
  void* context = nullptr;
  unsigned long objectId = 0;
  std::string urn;
  std::string payload;
  // None for an answer without error: every answer is moved several times on
  // its way, and an error's three texts would be moved with it.
  std::optional<DeviceStackError> error;
};

// What a handler gets as the error of an answer without one.
const DeviceStackError& NoError() {
  static const DeviceStackError none;
  return none;
}

const IDeviceStackClient::IError& ErrorOf(const PendingAnswer& answer) {
  return answer.error ? *answer.error : NoError();
}

// Heap order that puts the earliest answer (then the earliest request) first.
struct DueLater {
  bool operator()(const PendingAnswer& left, const PendingAnswer& right) const {
    return std::tie(left.due, left.sequence) > std::tie(right.due, right.sequence);
  }
};

void Deliver(IDeviceStackClient::IResponseHandler& handler, const PendingAnswer& answer) {
  const IDeviceStackClient::IError& error = ErrorOf(answer);
  switch (answer.kind) {
  case AnswerKind::Response:
    handler.OnResponse(answer.context, answer.requestId, answer.payload, error);
    break;
  case AnswerKind::RegisterApplication:
    handler.OnRegisterApplication(answer.context, answer.requestId, error);
    break;
  case AnswerKind::SetConfiguration:
    handler.OnSetConfiguration(answer.context, answer.requestId, error);
    break;
  case AnswerKind::GetValue:
    handler.OnGetValue(answer.context, answer.requestId, answer.objectId, answer.urn,
                       answer.payload, error);
    break;
  case AnswerKind::SetValue:
    handler.OnSetValue(answer.context, answer.requestId, answer.objectId, answer.urn,
                       answer.payload, error);
    break;
  }
}

} // namespace

class SimulatedDeviceStackClient::Impl {
public:
  explicit Impl(SimulatedDeviceStackOptions options)
      : m_options(std::move(options)), m_random(m_options.seed),
        m_deliveryThread(&Impl::DeliveryLoop, this) {}

  ~Impl() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_stopping = true;
      QueueHeldAnswers();
    }
    m_deliveryWakeUp.notify_one();
    m_deliveryThread.join();
  }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  // --- object model --------------------------------------------------------

  void SetObject(unsigned long id, std::string valueText, std::string urn) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_model.SetObject(id, std::move(valueText), std::move(urn));
  }

  std::optional<std::string> GetObjectValue(unsigned long id) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const DeviceStackObjectModel::Object* object = m_model.FindObject(id);
    if (object == nullptr) {
      return std::nullopt;
    }
    return object->value;
  }

  PropertyMap GetObjectProperties(unsigned long id) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const DeviceStackObjectModel::Object* object = m_model.FindObject(id);
    return object == nullptr ? PropertyMap() : object->properties;
  }

  std::vector<std::string> GetConfigurations() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_model.GetConfigurations();
  }

  std::vector<ApplicationRegistration> GetRegisteredApplications() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_model.GetRegistrations();
  }

  std::map<std::string, std::string> GetDeviceConfigEntries() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_model.GetDeviceConfigEntries();
  }

  bool IsInternalValueFormatEnabled() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_internalValueFormat;
  }

  std::string GetValueFormat() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_valueFormat;
  }

  // --- behaviour -----------------------------------------------------------

  void SetOptions(SimulatedDeviceStackOptions options) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_options = std::move(options);
    m_random.seed(m_options.seed);
  }

  void PlanNextAnswer(SimulatedAnswerPlan plan) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans.push_back(std::move(plan));
  }

  void SetRequestResponder(RequestResponder responder) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_responder = std::move(responder);
  }

  void ReleaseHeldAnswers() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      QueueHeldAnswers();
    }
    m_deliveryWakeUp.notify_one();
  }

  std::size_t GetHeldAnswerCount() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_held.size();
  }

  bool WaitUntilIdle(std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_handlerReturned.wait_for(lock, timeout,
                                      [this] { return m_queue.empty() && !m_inHandler; });
  }

  SimulatedDeviceStackCounters GetCounters() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_counters;
  }

  // --- synchronous operations ----------------------------------------------

  void SetInternalValueFormat(bool enabled) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_internalValueFormat = enabled;
  }

  bool SetConfiguration(unsigned long id, const PropertyMap& properties) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_model.SetProperties(id, properties);
  }

  bool GetDeviceConfig(std::string& config) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    config = m_model.GetDeviceConfigText();
    return true;
  }

  bool SetDeviceConfig(const std::map<std::string, std::string>& config) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_model.SetDeviceConfigEntries(config);
    return true;
  }

  bool SetValueFormat(const std::string& format) {
    if (!DeviceStackObjectModel::IsValidValueFormat(format)) {
      return false;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_valueFormat = format;
    return true;
  }

  void SetResponseHandler(IResponseHandler* handler) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_handler = handler;
    // A handler call that runs now may still use the previous handler; the
    // caller may destroy that one once this returns. From within a handler
    // call there is nothing to wait for (it would wait for itself).
    if (std::this_thread::get_id() != m_deliveryThread.get_id()) {
      m_handlerReturned.wait(lock, [this] { return !m_inHandler; });
    }
  }

  // --- asynchronous requests -------------------------------------------------

  std::string Request(const std::string& request) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const SimulatedAnswerPlan plan = NextPlan();
    if (plan.emptyRequestId) {
      return RefuseWithEmptyId();
    }
    PendingAnswer answer = NewAnswer(AnswerKind::Response, plan, "Request", request);
    answer.payload = m_responder ? m_responder(request) : request;
    return Submit(lock, std::move(answer), plan);
  }

  std::string RegisterApplication(const std::string& first, const std::string& second,
                                  const std::string& third) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const SimulatedAnswerPlan plan = NextPlan();
    if (plan.emptyRequestId) {
      return RefuseWithEmptyId();
    }
    PendingAnswer answer =
        NewAnswer(AnswerKind::RegisterApplication, plan, "RegisterApplication", first);
    if (!IsRefused(answer)) {
      m_model.AddRegistration({first, second, third});
    }
    return Submit(lock, std::move(answer), plan);
  }

  std::string SendConfiguration(const std::string& configuration) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const SimulatedAnswerPlan plan = NextPlan();
    if (plan.emptyRequestId) {
      return RefuseWithEmptyId();
    }
    PendingAnswer answer =
        NewAnswer(AnswerKind::SetConfiguration, plan, "SendConfiguration", configuration);
    if (!IsRefused(answer)) {
      m_model.AddConfiguration(configuration);
    }
    return Submit(lock, std::move(answer), plan);
  }

  std::string GetValue(unsigned long id) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const SimulatedAnswerPlan plan = NextPlan();
    if (plan.emptyRequestId) {
      return RefuseWithEmptyId();
    }
    PendingAnswer answer = NewAnswer(AnswerKind::GetValue, plan, "GetValue", std::to_string(id));
    answer.objectId = id;
    const DeviceStackObjectModel::Object* object = m_model.FindObject(id);
    if (object == nullptr) {
      MarkUnknownObject(answer, "GetValue");
    } else {
      answer.urn = object->urn;
      answer.payload = object->value;
    }
    return Submit(lock, std::move(answer), plan);
  }

  std::string SetValue(unsigned long id, const std::string& value, void* context) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const SimulatedAnswerPlan plan = NextPlan();
    if (plan.emptyRequestId) {
      return RefuseWithEmptyId();
    }
    PendingAnswer answer = NewAnswer(AnswerKind::SetValue, plan, "SetValue", std::to_string(id));
    answer.objectId = id;
    answer.context = context;
    answer.payload = value;
    const DeviceStackObjectModel::Object* object = m_model.FindObject(id);
    if (object == nullptr) {
      MarkUnknownObject(answer, "SetValue");
    } else {
      answer.urn = object->urn;
      if (!IsRefused(answer)) {
        m_model.SetValue(id, value);
      }
    }
    return Submit(lock, std::move(answer), plan);
  }

private:
  static bool IsRefused(const PendingAnswer& answer) {
    return answer.error && answer.error->GetCode() != 0;
  }

  bool Draw(double rate) {
    if (rate <= 0.0) {
      return false;
    }
    return rate >= 1.0 || std::uniform_real_distribution<double>(0.0, 1.0)(m_random) < rate;
  }

  std::chrono::microseconds DrawDelay() {
    const auto low = m_options.minDelay.count();
    const auto high = m_options.maxDelay.count();
    if (high <= low) {
      return m_options.minDelay;
    }
    using Count = std::chrono::microseconds::rep;
    return std::chrono::microseconds(std::uniform_int_distribution<Count>(low, high)(m_random));
  }

  // The plan of the request being received: the next planned one, else drawn
  // from the rates (in a fixed order, so that a seed gives the same run).
  SimulatedAnswerPlan NextPlan() {
    ++m_counters.requests;
    if (!m_plans.empty()) {
      SimulatedAnswerPlan plan = std::move(m_plans.front());
      m_plans.pop_front();
      return plan;
    }
    SimulatedAnswerPlan plan;
    plan.emptyRequestId = Draw(m_options.emptyRequestIdRate);
    plan.drop = Draw(m_options.dropRate);
    plan.duplicate = Draw(m_options.duplicateRate);
    if (Draw(m_options.errorRate)) {
      plan.errorCode = m_options.errorCode;
      plan.errorMessage = m_options.errorMessage;
    }
    plan.early = Draw(m_options.earlyAnswerRate);
    plan.delay = DrawDelay();
    return plan;
  }

  std::string RefuseWithEmptyId() {
    ++m_counters.emptyRequestIds;
    return std::string();
  }

  PendingAnswer NewAnswer(AnswerKind kind, const SimulatedAnswerPlan& plan, const char* operation,
                          const std::string& argument) {
    PendingAnswer answer;
    answer.kind = kind;
    answer.sequence = ++m_lastSequence;
    answer.requestId = std::to_string(++m_lastRequestNumber);
    if (plan.errorCode != 0) {
      answer.error =
          DeviceStackError(plan.errorCode, "Simulated failure",
                           std::string(operation) + "(" + argument + ")", plan.errorMessage);
    }
    return answer;
  }

  static void MarkUnknownObject(PendingAnswer& answer, const char* operation) {
    if (!IsRefused(answer)) {
      answer.error = DeviceStackObjectModel::UnknownObject(operation, answer.objectId);
    }
  }

  // Queues the answer as planned and returns its request identifier. An early
  // answer is waited for until the delivery thread has begun it, unless the
  // delivery thread is busy in a handler call: that call may wait for a lock
  // that the requesting thread holds, and waiting here would then never end.
  std::string Submit(std::unique_lock<std::mutex>& lock, PendingAnswer&& answer,
                     const SimulatedAnswerPlan& plan) {
    std::string requestId = answer.requestId;
    if (IsRefused(answer)) {
      ++m_counters.errorAnswers;
    }
    if (plan.drop) {
      ++m_counters.droppedAnswers;
      return requestId;
    }
    answer.due = Clock::now() + plan.delay;
    std::optional<PendingAnswer> copy;
    if (plan.duplicate) {
      ++m_counters.duplicatedAnswers;
      copy = answer;
      copy->sequence = ++m_lastSequence;
    }
    if (plan.hold) {
      m_held.push_back(std::move(answer));
      if (copy) {
        m_held.push_back(std::move(*copy));
      }
      return requestId;
    }
    const bool early = plan.early && !m_inHandler;
    const std::uint64_t sequence = answer.sequence;
    if (early) {
      answer.due = Clock::time_point::min();
      m_earlyWaiting.insert(sequence);
    }
    Enqueue(std::move(answer));
    if (copy) {
      Enqueue(std::move(*copy));
    }
    if (!early) {
      lock.unlock(); // the delivery thread need not wake into a held mutex
      m_deliveryWakeUp.notify_one();
      return requestId;
    }
    m_deliveryWakeUp.notify_one();
    m_earlyBegun.wait(lock, [&] { return m_earlyWaiting.count(sequence) == 0 || m_inHandler; });
    m_earlyWaiting.erase(sequence);
    return requestId;
  }

  void Enqueue(PendingAnswer&& answer) {
    m_queue.push_back(std::move(answer));
    // A single answer is a heap already; push_heap would move it out and back.
    if (m_queue.size() > 1) {
      std::push_heap(m_queue.begin(), m_queue.end(), DueLater());
    }
  }

  void QueueHeldAnswers() {
    const Clock::time_point now = Clock::now();
    for (PendingAnswer& answer : m_held) {
      answer.due = now;
      Enqueue(std::move(answer));
    }
    m_held.clear();
  }

  PendingAnswer PopFirstAnswer() {
    std::pop_heap(m_queue.begin(), m_queue.end(), DueLater());
    PendingAnswer answer = std::move(m_queue.back());
    m_queue.pop_back();
    return answer;
  }

  // The delivery thread: answers in order of due time; when stopping, every
  // queued answer at once, then it ends.
  void DeliveryLoop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
      if (m_queue.empty()) {
        if (m_stopping) {
          return;
        }
        m_deliveryWakeUp.wait(lock);
        continue;
      }
      const Clock::time_point due = m_queue.front().due;
      if (!m_stopping && due > Clock::now()) {
        m_deliveryWakeUp.wait_until(lock, due);
        continue;
      }
      const PendingAnswer answer = PopFirstAnswer();
      if (m_handler == nullptr) {
        ++m_counters.answersWithoutHandler;
        NotifyIfIdle();
        continue;
      }
      IResponseHandler& handler = *m_handler;
      m_inHandler = true;
      if (!m_earlyWaiting.empty()) {
        if (m_earlyWaiting.erase(answer.sequence) != 0) {
          ++m_counters.earlyAnswers;
        }
        m_earlyBegun.notify_all();
      }
      lock.unlock();
      const bool completed = CallHandler(handler, answer);
      lock.lock();
      m_inHandler = false;
      ++m_counters.deliveredAnswers;
      if (!completed) {
        ++m_counters.handlerExceptions;
      }
      m_handlerReturned.notify_all();
    }
  }

  void NotifyIfIdle() {
    if (m_queue.empty()) {
      m_handlerReturned.notify_all();
    }
  }

  // A handler that throws must not end the delivery thread: every later
  // answer, and every caller waiting for one, would be lost with it.
  static bool CallHandler(IResponseHandler& handler, const PendingAnswer& answer) noexcept {
    try {
      Deliver(handler, answer);
      return true;
    } catch (...) {
      return false;
    }
  }

  mutable std::mutex m_mutex;
  SimulatedDeviceStackOptions m_options;
  std::mt19937_64 m_random;
  std::deque<SimulatedAnswerPlan> m_plans;
  RequestResponder m_responder;

  DeviceStackObjectModel m_model;
  bool m_internalValueFormat = false;
  std::string m_valueFormat;

  std::uint64_t m_lastRequestNumber = 0;
  std::uint64_t m_lastSequence = 0;
  std::vector<PendingAnswer> m_queue; // a heap in DueLater order
  std::vector<PendingAnswer> m_held;
  std::set<std::uint64_t> m_earlyWaiting; // early answers whose requester waits for their start
  IResponseHandler* m_handler = nullptr;
  bool m_inHandler = false;
  bool m_stopping = false;
  SimulatedDeviceStackCounters m_counters;

  std::condition_variable m_deliveryWakeUp;
  mutable std::condition_variable m_handlerReturned;
  std::condition_variable m_earlyBegun;
  std::thread m_deliveryThread; // last: starts once everything above exists
};

SimulatedDeviceStackClient::SimulatedDeviceStackClient(SimulatedDeviceStackOptions options)
    : m_impl(std::make_unique<Impl>(std::move(options))) {}

SimulatedDeviceStackClient::~SimulatedDeviceStackClient() = default;

void SimulatedDeviceStackClient::SetObject(unsigned long id, std::string valueText,
                                           std::string urn) {
  m_impl->SetObject(id, std::move(valueText), std::move(urn));
}

std::optional<std::string> SimulatedDeviceStackClient::GetObjectValue(unsigned long id) const {
  return m_impl->GetObjectValue(id);
}

std::map<IDeviceStackClient::PropertyType, IDeviceStackClient::Property>
SimulatedDeviceStackClient::GetObjectProperties(unsigned long id) const {
  return m_impl->GetObjectProperties(id);
}

std::vector<std::string> SimulatedDeviceStackClient::GetConfigurations() const {
  return m_impl->GetConfigurations();
}

std::vector<SimulatedDeviceStackClient::ApplicationRegistration>
SimulatedDeviceStackClient::GetRegisteredApplications() const {
  return m_impl->GetRegisteredApplications();
}

std::map<std::string, std::string> SimulatedDeviceStackClient::GetDeviceConfigEntries() const {
  return m_impl->GetDeviceConfigEntries();
}

bool SimulatedDeviceStackClient::IsInternalValueFormatEnabled() const {
  return m_impl->IsInternalValueFormatEnabled();
}

std::string SimulatedDeviceStackClient::GetValueFormat() const { return m_impl->GetValueFormat(); }

void SimulatedDeviceStackClient::SetOptions(SimulatedDeviceStackOptions options) {
  m_impl->SetOptions(std::move(options));
}

void SimulatedDeviceStackClient::PlanNextAnswer(SimulatedAnswerPlan plan) {
  m_impl->PlanNextAnswer(std::move(plan));
}

void SimulatedDeviceStackClient::SetRequestResponder(RequestResponder responder) {
  m_impl->SetRequestResponder(std::move(responder));
}

void SimulatedDeviceStackClient::ReleaseHeldAnswers() { m_impl->ReleaseHeldAnswers(); }

std::size_t SimulatedDeviceStackClient::GetHeldAnswerCount() const {
  return m_impl->GetHeldAnswerCount();
}

bool SimulatedDeviceStackClient::WaitUntilIdle(std::chrono::milliseconds timeout) const {
  return m_impl->WaitUntilIdle(timeout);
}

SimulatedDeviceStackCounters SimulatedDeviceStackClient::GetCounters() const {
  return m_impl->GetCounters();
}

void SimulatedDeviceStackClient::SetInternalValueFormat(bool enabled) {
  m_impl->SetInternalValueFormat(enabled);
}

bool SimulatedDeviceStackClient::SetConfiguration(
    unsigned long id, const std::map<PropertyType, Property>& properties, bool /*flag*/) {
  return m_impl->SetConfiguration(id, properties);
}

bool SimulatedDeviceStackClient::GetDeviceConfig(std::string& config, bool /*flag*/) {
  return m_impl->GetDeviceConfig(config);
}

bool SimulatedDeviceStackClient::SetDeviceConfig(const std::map<std::string, std::string>& config) {
  return m_impl->SetDeviceConfig(config);
}

bool SimulatedDeviceStackClient::SetValueFormat(const std::string& format) {
  return m_impl->SetValueFormat(format);
}

std::string SimulatedDeviceStackClient::Request(const std::string& request) {
  return m_impl->Request(request);
}

std::string SimulatedDeviceStackClient::RegisterApplication(const std::string& first,
                                                            const std::string& second,
                                                            const std::string& third) {
  return m_impl->RegisterApplication(first, second, third);
}

std::string SimulatedDeviceStackClient::SendConfiguration(const std::string& configuration) {
  return m_impl->SendConfiguration(configuration);
}

std::string SimulatedDeviceStackClient::GetValue(unsigned long id, bool /*flag*/) {
  return m_impl->GetValue(id);
}

std::string SimulatedDeviceStackClient::SetValue(unsigned long id, const std::string& value,
                                                 bool /*flag*/, void* context) {
  return m_impl->SetValue(id, value, context);
}

void SimulatedDeviceStackClient::SetResponseHandler(IResponseHandler* handler, int /*reserved*/) {
  m_impl->SetResponseHandler(handler);
}

} // namespace Polt
