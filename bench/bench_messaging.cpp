// Blocking GetValue round trips through the request messenger and the
// simulated device stack, beside the floor of this design: one mutex and
// condition variable hand-off from a caller thread to a delivery thread and back.
//
//   build/default/bench/bench_messaging
//
// Compare items_per_second of BM_MessengerGetValue/threads:1 with BM_HandOffFloor.

#include "Avo/Logging.h"
#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "Polt/SimulatedDeviceStackClient.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

// The least that any blocking request over an answering thread costs: the
// caller hands a request to a waiting delivery thread and sleeps until that
// thread hands the answer back.
class HandOff {
public:
  HandOff() : m_delivery([this] { Deliver(); }) {}
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

  int RoundTrip(int request) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_request = request;
    m_hasRequest = true;
    m_requestReady.notify_one();
    m_answerReady.wait(lock, [this] { return m_hasAnswer; });
    m_hasAnswer = false;
    return m_answer;
  }

private:
  void Deliver() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
      m_requestReady.wait(lock, [this] { return m_hasRequest || m_stopping; });
      if (m_stopping) {
        return;
      }
      m_hasRequest = false;
      m_answer = m_request + 1;
      m_hasAnswer = true;
      lock.unlock();
      m_answerReady.notify_one();
      lock.lock();
    }
  }

  std::mutex m_mutex;
  std::condition_variable m_requestReady;
  std::condition_variable m_answerReady;
  int m_request = 0;
  int m_answer = 0;
  bool m_hasRequest = false;
  bool m_hasAnswer = false;
  bool m_stopping = false;
  std::thread m_delivery;
};

void BM_HandOffFloor(benchmark::State& state) {
  HandOff handOff;
  int value = 0;
  for (auto _ : state) {
    value = handOff.RoundTrip(value);
  }
  benchmark::DoNotOptimize(value);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HandOffFloor)->UseRealTime();

// One device stack and one messenger for all caller threads of a run, as in a
// process of the server.
struct MessengerSetUp {
  MessengerSetUp() {
    Avo::GetGlobalDefaultLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
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

MessengerSetUp* g_setUp = nullptr;

void BM_MessengerGetValue(benchmark::State& state) {
  if (state.thread_index() == 0) {
    g_setUp = new MessengerSetUp();
  }
  // Google Benchmark starts the timed loop of all threads together, after
  // thread 0's set-up above.
  for (auto _ : state) {
    const Avo::Docket docket = g_setUp->messenger.GetValue(1, false);
    if (!docket.IsAnswered()) {
      state.SkipWithError("request not answered");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    delete g_setUp;
    g_setUp = nullptr;
  }
}
BENCHMARK(BM_MessengerGetValue)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
