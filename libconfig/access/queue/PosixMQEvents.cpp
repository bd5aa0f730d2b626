// The half of PosixMQClient that hears of changes.
#include <cxxabi.h>
#include <unistd.h>

#include <cstdlib>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/queue/PosixMQState.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Thread.h"

using qel::config::ListenerList;
using qel::config::Received;
using qel::config::RecordExchange;
using qel::config::Report;
using qel::config::ReportErrno;

namespace {

void* DrainEntry(void* client) {
  sigval value;
  value.sival_ptr = client;
  try {
    PosixMQClient::MQNotifyHandler(value);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // No memory. The next notification or exchange tells of what is left.
  }
  return nullptr;
}

}  // namespace

// A notification only comes when the queue was empty before: what is there already needs a look.
bool PosixMQClient::DrainOnAThread() {
  mq_attr attributes;
  const bool queued = ::mq_getattr(_responseQueue, &attributes) == 0 && attributes.mq_curmsgs > 0;
  if (!queued && !_state->records.HasEvents()) return false;
  return qel::config::StartThread(nullptr, qel::config::ThreadKind::kDetached, 0, DrainEntry,
                                  this) == 0;
}

int PosixMQClient::EnableMQEvents(bool enable) { return _state->EnableEvents(enable); }

void PosixMQClient::MQNotifyHandler(sigval value) {
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
  // It may have been for a client that was here before, or for a listener that has left. What comes
  // now is for whoever waits for it.
  if (state->listeners.IsEmpty()) return state->records.DisclaimDrain();
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
  const PosixMQClients::Inside inside(this);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return 0;
  ListenerList::Delivery delivery(state->listeners);
  return delivery.IsNested() ? 0 : state->Deliver(delivery, *response, event);
}

int PosixMQClient::ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* response,
                                                 ConfigEvent* event) {
  const PosixMQClients::Inside inside(this);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return 0;
  ListenerList::Delivery delivery(state->listeners);
  if (delivery.IsNested()) return 0;
  const auto size = static_cast<std::size_t>(_messageSize);
  const std::size_t room = size < sizeof *response ? 0 : size - sizeof *response;
  return state->DeliverStream(delivery, *response, reinterpret_cast<char*>(response + 1),
                              static_cast<unsigned>(room), event);
}

int PosixMQClient::WaitForConfigEvent(ConfigEvent& event, long, long) {
  const PosixMQClients::Inside inside(this);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return 0;
  {
    const ListenerList::Delivery hold(state->listeners);
    if (hold.IsNested()) return 0;
    if (!state->eventsRegistered) {
      state->records.KeepEvents(true);
      state->eventsRegistered = RegisterForWaiting();
      if (!state->eventsRegistered) {
        if (state->listeners.IsEmpty()) state->records.KeepEvents(false);
        return 0;
      }
    }
  }
  const RecordExchange::EventWait wait(state->records);
  for (;;) {
    uint32_t type = 0;
    int result;
    switch (state->records.AwaitEvent(type)) {
      case Received::kRecord:
        if (state->DeliverNext(&event, result)) return result;
        continue;
      case Received::kUnknown:
        Report("PosixMQClient::WaitForConfigEvent - Unknown message type %d\n",
               static_cast<int>(type));
        return 0;
      case Received::kFailed:
        ReportErrno("PosixMQClient::WaitForConfigEvent - mq_receive\n");
        Report("PosixMQClient::WaitForConfigEvent - mq_receive ERROR\n");
        return 0;
      default:
        return 0;
    }
  }
}
