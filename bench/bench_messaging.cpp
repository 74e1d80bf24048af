// Blocking GetValue round trips through the request messenger and the
// simulated device stack with 1, 2 and 8 caller threads, beside the floor of
// this design: callers that hand a request to one delivery thread under one
// mutex and sleep on one condition variable until it hands the answer back.
//
// Times are wall time per round trip of all threads together, so that a
// smaller figure at more threads means more throughput.
#include "Avo/Logging.h"
#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "AvoObjectModel/RequestMessengerDeviceStack.h"
#include "Polt/SimulatedDeviceStackClient.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// The least that a blocking request over one answering thread costs: the
// caller queues its request for the delivery thread and sleeps until the
// delivery thread has answered it. Every answer wakes every waiting caller,
// as the messenger's answers do.
class HandOff {
public:
  explicit HandOff(int callers) : m_answers(static_cast<std::size_t>(callers)) {
    m_delivery = std::thread([this] { Deliver(); });
  }
  ~HandOff() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_stopping = true;
    }
    m_requestReady.notify_one();
    m_delivery.join();
  }
  HandOff(const HandOff&) = delete;
  HandOff& operator=(const HandOff&) = delete;

  int RoundTrip(int caller, int request) {
    Slot& slot = m_answers[static_cast<std::size_t>(caller)];
    std::unique_lock<std::mutex> lock(m_mutex);
    m_requests.push_back({caller, request});
    m_requestReady.notify_one();
    m_answerReady.wait(lock, [&slot] { return slot.answered; });
    slot.answered = false;
    return slot.answer;
  }

private:
  struct Request {
    int caller;
    int value;
  };
  struct Slot {
    int answer = 0;
    bool answered = false;
  };

  void Deliver() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
      m_requestReady.wait(lock, [this] { return !m_requests.empty() || m_stopping; });
      if (m_stopping) {
        return;
      }
      const Request request = m_requests.front();
      m_requests.pop_front();
      Slot& slot = m_answers[static_cast<std::size_t>(request.caller)];
      slot.answer = request.value + 1;
      slot.answered = true;
      lock.unlock();
      m_answerReady.notify_all();
      lock.lock();
    }
  }

  std::mutex m_mutex;
  std::condition_variable m_requestReady;
  std::condition_variable m_answerReady;
  std::deque<Request> m_requests;
  std::vector<Slot> m_answers;
  bool m_stopping = false;
  std::thread m_delivery;
};

// One device stack and one messenger for all caller threads of a run, as in a
// process of the server.
struct MessengerSetUp {
  MessengerSetUp() {
    simulation.SetObject(1, "4.2:21");
    messenger.SetAsResponseHandler();
  }
  ~MessengerSetUp() { messenger.UnsetAsResponseHandler(); }
  MessengerSetUp(const MessengerSetUp&) = delete;
  MessengerSetUp& operator=(const MessengerSetUp&) = delete;

  Polt::SimulatedDeviceStackClient simulation;
  Avo::RemoteRequestMessengerDeviceStack adapter{simulation};
  Avo::DscAsyncRequestMessenger messenger{adapter, boost::posix_time::seconds(5), 0};
};

// Made by thread 0 before the timed loops; Google Benchmark lets every
// thread's loop begin only when all threads have arrived, and end together.
HandOff* g_handOff = nullptr;
MessengerSetUp* g_messenger = nullptr;

void HandOffFloor(benchmark::State& state) {
  if (state.thread_index() == 0) {
    g_handOff = new HandOff(state.threads());
  }
  int value = 0;
  {
    AvoBench::LoopMeasurement measurement(state);
    for (auto _ : state) {
      value = g_handOff->RoundTrip(state.thread_index(), value);
    }
  }
  benchmark::DoNotOptimize(value);
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    delete g_handOff;
    g_handOff = nullptr;
  }
}

void MessengerGetValue(benchmark::State& state) {
  if (state.thread_index() == 0) {
    g_messenger = new MessengerSetUp();
  }
  {
    AvoBench::LoopMeasurement measurement(state);
    for (auto _ : state) {
      const Avo::Docket docket = g_messenger->messenger.GetValue(1, false);
      if (!docket.IsAnswered()) {
        state.SkipWithError("request not answered");
        break;
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    delete g_messenger;
    g_messenger = nullptr;
  }
}

} // namespace

int main(int argc, char** argv) {
  for (const int threads : {1, 2, 8}) {
    AvoBench::Register("Messenger/GetValue", MessengerGetValue)->Threads(threads)->UseRealTime();
    AvoBench::RegisterFloor("Messenger/GetValue", HandOffFloor)->Threads(threads)->UseRealTime();
  }
  return AvoBench::Main(argc, argv);
}
