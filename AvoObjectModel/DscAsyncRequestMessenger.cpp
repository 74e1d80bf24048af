#include "AvoObjectModel/DscAsyncRequestMessenger.h"

#include "Avo/Logging.h"

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp> // boost::chrono::steady_clock
#include <boost/cstdint.hpp>
#include <boost/date_time/posix_time/time_formatters.hpp> // to_simple_string
#include <boost/thread/lock_guard.hpp>

#include <utility>

namespace Avo {
namespace {

using boost::posix_time::time_duration;
using SteadyClock = boost::chrono::steady_clock;

// The relevance predicate of the operations that take none. Copies share the
// stateless target, so one instance serves every thread.
const BoolReader& AlwaysRelevant() {
  static const BoolReader alwaysRelevant([] { return true; });
  return alwaysRelevant;
}

// The steady clock's deadline of a wait of `timeout` from now; none for a wait
// without end (positive infinity, not-a-date-time, or beyond the clock's range).
boost::optional<SteadyClock::time_point> DeadlineAfter(const time_duration& timeout) {
  if (timeout.is_pos_infinity() || timeout.is_not_a_date_time()) {
    return boost::none;
  }
  const SteadyClock::time_point now = SteadyClock::now();
  if (timeout.is_neg_infinity() || timeout.is_negative()) {
    return now;
  }
  const boost::int64_t microseconds = timeout.total_microseconds();
  const boost::int64_t microsecondsLeftOnClock =
      boost::chrono::duration_cast<boost::chrono::microseconds>(SteadyClock::time_point::max() -
                                                                now)
          .count();
  if (microseconds >= microsecondsLeftOnClock) {
    return boost::none;
  }
  return now + boost::chrono::microseconds(microseconds);
}

// Erases a request's entry from the docket list when its wait ends, also when
// the wait ends by an exception (a failed relevance predicate, an interruption).
class DocketListEntryEraser {
public:
  DocketListEntryEraser(std::map<std::string, std::weak_ptr<Docket>>& dockets,
                        const std::string& requestId)
      : m_dockets(dockets), m_requestId(requestId) {}
  ~DocketListEntryEraser() { m_dockets.erase(m_requestId); }
  DocketListEntryEraser(const DocketListEntryEraser&) = delete;
  DocketListEntryEraser& operator=(const DocketListEntryEraser&) = delete;

private:
  std::map<std::string, std::weak_ptr<Docket>>& m_dockets;
  const std::string& m_requestId;
};

} // namespace

DscAsyncRequestMessenger::DscAsyncRequestMessenger(RequestMessengerDeviceStack& messenger,
                                                   time_duration defaultTimeout,
                                                   unsigned int maxRetries)
    : m_messenger(messenger), m_defaultTimeout(defaultTimeout),
      // Kept as an unsigned int sum: 4294967295 retries wrap to no attempt at all.
      m_maxAttempts(maxRetries + 1U) {}

DscAsyncRequestMessenger::~DscAsyncRequestMessenger() = default;

template <class DoAsyncRequest>
Docket DscAsyncRequestMessenger::SynchronizeRequest(const DoAsyncRequest& doAsyncRequest,
                                                    time_duration timeout,
                                                    const BoolReader& isStillRelevant) {
  // Held while the request is sent, so that an early answer waits in
  // UpdateDocketList until its docket is listed and this thread sleeps.
  boost::unique_lock<boost::mutex> lock(m_mutex);
  for (unsigned int attempt = 0; attempt < m_maxAttempts; ++attempt) {
    const std::string requestId = doAsyncRequest();
    AVO_LOG_DEBUG("Request ID is '" << requestId << "'");
    if (requestId.empty()) {
      AVO_LOG_ERROR("Request ID is empty, retrying");
      continue;
    }
    const boost::optional<Docket> docket = WaitForDocket(lock, requestId, timeout, isStillRelevant);
    if (!isStillRelevant()) {
      AVO_LOG_DEBUG("returned from waiting for response with ID '" << requestId
                                                                   << "': !isStillRelevant");
      return Docket();
    }
    if (!docket) {
      // The caller's own timeout is printed, also when it stands for the
      // default one (as a zero duration): kept, log readers know this line so.
      AVO_LOG_ERROR("No response received for ID '" << requestId << "' with timeout "
                                                    << boost::posix_time::to_simple_string(timeout)
                                                    << ", retrying");
      continue;
    }
    AVO_LOG_DEBUG("returned from waiting for response with ID '" << requestId << "': got response");
    return *docket;
  }
  AVO_LOG_ERROR("Maximum number of retries (" << m_maxAttempts - 1U << ") reached.");
  return Docket();
}

boost::optional<Docket>
DscAsyncRequestMessenger::WaitForDocket(boost::unique_lock<boost::mutex>& lock,
                                        const std::string& requestId, time_duration timeout,
                                        const BoolReader& isStillRelevant) {
  const auto docket = std::make_shared<Docket>();
  // Unique-key insertion: a request identifier that is already listed keeps
  // its first docket.
  m_dockets.emplace(requestId, docket);
  const DocketListEntryEraser eraser(m_dockets, requestId);
  const time_duration chosenTimeout =
      !timeout.is_special() && timeout == time_duration(0, 0, 0) ? m_defaultTimeout : timeout;
  if (!WaitForAnswer(lock, requestId, chosenTimeout, isStillRelevant)) {
    return boost::none;
  }
  return *docket;
}

bool DscAsyncRequestMessenger::WaitForAnswer(boost::unique_lock<boost::mutex>& lock,
                                             const std::string& requestId, time_duration timeout,
                                             const BoolReader& isStillRelevant) {
  const boost::optional<SteadyClock::time_point> deadline = DeadlineAfter(timeout);
  for (;;) {
    // Relevance comes first in every pass, before the docket is looked at.
    if (!isStillRelevant()) {
      AVO_LOG_INFO("Aborted a KEL request because its result is no longer relevant");
      break;
    }
    const std::shared_ptr<Docket> docket = m_dockets[requestId].lock();
    if (docket && docket->IsAnswered()) {
      return true;
    }
    if (!deadline) {
      m_condition.wait(lock);
    } else if (m_condition.wait_until(lock, *deadline) == boost::cv_status::timeout &&
               SteadyClock::now() >= *deadline) {
      break;
    }
  }
  // An aborted wait logs this line too, after its INFO line: kept, monitoring
  // counts these lines.
  AVO_LOG_WARN("Timeout (" << boost::posix_time::to_simple_string(timeout)
                           << ") occured for request ID '" << requestId << "'");
  return false;
}

void DscAsyncRequestMessenger::UpdateDocketList(const std::string& requestId,
                                                const std::string& reply,
                                                const Polt::IDeviceStackClient::IError& error) {
  {
    const boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto entry = m_dockets.find(requestId);
    if (entry == m_dockets.end()) {
      AVO_LOG_DEBUG("No docket for response ID '" << requestId << "'");
      if (error.GetCode() != 0) {
        AVO_LOG_ERROR("Request " << requestId << ": Error '" << error.GetMessage() << "'");
      }
      return;
    }
    AVO_LOG_DEBUG("Got request for ID '" << requestId << "'.");
    const bool hasError = error.GetCode() != 0;
    std::string message = error.GetMessage();
    const std::shared_ptr<Docket> docket = entry->second.lock();
    if (!docket) {
      return; // its waiter has gone: nobody to store for or to wake
    }
    docket->SetContent(reply, std::move(message), !hasError, true);
  }
  // Woken after the unlock, so that the waiters do not wake into a held mutex.
  // The messenger outlives every handler call (the owner unsets the handler
  // before destroying it), so the condition variable is still there.
  m_condition.notify_all();
}

Docket DscAsyncRequestMessenger::RegisterApplication(const std::string& first,
                                                     const std::string& second,
                                                     const std::string& third) {
  return SynchronizeRequest(
      [&] { return m_messenger.RegisterApplicationAsync(first, second, third); },
      time_duration(0, 0, 0), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetValue(unsigned long id, const VELVALUE& value, bool flag) {
  return SynchronizeRequest([&] { return m_messenger.SetValueAsync(id, value, flag); },
                            time_duration(0, 0, 0), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::GetValue(unsigned long id, bool flag) {
  return SynchronizeRequest([&] { return m_messenger.GetValueAsync(id, flag); },
                            time_duration(0, 0, 0), AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::Request(const std::string& request, time_duration timeout) {
  return SynchronizeRequest([&] { return m_messenger.RequestAsync(request); }, timeout,
                            AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetConfiguration(const std::string& configuration,
                                                  time_duration timeout,
                                                  const BoolReader& isStillRelevant) {
  return SynchronizeRequest([&] { return m_messenger.SetConfigurationAsync(configuration); },
                            timeout, isStillRelevant);
}

bool DscAsyncRequestMessenger::SetValueAndIgnoreResponse(unsigned long id, const VELVALUE& value,
                                                         bool flag) {
  const boost::lock_guard<boost::mutex> lock(m_mutex);
  const std::string requestId = m_messenger.SetValueAsync(id, value, flag);
  AVO_LOG_DEBUG("Request ID is '" << requestId << "'");
  return !requestId.empty();
}

Docket DscAsyncRequestMessenger::SetConfiguration(unsigned long id, const Properties& properties,
                                                  bool flag) {
  const bool success = m_messenger.SetConfiguration(id, properties, flag);
  return Docket("", "", success, true);
}

bool DscAsyncRequestMessenger::GetDeviceConfig(std::string& config, bool flag) {
  return m_messenger.GetDeviceConfig(config, flag);
}

bool DscAsyncRequestMessenger::SetDeviceConfig(const std::map<std::string, std::string>& config) {
  return m_messenger.SetDeviceConfig(config);
}

void DscAsyncRequestMessenger::SetAsResponseHandler() { m_messenger.SetResponseHandler(this); }

void DscAsyncRequestMessenger::UnsetAsResponseHandler() { m_messenger.SetResponseHandler(nullptr); }

bool DscAsyncRequestMessenger::EnableNativeFormat() { return m_messenger.EnableNativeFormat(); }

std::size_t DscAsyncRequestMessenger::GetOutstandingRequestCount() const {
  const boost::lock_guard<boost::mutex> lock(m_mutex);
  return m_dockets.size();
}

void DscAsyncRequestMessenger::OnResponse(void* /*context*/, const std::string& requestId,
                                          const std::string& response,
                                          const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails()
                                           << "; response: " << response);
  }
  UpdateDocketList(requestId, response, error);
}

void DscAsyncRequestMessenger::OnRegisterApplication(
    void* /*context*/, const std::string& requestId,
    const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails());
  }
  UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const std::string& config,
                                                  const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails()
                                           << "; config: " << config);
  }
  UpdateDocketList(requestId, config, error);
}

void DscAsyncRequestMessenger::OnSetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails());
  }
  UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetValue(void* /*context*/, const std::string& requestId,
                                          unsigned long id, const std::string& urn,
                                          const std::string& value,
                                          const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails()
                                           << "; id: " << id << "; urn: " << urn
                                           << "; value: " << value);
  }
  UpdateDocketList(requestId, value, error);
}

void DscAsyncRequestMessenger::OnSetValue(void* /*context*/, const std::string& requestId,
                                          unsigned long id, const std::string& urn,
                                          const std::string& value,
                                          const Polt::IDeviceStackClient::IError& error) {
  if (error.GetCode() != 0) {
    AVO_LOG_ERROR("KEL error for request " << requestId << ": " << error.GetCode() << "; "
                                           << error.GetDescription() << "; " << error.GetDetails()
                                           << "; id: " << id << "; urn: " << urn
                                           << "; value: " << value);
  }
  UpdateDocketList(requestId, value, error);
}

} // namespace Avo
