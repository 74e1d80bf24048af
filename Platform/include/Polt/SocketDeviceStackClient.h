#pragma once
/// @file
/// Polt::SocketDeviceStackClient: the device stack client that talks to the
/// device stack service (avo-devicestackd) over its local Unix socket.

#include "Avo/PlatformExport.h"
#include "Polt/IDeviceStackClient.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace Polt {

/// Settings of a SocketDeviceStackClient.
struct SocketDeviceStackClientOptions {
  /// Path of the service's Unix socket.
  std::string socketPath;
  /// How long a synchronous operation (SetConfiguration, GetDeviceConfig,
  /// SetDeviceConfig, SetValueFormat, SetInternalValueFormat) waits for its answer.
  std::chrono::milliseconds synchronousTimeout{5000};
  /// Pause before the second attempt to reach a service that went away; each
  /// further failed attempt doubles it, up to maxReconnectDelay. The first
  /// attempt after a loss is made at once.
  std::chrono::milliseconds minReconnectDelay{10};
  std::chrono::milliseconds maxReconnectDelay{1000}; ///< the longest pause, see minReconnectDelay
  /// How long a request may wait to be written to a service that does not
  /// read; the connection is then given up and made anew.
  std::chrono::milliseconds sendTimeout{2000};
};

/// What a SocketDeviceStackClient has done since its construction.
struct SocketDeviceStackClientCounters {
  std::uint64_t connections = 0; ///< connections made (the first one and every reconnection)
  std::uint64_t connectionsLost =
      0;                          ///< connections that ended (service gone, bad data, failed write)
  std::uint64_t sentRequests = 0; ///< requests written to the service
  std::uint64_t unsentRequests = 0;   ///< requests refused because no connection could take them
  std::uint64_t deliveredAnswers = 0; ///< handler calls made
  std::uint64_t answersWithoutHandler = 0; ///< answers discarded because no handler was set
  std::uint64_t unexpectedAnswers = 0; ///< answers of synchronous requests whose caller had gone
  std::uint64_t handlerExceptions = 0; ///< handler calls that ended with an exception
  std::uint64_t malformedFrames =
      0; ///< unreadable data from the service (the connection is dropped)
};

/// IDeviceStackClient over the device stack service's Unix socket.
///
/// Asynchronous requests (Request, RegisterApplication, SendConfiguration,
/// GetValue, SetValue) are written to the socket and return their request
/// identifier at once ("1", "2", ... unique for the client's lifetime); the
/// identifier is empty when there is no connection or the request could not be
/// written. One receive thread reads the answers and calls the registered
/// IResponseHandler, one call at a time, with no lock of the client held.
///
/// Synchronous operations wait for their answer up to
/// SocketDeviceStackClientOptions::synchronousTimeout and report failure
/// (false) when there is no connection, the service refuses, the connection is
/// lost or the time runs out.
///
/// When the service goes away the receive thread reconnects with exponential
/// backoff. Requests in flight at that moment get no answer (the request
/// messenger's retries cover them); the value format settings made through
/// SetInternalValueFormat and SetValueFormat are made again on every new
/// connection before any request uses it.
///
/// Thread-safe. The constructor tries to connect once before it returns, so a
/// service that is up is usable at once.
class AVO_PLATFORM_EXPORT SocketDeviceStackClient final : public IDeviceStackClient {
public:
  /// Starts the receive thread. Throws std::invalid_argument when the socket
  /// path is empty or longer than a Unix socket address holds.
  explicit SocketDeviceStackClient(SocketDeviceStackClientOptions options);
  /// Stops the receive thread; no handler is called once this begins.
  ~SocketDeviceStackClient() override;

  SocketDeviceStackClient(const SocketDeviceStackClient&) = delete;
  SocketDeviceStackClient& operator=(const SocketDeviceStackClient&) = delete;

  /// True while a connection to the service is up.
  bool IsConnected() const;
  /// Waits until a connection is up and at least `connections` connections
  /// have been made in all (2: reconnected once). False when the timeout came first.
  bool WaitUntilConnected(std::chrono::milliseconds timeout, std::uint64_t connections = 1) const;
  /// What the client has done so far.
  SocketDeviceStackClientCounters GetCounters() const;

  // IDeviceStackClient
  /// Waits for the service to take the setting (bounded); remembered for reconnections.
  void SetInternalValueFormat(bool enabled) override;
  bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                        bool flag) override;
  bool GetDeviceConfig(std::string& config, bool flag) override;
  bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
  /// Remembered for reconnections once the service took it.
  bool SetValueFormat(const std::string& format) override;
  std::string Request(const std::string& request) override;
  std::string RegisterApplication(const std::string& first, const std::string& second,
                                  const std::string& third) override;
  std::string SendConfiguration(const std::string& configuration) override;
  std::string GetValue(unsigned long id, bool flag) override;
  /// The context pointer comes back as the first argument of OnSetValue.
  std::string SetValue(unsigned long id, const std::string& value, bool flag,
                       void* context) override;
  /// Once this returns, the previous handler is no longer called (unless this
  /// is called from within a handler call), so its owner may destroy it.
  void SetResponseHandler(IResponseHandler* handler, int reserved) override;

private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

} // namespace Polt
