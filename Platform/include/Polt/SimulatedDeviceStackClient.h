#pragma once
/// @file
/// Polt::SimulatedDeviceStackClient: an in-process device stack behind the
/// device stack client interface, for tests, benchmarks, tools and any program
/// that runs without the device stack service.

#include "Avo/PlatformExport.h"
#include "Polt/DeviceStackObjectModel.h"
#include "Polt/IDeviceStackClient.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Polt {

/// What the simulated device stack does with one asynchronous request.
struct SimulatedAnswerPlan {
  /// Time from the request to its answer.
  std::chrono::microseconds delay{0};
  /// Refuse the request: empty request identifier, no effect, no answer.
  bool emptyRequestId = false;
  /// Carry out the request but lose its answer.
  bool drop = false;
  /// Deliver the answer twice, the copy right after the original.
  bool duplicate = false;
  /// Begin delivering the answer before the request call returns (when the
  /// delivery thread is free; see docs/simulated-device-stack.md).
  bool early = false;
  /// Keep the answer back until ReleaseHeldAnswers().
  bool hold = false;
  /// Non-zero: refuse the request with this error code (the answer still
  /// carries the payload that a successful one would).
  int errorCode = 0;
  /// The error message of a refused request.
  std::string errorMessage = "Simulated error";
};

/// Settings of the simulated device stack. Rates are probabilities from 0 to 1,
/// drawn independently for every asynchronous request that has no plan of its own.
struct SimulatedDeviceStackOptions {
  /// The delay of every answer is drawn uniformly from [minDelay, maxDelay].
  std::chrono::microseconds minDelay{0};
  std::chrono::microseconds maxDelay{0}; ///< see minDelay
  double emptyRequestIdRate = 0.0;       ///< rate of requests refused with an empty identifier
  double dropRate = 0.0;                 ///< rate of answers lost
  double duplicateRate = 0.0;            ///< rate of answers delivered twice
  double errorRate = 0.0;                ///< rate of requests refused with an error
  double earlyAnswerRate = 0.0;          ///< rate of answers begun before the request returns
  /// Code and message of the errors drawn by errorRate.
  int errorCode = 1;
  std::string errorMessage = "Simulated error"; ///< see errorCode
  /// Seed of the random generator: equal seeds and options give equal runs.
  std::uint64_t seed = 1;
};

/// What the simulated device stack has done since its construction.
struct SimulatedDeviceStackCounters {
  std::uint64_t requests = 0;              ///< asynchronous requests received
  std::uint64_t emptyRequestIds = 0;       ///< requests refused with an empty identifier
  std::uint64_t droppedAnswers = 0;        ///< answers lost on purpose
  std::uint64_t duplicatedAnswers = 0;     ///< answers sent a second time
  std::uint64_t errorAnswers = 0;          ///< answers that carry an error (any cause)
  std::uint64_t earlyAnswers = 0;          ///< answers begun before their request call returned
  std::uint64_t deliveredAnswers = 0;      ///< handler calls made
  std::uint64_t answersWithoutHandler = 0; ///< answers discarded because no handler was set
  std::uint64_t handlerExceptions = 0;     ///< handler calls that ended with an exception
};

/// A device stack in memory, answering through IDeviceStackClient.
///
/// It keeps an object model (object identifier -> value text, URN and
/// properties), the configuration texts and application registrations it
/// received, and the device configuration. Every asynchronous request gets a
/// request identifier ("1", "2", ...) and is answered from the simulator's own
/// delivery thread through the registered IResponseHandler, with an error
/// object filled as the device stack fills it. Answers can be delayed, dropped,
/// duplicated, refused with an error, held back or begun early, per request
/// (PlanNextAnswer) or at random rates (SimulatedDeviceStackOptions).
///
/// Thread-safe. The destructor delivers every answer still queued (held ones
/// too) and then stops the delivery thread.
class AVO_PLATFORM_EXPORT SimulatedDeviceStackClient final : public IDeviceStackClient {
public:
  /// Error code of an answer for an object that does not exist.
  static constexpr int UnknownObjectErrorCode = DeviceStackObjectModel::UnknownObjectErrorCode;

  /// The three texts of one application registration, in request order.
  using ApplicationRegistration = DeviceStackObjectModel::ApplicationRegistration;
  /// Computes the response text of a free-form request.
  using RequestResponder = std::function<std::string(const std::string& request)>;

  /// An empty object model; starts the delivery thread.
  explicit SimulatedDeviceStackClient(SimulatedDeviceStackOptions options = {});
  ~SimulatedDeviceStackClient() override;

  SimulatedDeviceStackClient(const SimulatedDeviceStackClient&) = delete;
  SimulatedDeviceStackClient& operator=(const SimulatedDeviceStackClient&) = delete;

  /// Creates or replaces an object of the object model.
  void SetObject(unsigned long id, std::string valueText, std::string urn = {});
  /// The value text of an object; nothing for an unknown object.
  std::optional<std::string> GetObjectValue(unsigned long id) const;
  /// The properties set on an object through SetConfiguration.
  std::map<PropertyType, Property> GetObjectProperties(unsigned long id) const;
  /// The configuration texts received through SendConfiguration, in order.
  std::vector<std::string> GetConfigurations() const;
  /// The application registrations received, in order.
  std::vector<ApplicationRegistration> GetRegisteredApplications() const;
  /// The device configuration entries (written by SetDeviceConfig).
  std::map<std::string, std::string> GetDeviceConfigEntries() const;
  /// The state of the internal value format switch.
  bool IsInternalValueFormatEnabled() const;
  /// The value format last selected by name (empty at start).
  std::string GetValueFormat() const;

  /// Replaces the options; the random generator restarts from their seed.
  void SetOptions(SimulatedDeviceStackOptions options);
  /// Plans the answer of the next asynchronous request; plans are used in the
  /// order given, one per request, before the rates apply again.
  void PlanNextAnswer(SimulatedAnswerPlan plan);
  /// Sets the response text of free-form requests (default: the request text).
  void SetRequestResponder(RequestResponder responder);
  /// Queues every held answer for delivery now, in request order.
  void ReleaseHeldAnswers();
  /// Number of answers held back.
  std::size_t GetHeldAnswerCount() const;
  /// Waits until every queued answer (not the held ones) has been delivered
  /// and no handler call is running. False when the timeout came first.
  bool WaitUntilIdle(std::chrono::milliseconds timeout) const;
  /// What the simulator has done so far.
  SimulatedDeviceStackCounters GetCounters() const;

  // IDeviceStackClient
  void SetInternalValueFormat(bool enabled) override;
  bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                        bool flag) override;
  /// The device configuration as "key=value" lines, in key order.
  bool GetDeviceConfig(std::string& config, bool flag) override;
  bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
  /// Accepts any non-empty format name.
  bool SetValueFormat(const std::string& format) override;
  std::string Request(const std::string& request) override;
  std::string RegisterApplication(const std::string& first, const std::string& second,
                                  const std::string& third) override;
  std::string SendConfiguration(const std::string& configuration) override;
  std::string GetValue(unsigned long id, bool flag) override;
  std::string SetValue(unsigned long id, const std::string& value, bool flag,
                       void* context) override;
  /// Once this returns, the previous handler is no longer called (unless this
  /// is called from within a handler call).
  void SetResponseHandler(IResponseHandler* handler, int reserved) override;

private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

} // namespace Polt
