#include "libconfig/access/queue/PosixMQState.h"

#include <cxxabi.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Thread.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/ParamDescriptor.h"
#include "libconfig/values/SemaphoreHelper.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using namespace qel::config;

namespace {

// The system starts this thread with every signal open, whatever the program has blocked: one that
// the program waits for elsewhere must not end it here.
void NotificationEntry(sigval client) {
  sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  try {
    PosixMQClient::MQNotifyHandler(client);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // No memory. The next notification or exchange tells of what is left.
  }
}

void* DrainEntry(void* client) {
  sigval value;
  value.sival_ptr = client;
  NotificationEntry(value);
  return nullptr;
}

}  // namespace

PosixMQClient::State::State(unsigned int connection, mqd_t responses,
                            std::unique_ptr<QueueReader> reader)
    : connectionID(connection),
      responseQueue(responses),
      readerError(reader->GetError()),
      records(std::move(reader)) {}

void PosixMQClient::State::BeginLeaving() {
  listeners.Close();
  leaving = true;
}

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
  if (!records.BeginDrain()) return 1;
  try {
    return DrainAll();
  } catch (...) {
    // Who catches it begins again. The thread may have been cancelled, too.
    while (!records.EndDrain()) {
    }
    throw;
  }
}

int PosixMQClient::State::DrainAll() {
  for (;;) {
    uint32_t type = 0;
    int result;
    switch (records.NextToDrain(type)) {
      case Received::kRecord:
        if (!DeliverNext(nullptr, result) && listeners.IsEmpty() && records.EndDrain()) return 1;
        break;
      case Received::kUnknown:
        Report("Unknown message type %d\n", static_cast<int>(type));
        break;
      case Received::kFailed:
        ReportErrno("PosixMQClient::ProcessMessages - mq_receive\n");
        Report("PosixMQClient::ProcessMessages - mq_receive ERROR\n");
        return 0;
      default:
        return 1;  // nothing is left, or the client is on its way out
    }
  }
}

bool PosixMQClient::State::ReadText(const XCONFIGMGR_RESPONSE_T& record, char* stream,
                                    std::size_t length, const char* complaint, std::string& text) {
  if (record.streamLength == 0 || record.streamLength > length) {
    Report("%s", complaint);
    return false;
  }
  const auto decoded = DecodeValue(stream, record.streamLength, eSerializationFormat_Queue);
  auto* const value = dynamic_cast<StringValue*>(decoded.get());
  if (value != nullptr) value->Get(text);
  return value != nullptr;
}

int PosixMQClient::State::Deliver(ListenerList::Delivery& delivery, XCONFIGMGR_RESPONSE_T& record,
                                  bool isText, char* stream, std::size_t length,
                                  ConfigEvent* event) {
  if (record.connectionID != connectionID) {
    ConnectionUtilities::Dump(&record);
    return 0;
  }
  std::string text;
  if (isText &&
      !ReadText(record, stream, length,
                "PosixMQClient::ProcessConfigStreamParamEvent - invalid streamLength\n", text)) {
    return 0;
  }
  const auto param = static_cast<eParam_t>(record.paramID);
  timeval time;
  time.tv_sec = static_cast<time_t>(record.timeSeconds);
  time.tv_usec = static_cast<suseconds_t>(record.timeMicroseconds);
  if (event != nullptr) {
    event->param = param;
    if (const ParamDescriptor* const descriptor = FindDescriptor(param)) {
      event->type = descriptor->GetParamType();
    }
    event->value = record.value;
    event->stringValue = text;
    event->time = time;
  }
  delivery.ToAll([&](ConfigEventListener& listener) {
    if (isText) {
      listener.ParamChanged(param, text, time);
    } else {
      listener.ParamChanged(param, record.value, time);
    }
  });
  return 1;
}

// The message is taken with the listeners held, so that they hear the events in their order.
bool PosixMQClient::State::DeliverNext(ConfigEvent* event, int& result) {
  ListenerList::Delivery delivery(listeners);
  ReceivedRecord received;
  if (delivery.IsNested() || (event == nullptr && listeners.IsEmpty())) return false;
  if (!(event == nullptr ? records.TakeEvent(received) : records.TakeAwaitedEvent(received))) {
    return false;
  }
  auto record = received.As<XCONFIGMGR_RESPONSE_T>();
  result = Deliver(delivery, record, record.msgtype == XCFG_PARAM_STREAM_CHANGED_EVENT,
                   received.stream.data(), received.stream.size(), event);
  return true;
}

// A notification only comes when the queue was empty before: what is there already needs a look.
bool PosixMQClient::DrainOnAThread() {
  mq_attr attributes;
  const bool queued = ::mq_getattr(_responseQueue, &attributes) == 0 && attributes.mq_curmsgs > 0;
  if (!queued && !_state->records.HasEvents()) return false;
  return StartThread(nullptr, ThreadKind::kDetached, 0, DrainEntry, this) == 0;
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

int PosixMQClient::Process(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event, bool isText) {
  const PosixMQClients::Inside inside(this);
  const std::shared_ptr<State>& state = inside.state();
  if (state == nullptr) return 0;
  ListenerList::Delivery delivery(state->listeners);
  if (delivery.IsNested()) return 0;
  const auto size = static_cast<std::size_t>(_messageSize);
  return state->Deliver(delivery, *response, isText, reinterpret_cast<char*>(response + 1),
                        size - std::min(size, sizeof *response), event);
}

int PosixMQClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event) {
  return Process(response, event, false);
}

int PosixMQClient::ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* response,
                                                 ConfigEvent* event) {
  return Process(response, event, true);
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
  if (!ChangeRegistration(kAdd)) {
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
  const bool done = ChangeRegistration(kRemove);
  if (done) {
    // Whoever waits for an event next has to ask for events again.
    _state->eventsRegistered = false;
    _state->records.KeepEvents(false);
  }
  const int disabled = EnableMQEvents(false);
  return done ? disabled : 0;
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
      state->eventsRegistered = ChangeRegistration(kAddToWait);
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
