// Blocking GetValue round trips through the request messenger to the device
// stack service over its Unix socket (Polt::SocketDeviceStackClient and a
// separate avo-devicestackd process), beside the same round trips to the
// simulated device stack in this process, with 1 and 8 caller threads.
//
// Besides Google Benchmark's time per round trip (wall time of all threads
// together) and items_per_second (round trips per second), every run reports
// the latency of one round trip as a caller sees it: p50_us and p99_us over
// the round trips of all threads.
#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "AvoObjectModel/RequestMessengerDeviceStack.h"
#include "Polt/SimulatedDeviceStackClient.h"
#include "Polt/SocketDeviceStackClient.h"

#include "BenchSupport.h"
#include "ServiceProcess.h"

#include <benchmark/benchmark.h>

#include <algorithm> // std::sort
#include <chrono>
#include <condition_variable>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned long kObjectId = 1;
constexpr char kObjectValue[] = "4.2:21";

// The round-trip latencies of every caller thread of one run. Threads add
// theirs after the timed loop; thread 0 waits for all of them and reports.
class Latencies {
public:
  explicit Latencies(int threads) : m_threads(threads) {}

  // Notifies under the lock: thread 0 destroys this object once it sees the last addition.
  void Add(const std::vector<double>& samples) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_samples.insert(m_samples.end(), samples.begin(), samples.end());
    ++m_added;
    m_allAdded.notify_all();
  }

  // Only thread 0 sets the counters, so their sum over threads is its value.
  void Report(benchmark::State& state) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_allAdded.wait(lock, [this] { return m_added == m_threads; });
    if (m_samples.empty()) {
      return;
    }
    std::sort(m_samples.begin(), m_samples.end());
    state.counters["p50_us"] = Percentile(0.50);
    state.counters["p99_us"] = Percentile(0.99);
  }

private:
  double Percentile(double fraction) const {
    const auto index =
        static_cast<std::size_t>(fraction * static_cast<double>(m_samples.size() - 1));
    return m_samples[index];
  }

  const int m_threads;
  std::mutex m_mutex;
  std::condition_variable m_allAdded;
  std::vector<double> m_samples; // microseconds
  int m_added = 0;
};

// A device stack client with the adapter and the messenger on it, shared by
// all caller threads of a run, as in a process of the server.
template <class Client>
struct MessengerOn {
  template <class... ClientArguments>
  explicit MessengerOn(ClientArguments&&... arguments)
      : client(std::forward<ClientArguments>(arguments)...) {
    messenger.SetAsResponseHandler();
  }
  ~MessengerOn() { messenger.UnsetAsResponseHandler(); }
  MessengerOn(const MessengerOn&) = delete;
  MessengerOn& operator=(const MessengerOn&) = delete;

  Client client;
  Avo::RemoteRequestMessengerDeviceStack adapter{client};
  Avo::DscAsyncRequestMessenger messenger{adapter, boost::posix_time::seconds(5), 0};
};

using SimulationSetUp = MessengerOn<Polt::SimulatedDeviceStackClient>;
using SocketSetUp = MessengerOn<Polt::SocketDeviceStackClient>;

// The service of every socket run of the program, started once.
DeviceStackTest::ServiceProcess* g_service = nullptr;

std::unique_ptr<SimulationSetUp> MakeSetUp(SimulationSetUp* /*tag*/) {
  auto setUp = std::make_unique<SimulationSetUp>();
  setUp->client.SetObject(kObjectId, kObjectValue);
  return setUp;
}

std::unique_ptr<SocketSetUp> MakeSetUp(SocketSetUp* /*tag*/) {
  Polt::SocketDeviceStackClientOptions options;
  options.socketPath = g_service->SocketPath();
  return std::make_unique<SocketSetUp>(options);
}

// Made by thread 0 before the timed loops; Google Benchmark lets every
// thread's loop begin only when all threads have arrived.
void* g_setUp = nullptr;
Latencies* g_latencies = nullptr;

template <class SetUp>
void GetValueRoundTrips(benchmark::State& state) {
  if (state.thread_index() == 0) {
    g_setUp = MakeSetUp(static_cast<SetUp*>(nullptr)).release();
    g_latencies = new Latencies(state.threads());
  }
  std::vector<double> samples;
  samples.reserve(1 << 16);
  {
    AvoBench::LoopMeasurement measurement(state);
    for (auto _ : state) {
      const Clock::time_point start = Clock::now();
      const Avo::Docket docket = static_cast<SetUp*>(g_setUp)->messenger.GetValue(kObjectId, false);
      samples.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
      if (!docket.IsAnswered() || !docket.IsReplyValid()) {
        state.SkipWithError("request not answered");
        break;
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
  g_latencies->Add(samples);
  if (state.thread_index() == 0) {
    g_latencies->Report(state);
    delete static_cast<SetUp*>(g_setUp);
    delete g_latencies;
    g_setUp = nullptr;
    g_latencies = nullptr;
  }
}

} // namespace

int main(int argc, char** argv) {
  // GetValue changes nothing, so the service never writes its state file
  // here: the figures are the round trip's, not the disk's.
  DeviceStackTest::ServiceProcess service({}, false);
  const std::string seed = service.Directory() + "/seed";
  std::ofstream(seed) << kObjectId << ' ' << kObjectValue << '\n';
  service.AddArguments({"--seed", seed, "--log-level", "WARN"});
  try {
    service.Start();
  } catch (const std::exception& error) {
    std::cerr << "bench_devicestack_socket: " << error.what() << '\n';
    return 1;
  }
  g_service = &service;
  for (const int threads : {1, 8}) {
    AvoBench::Register("Messenger/GetValue/socket", GetValueRoundTrips<SocketSetUp>)
        ->Threads(threads)
        ->UseRealTime();
    AvoBench::Register("Messenger/GetValue/in-process", GetValueRoundTrips<SimulationSetUp>)
        ->Threads(threads)
        ->UseRealTime();
  }
  return AvoBench::Main(argc, argv);
}
