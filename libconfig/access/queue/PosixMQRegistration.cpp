// The part of PosixMQClient that asks the daemon for events, and to stop sending them.
#include <cstring>
#include "libconfig/access/queue/PosixMQState.h"

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/base/Diagnostics.h"

using qel::config::ListenerList;
using qel::config::Received;
using qel::config::ReceivedRecord;
using qel::config::Report;
using qel::config::ReportErrno;

PosixMQClient::Registration PosixMQClient::ChangeRegistration(uint32_t type, uint32_t& result) {
  Exchange exchange(*this, nullptr);
  const XCONFIGMGR_EVENT_HANDLER_REQUEST_T request = {type, _connectionID, NextRequestID(),
                                                      0,    _priority,     0};
  XCONFIGMGR_REQUEST_T dumped = {};
  std::memcpy(&dumped, &request, sizeof request);
  ConnectionUtilities::Dump(&dumped);
  ReceivedRecord answer;
  const Received received = exchange.Ask(&request, sizeof request, answer);
  if (received == Received::kNotSent) return Registration::kNotSent;
  if (received != Received::kRecord) return Registration::kNotReceived;
  if (!exchange.IsAnswered(&request, answer)) return Registration::kMismatch;
  const auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
  if (response.msgtype != type + 16) return Registration::kWrongType;
  result = response.result;
  return result == 0 ? Registration::kDone : Registration::kError;
}

bool PosixMQClient::RegisterListener() {
  uint32_t error = 0;
  switch (ChangeRegistration(XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, error)) {
    case Registration::kDone:
      return true;
    case Registration::kNotSent:
      ReportErrno("PosixMQClient::AddConfigEventListener - mq_send failed");
      return false;
    case Registration::kNotReceived:
      ReportErrno("PosixMQClient::AddConfigEventListener - mq_receive failed");
      return false;
    case Registration::kMismatch:
      Report("PosixMQClient::AddConfigEventListener - IsValidResponse returned false\n");
      return false;
    case Registration::kWrongType:
      Report(
          "PosixMQClient::AddConfigEventListener - msgtype != "
          "XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE\n");
      return false;
    case Registration::kError:
      Report("PosixMQClient::AddConfigEventListener - error = %d\n", static_cast<int>(error));
      return false;
  }
  return false;
}

int PosixMQClient::AddConfigEventListener(ConfigEventListener* listener) {
  if (listener == nullptr) return 0;
  const PosixMQClients::Inside inside(this);
  if (inside.state() == nullptr) return 0;
  const ListenerList::Delivery hold(_state->listeners);
  if (!_state->listeners.IsEmpty()) {
    _state->listeners.Add(listener);
    return 1;
  }
  // Changes may come ahead of the answer.
  _state->records.KeepEvents(true);
  if (!RegisterListener()) {
    if (!_state->eventsRegistered) _state->records.KeepEvents(false);
    return 0;
  }
  EnableMQEvents(true);
  _state->listeners.Add(listener);
  DrainOnAThread();
  return 1;
}

int PosixMQClient::RemoveConfigEventListener(ConfigEventListener* listener) {
  const PosixMQClients::Inside inside(this);
  if (inside.state() == nullptr) return 0;
  const ListenerList::Delivery hold(_state->listeners);
  const bool removed = _state->listeners.Remove(listener);
  if (!_state->listeners.IsEmpty()) return removed ? 1 : 0;
  uint32_t error = 0;
  switch (ChangeRegistration(XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, error)) {
    case Registration::kDone:
      // Whoever waits for an event next has to ask for events again.
      _state->eventsRegistered = false;
      _state->records.KeepEvents(false);
      return EnableMQEvents(false);
    case Registration::kNotSent:
      ReportErrno("PosixMQClient::RemoveConfigEventListener - mq_send failed");
      Report("PosixMQClient::RemoveConfigEventListener - mq_send failed\n");
      break;
    case Registration::kNotReceived:
      ReportErrno("PosixMQClient::RemoveConfigEventListener - mq_receive failed");
      break;
    case Registration::kMismatch:
      Report("PosixMQClient::RemoveConfigEventListener - IsValidResponse returned false\n");
      break;
    case Registration::kWrongType:
      Report(
          "PosixMQClient::RemoveConfigEventListener - msgtype != "
          "XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE\n");
      break;
    case Registration::kError:
      Report("PosixMQClient::RemoveConfigEventListener - error = %d\n", static_cast<int>(error));
      break;
  }
  EnableMQEvents(false);
  return 0;
}

bool PosixMQClient::RegisterForWaiting() {
  uint32_t error = 0;
  switch (ChangeRegistration(XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, error)) {
    case Registration::kDone:
      return true;
    case Registration::kNotSent:
      Report("PosixMQClient::WaitForConfigEvent - mq_send failed\n");
      return false;
    case Registration::kNotReceived:
      ReportErrno("PosixMQClient::WaitForConfigEvent - mq_receive failed");
      Report("PosixMQClient::WaitForConfigEvent - mq_receive failed\n");
      return false;
    case Registration::kMismatch:
      Report(
          "PosixMQClient::WaitForConfigEvent(): response message did not match response message "
          "info\n");
      return false;
    case Registration::kWrongType:
      Report("PosixMQClient::WaitForConfigEvent - response is not a event listener response\n");
      return false;
    case Registration::kError:
      Report("PosixMQClient::WaitForConfigEvent - error != 0\n");
      return false;
  }
  return false;
}
