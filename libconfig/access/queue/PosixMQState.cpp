#include "libconfig/access/queue/PosixMQState.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/ParamDescriptor.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using qel::config::ListenerList;
using qel::config::MutexLock;
using qel::config::QueueInbox;
using qel::config::QueueMessage;
using qel::config::Report;
using qel::config::ReportErrno;

namespace {

timeval TimeOf(const XCONFIGMGR_RESPONSE_T& record) {
  timeval time;
  time.tv_sec = static_cast<time_t>(record.timeSeconds);
  time.tv_usec = static_cast<suseconds_t>(record.timeMicroseconds);
  return time;
}

void Describe(const XCONFIGMGR_RESPONSE_T& record, ConfigEvent& event) {
  event.param = static_cast<eParam_t>(record.paramID);
  if (const ParamDescriptor* const descriptor = FindDescriptor(event.param)) {
    event.type = descriptor->GetParamType();
  }
  event.value = record.value;
  event.stringValue.clear();
  event.time = TimeOf(record);
}

// The system starts this thread with every signal open, whatever the program has blocked: one that
// the program waits for elsewhere must not end it here.
void NotificationEntry(sigval client) {
  sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  PosixMQClient::MQNotifyHandler(client);
}

}  // namespace

int PosixMQClient::State::EnableEvents(bool enable) {
  MutexLock lock(armMutex);
  if (enable) return Arm();
  armed = false;
  if (::mq_notify(responseQueue, nullptr) == 0) return 1;
  ReportErrno("PosixMQClient::EnableMQEvents - mq_notify (disable)");
  return 0;
}

int PosixMQClient::State::Arm() {
  mq_attr attributes = {};
  attributes.mq_flags = O_NONBLOCK;
  if (::mq_setattr(responseQueue, &attributes, nullptr) != 0) {
    ReportErrno(
        "PosixMQClient::EnableMQEvents - mq_setattr failed to set O_NONBLOCK on response queue");
    return 0;
  }
  sigevent event = {};
  event.sigev_notify = SIGEV_THREAD;
  event.sigev_value.sival_ptr = client;
  event.sigev_notify_function = NotificationEntry;
  // Only one process may ask for notifications, and the queue is ours: they are on already.
  if (::mq_notify(responseQueue, &event) != 0 && errno != EBUSY) {
    ReportErrno("PosixMQClient::EnableMQEvents - mq_notify (enable)");
    return 0;
  }
  armed = true;
  return 1;
}

bool PosixMQClient::State::RenewNotification(PosixMQClient* notified) {
  MutexLock lock(armMutex);
  return !armed || client != notified || Arm() != 0;
}

// From inside a listener's call nothing can be told: that goes on when the listener returns.
int PosixMQClient::State::Drain() {
  if (listeners.IsHeldByCaller()) return 0;
  if (!inbox.BeginDrain()) return 1;
  for (;;) {
    uint32_t type = 0;
    int result;
    switch (inbox.NextToDrain(type)) {
      case QueueInbox::Outcome::kReady:
        try {
          if (!DeliverNext(nullptr, result) && listeners.IsEmpty() && inbox.EndDrain()) return 1;
        } catch (...) {
          // Who catches it begins again.
          while (!inbox.EndDrain()) {
          }
          throw;
        }
        break;
      case QueueInbox::Outcome::kUnknown:
        Report("Unknown message type %d\n", static_cast<int>(type));
        break;
      case QueueInbox::Outcome::kEmpty:
      case QueueInbox::Outcome::kClosed:
        return 1;
      case QueueInbox::Outcome::kTimeout:
      case QueueInbox::Outcome::kFailed:
        ReportErrno("PosixMQClient::ProcessMessages - mq_receive\n");
        Report("PosixMQClient::ProcessMessages - mq_receive ERROR\n");
        return 0;
    }
  }
}

int PosixMQClient::State::Deliver(ListenerList::Delivery& delivery, XCONFIGMGR_RESPONSE_T& record,
                                  ConfigEvent* event) {
  if (record.connectionID != connectionID) {
    ConnectionUtilities::Dump(&record);
    return 0;
  }
  const auto param = static_cast<eParam_t>(record.paramID);
  if (event != nullptr) Describe(record, *event);
  delivery.ToAll([&](ConfigEventListener& listener) {
    listener.ParamChanged(param, record.value, TimeOf(record));
  });
  return 1;
}

int PosixMQClient::State::DeliverStream(ListenerList::Delivery& delivery,
                                        XCONFIGMGR_RESPONSE_T& record, char* stream,
                                        unsigned length, ConfigEvent* event) {
  if (record.connectionID != connectionID) {
    ConnectionUtilities::Dump(&record);
    return 0;
  }
  if (record.streamLength == 0 || record.streamLength > length) {
    Report("PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n");
    return 0;
  }
  const auto decoded =
      qel::config::DecodeValue(stream, record.streamLength, eSerializationFormat_Queue);
  auto* const value = dynamic_cast<StringValue*>(decoded.get());
  if (value == nullptr) return 0;
  std::string text;
  value->Get(text);
  const auto param = static_cast<eParam_t>(record.paramID);
  if (event != nullptr) {
    Describe(record, *event);
    event->stringValue = text;
  }
  delivery.ToAll(
      [&](ConfigEventListener& listener) { listener.ParamChanged(param, text, TimeOf(record)); });
  return 1;
}

// The message is taken with the listeners held, so that they hear the events in their order.
bool PosixMQClient::State::DeliverNext(ConfigEvent* event, int& result) {
  ListenerList::Delivery delivery(listeners);
  QueueMessage message;
  if (delivery.IsNested() || (event == nullptr && listeners.IsEmpty())) return false;
  const bool taken = event == nullptr ? inbox.TakeEvent(message) : inbox.TakeAwaitedEvent(message);
  if (!taken) return false;
  if (message.record.msgtype == XCFG_PARAM_CHANGED_EVENT) {
    result = Deliver(delivery, message.record, event);
  } else {
    result = DeliverStream(delivery, message.record, message.stream.data(),
                           static_cast<unsigned>(message.stream.size()), event);
  }
  return true;
}

PosixMQClients& PosixMQClients::Instance() {
  static auto* const instance = new PosixMQClients;
  return *instance;
}

void PosixMQClients::Add(PosixMQClient* client, StatePointer state) {
  MutexLock lock(_mutex);
  _clients[client] = std::move(state);
}

bool PosixMQClients::Contains(PosixMQClient* client) {
  MutexLock lock(_mutex);
  return _clients.count(client) != 0;
}

bool PosixMQClients::HasConnection(unsigned int connectionID) {
  MutexLock lock(_mutex);
  for (const auto& client : _clients) {
    if (client.second->connectionID == connectionID) return true;
  }
  return false;
}

void PosixMQClients::Remove(PosixMQClient* client) {
  MutexLock lock(_mutex);
  const auto found = _clients.find(client);
  if (found == _clients.end()) return;
  const StatePointer state = std::move(found->second);
  _clients.erase(found);
  const auto isAnother = [self = std::this_thread::get_id()](std::thread::id id) {
    return id != self;
  };
  while (std::any_of(state->inside.begin(), state->inside.end(), isAnother)) _left.Wait(_mutex);
}

PosixMQClients::Inside::Inside(PosixMQClient* client) {
  PosixMQClients& clients = Instance();
  MutexLock lock(clients._mutex);
  const auto found = clients._clients.find(client);
  if (found == clients._clients.end()) return;
  found->second->inside.push_back(std::this_thread::get_id());
  _state = found->second;
}

PosixMQClients::Inside::~Inside() {
  if (_state == nullptr) return;
  PosixMQClients& clients = Instance();
  MutexLock lock(clients._mutex);
  auto& inside = _state->inside;
  inside.erase(std::find(inside.begin(), inside.end(), std::this_thread::get_id()));
  clients._left.Broadcast();
}
