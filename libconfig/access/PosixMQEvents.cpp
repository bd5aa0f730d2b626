// The half of PosixMQClient that hears of changes.
#include <cxxabi.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/PosixMQExchange.h"
#include "libconfig/access/PosixMQState.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Thread.h"

using qel::config::ListenerList;
using qel::config::QueueInbox;
using qel::config::QueueMessage;
using qel::config::Report;
using qel::config::ReportErrno;

namespace {

void* DrainEntry(void* client) {
  sigval value;
  value.sival_ptr = client;
  PosixMQClient::MQNotifyHandler(value);
  return nullptr;
}

}  // namespace

PosixMQClient::Registration PosixMQClient::ChangeRegistration(uint32_t type, uint32_t& result) {
  Exchange exchange(*this, nullptr);
  const XCONFIGMGR_EVENT_HANDLER_REQUEST_T request = {type, _connectionID, NextRequestID(),
                                                      0,    _priority,     0};
  XCONFIGMGR_REQUEST_T dumped = {};
  std::memcpy(&dumped, &request, sizeof request);
  ConnectionUtilities::Dump(&dumped);
  QueueMessage answer;
  switch (exchange.Ask(request, sizeof request, answer)) {
    case Exchange::Result::kNotSent:
      return Registration::kNotSent;
    case Exchange::Result::kNotReceived:
      return Registration::kNotReceived;
    case Exchange::Result::kAnswer:
      break;
  }
  if (!exchange.IsAnswered(request, answer)) return Registration::kMismatch;
  if (answer.record.msgtype != type + 16) return Registration::kWrongType;
  result = answer.record.result;
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
  const ListenerList::Delivery hold(_state->listeners);
  if (!_state->listeners.IsEmpty()) {
    _state->listeners.Add(listener);
    return 1;
  }
  // Changes may come ahead of the answer.
  _state->inbox.KeepEvents(true);
  if (!RegisterListener()) {
    if (!_state->eventsRegistered) _state->inbox.KeepEvents(false);
    return 0;
  }
  EnableMQEvents(true);
  _state->listeners.Add(listener);
  DrainOnAThread();
  return 1;
}

// A notification only comes when the queue was empty before: what is there already needs a look.
void PosixMQClient::DrainOnAThread() {
  mq_attr attributes;
  const bool queued = ::mq_getattr(_responseQueue, &attributes) == 0 && attributes.mq_curmsgs > 0;
  if (!queued && !_state->inbox.HasEvents()) return;
  qel::config::StartThread(nullptr, qel::config::ThreadKind::kDetached, 0, DrainEntry, this);
}

int PosixMQClient::RemoveConfigEventListener(ConfigEventListener* listener) {
  const ListenerList::Delivery hold(_state->listeners);
  const bool removed = _state->listeners.Remove(listener);
  if (!_state->listeners.IsEmpty()) return removed ? 1 : 0;
  uint32_t error = 0;
  switch (ChangeRegistration(XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, error)) {
    case Registration::kDone:
      // Whoever waits for an event next has to ask for events again.
      _state->eventsRegistered = false;
      _state->inbox.KeepEvents(false);
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

int PosixMQClient::EnableMQEvents(bool enable) { return _state->EnableEvents(enable); }

// The system starts this thread with every signal open, whatever the program has blocked: one that
// the program waits for elsewhere must not end it here.
void PosixMQClient::MQNotifyHandler(sigval value) {
  sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  auto* const client = static_cast<PosixMQClient*>(value.sival_ptr);
  if (client == nullptr) return;
  const PosixMQClients::Inside inside(client);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return;
  const auto name = [] {
    return ConnectionUtilities::GetPIDName(static_cast<unsigned>(::getpid()));
  };
  // Ahead of reading, so that nothing comes unnoticed.
  if (!state->RenewNotification(client)) {
    Report("[%s] PosixMQClient::MQNotifyHandler - call to EnableMQEvents failed!\n",
           name().c_str());
    std::exit(-1);
  }
  for (;;) {
    try {
      state->Drain();
      return;
    } catch (abi::__forced_unwind&) {
      throw;
    } catch (...) {
      // What is left still has to be told, as no notification comes for it.
      Report("[%s] PosixMQClient::MQNotifyHandler - exception!!!!\n", name().c_str());
    }
  }
}

int PosixMQClient::ProcessEvents() {
  const PosixMQClients::Inside inside(this);
  return inside.state() == nullptr ? 0 : inside.state()->Drain();
}

int PosixMQClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event) {
  const std::shared_ptr<State> state = _state;
  ListenerList::Delivery delivery(state->listeners);
  return delivery.IsNested() ? 0 : state->Deliver(delivery, *response, event);
}

int PosixMQClient::ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* response,
                                                 ConfigEvent* event) {
  const std::shared_ptr<State> state = _state;
  ListenerList::Delivery delivery(state->listeners);
  if (delivery.IsNested()) return 0;
  const auto size = static_cast<std::size_t>(_messageSize);
  const std::size_t room = size < sizeof *response ? 0 : size - sizeof *response;
  return state->DeliverStream(delivery, *response, reinterpret_cast<char*>(response + 1),
                              static_cast<unsigned>(room), event);
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

int PosixMQClient::WaitForConfigEvent(ConfigEvent& event, long, long) {
  const PosixMQClients::Inside inside(this);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return 0;
  {
    const ListenerList::Delivery hold(state->listeners);
    if (hold.IsNested()) return 0;
    if (!state->eventsRegistered) {
      state->inbox.KeepEvents(true);
      state->eventsRegistered = RegisterForWaiting();
      if (!state->eventsRegistered) {
        if (state->listeners.IsEmpty()) state->inbox.KeepEvents(false);
        return 0;
      }
    }
  }
  for (;;) {
    uint32_t type = 0;
    int result;
    switch (state->inbox.AwaitEvent(type)) {
      case QueueInbox::Outcome::kReady:
        if (state->DeliverNext(&event, result)) return result;
        continue;
      case QueueInbox::Outcome::kUnknown:
        Report("PosixMQClient::WaitForConfigEvent - Unknown message type %d\n",
               static_cast<int>(type));
        return 0;
      case QueueInbox::Outcome::kClosed:
        return 0;
      default:
        ReportErrno("PosixMQClient::WaitForConfigEvent - mq_receive\n");
        Report("PosixMQClient::WaitForConfigEvent - mq_receive ERROR\n");
        return 0;
    }
  }
}
