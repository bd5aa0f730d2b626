#include "libconfig/access/queue/PosixMQState.h"

#include <cxxabi.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/ParamDescriptor.h"
#include "libconfig/values/SemaphoreHelper.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using qel::config::ListenerList;
using qel::config::MutexLock;
using qel::config::Outcome;
using qel::config::QueueReader;
using qel::config::Received;
using qel::config::ReceivedRecord;
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
  try {
    PosixMQClient::MQNotifyHandler(client);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // No memory. The next notification or exchange tells of what is left.
  }
}

}  // namespace

PosixMQClient::State::State(unsigned int connection, mqd_t responses, std::size_t messageSize,
                            mqd_t requests)
    : State(connection, responses,
            std::make_unique<QueueReader>(responses, messageSize, requests)) {}

PosixMQClient::State::State(unsigned int connection, mqd_t responses,
                            std::unique_ptr<QueueReader> reader)
    : connectionID(connection),
      responseQueue(responses),
      readerError(reader->GetError()),
      records(std::move(reader)) {}

// One who waits for the semaphore is woken by a post that he keeps to himself.
void PosixMQClient::State::BeginLeaving(sem_t* semaphore) {
  listeners.Close();
  MutexLock lock(leaveMutex);
  if (leaving) return;
  leaving = true;
  woken = atSemaphore;
  if (woken) SemaphoreHelper::Post(semaphore);
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
  ReceivedRecord received;
  if (delivery.IsNested() || (event == nullptr && listeners.IsEmpty())) return false;
  if (!(event == nullptr ? records.TakeEvent(received) : records.TakeAwaitedEvent(received))) {
    return false;
  }
  auto record = received.As<XCONFIGMGR_RESPONSE_T>();
  if (record.msgtype == XCFG_PARAM_CHANGED_EVENT) {
    result = Deliver(delivery, record, event);
  } else {
    result = DeliverStream(delivery, record, received.stream.data(),
                           static_cast<unsigned>(received.stream.size()), event);
  }
  return true;
}

PosixMQClient::Exchange::Exchange(PosixMQClient& client, sem_t* semaphore,
                                  std::chrono::milliseconds patience)
    : _client(client),
      _begin(std::chrono::steady_clock::now()),
      _deadline(_begin + patience),
      _turn(client._state->records, _deadline),
      _semaphore(semaphore) {
  if (!_turn.IsMine()) {
    _error = errno;
  } else if (_semaphore != nullptr) {
    _held = ::sem_trywait(_semaphore) == 0;
    if (!_held) WaitForFactory();
  }
}

PosixMQClient::Exchange::~Exchange() {
  if (_held) SemaphoreHelper::Post(_semaphore);
}

void PosixMQClient::Exchange::WaitForFactory() {
  State& state = *_client._state;
  {
    MutexLock lock(state.leaveMutex);
    state.atSemaphore = !state.leaving;
    _error = state.leaving ? ECANCELED : 0;
    if (state.leaving) return;
  }
  const auto time = _deadline.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const timespec end = {
      static_cast<time_t>(seconds.count()),
      static_cast<long>(
          std::chrono::duration_cast<std::chrono::nanoseconds>(time - seconds).count())};
  // Cancelled or not, this thread does not wait any more.
  struct Waiting {
    ~Waiting() {
      MutexLock lock(state.leaveMutex);
      state.atSemaphore = false;
      if (!state.leaving) return;
      error = ECANCELED;
      if (!state.woken) return;
      // That post was for this thread.
      if (!held) ::sem_trywait(semaphore);
      held = false;
    }
    State& state;
    sem_t* const semaphore;
    bool& held;
    int& error;
  };
  const Waiting waiting = {state, _semaphore, _held, _error};
  int result;
  do result = ::sem_clockwait(_semaphore, CLOCK_MONOTONIC, &end);
  while (result != 0 && errno == EINTR);
  if (result != 0 && errno != ETIMEDOUT) {
    ReportErrno("Semaphore(): call to sem_wait failed\n");
    result = 0;
  }
  _held = result == 0;
  _error = _held ? 0 : ETIMEDOUT;
}

Received PosixMQClient::Exchange::Ask(const void* request, std::size_t length,
                                      ReceivedRecord& answer) {
  // A daemon that was started anew does not read this queue. Looked for only after a pause, as it
  // takes a call.
  constexpr std::chrono::milliseconds kPause(20);
  State& state = *_client._state;
  if (_error != 0) {
    errno = _error;
    qel::config::SetOutcome(_error == ETIMEDOUT ? Outcome::kNoAnswer : Outcome::kNoConnection);
    return Received::kTimeout;
  }
  XCONFIGMGR_CONNECTION_REQUEST_T head;
  std::memcpy(&head, request, sizeof head);
  const auto send = [&] {
    if (_begin - kPause > state.lastAnswer && qel::config::IsQueueGone(_client._requestQueue)) {
      errno = ENOENT;
      return false;
    }
    return qel::config::SendToQueue(_client._requestQueue, request, length, _client._priority,
                                    _deadline);
  };
  const Received received = _turn.Ask({head.requestID, 0, false}, send, answer);
  const int saved = errno;
  if (received == Received::kNotSent && saved == EMSGSIZE) {
    qel::config::SetOutcome(Outcome::kTooLong);
  }
  // The system may fail to start the thread of a notification, and says nothing of it.
  if (!state.listeners.IsEmpty() && state.records.ClaimDrain() && !_client.DrainOnAThread()) {
    state.records.DisclaimDrain();
  }
  if (received == Received::kRecord) {
    state.lastAnswer = _begin;
    auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
    ConnectionUtilities::Dump(&response);
  }
  errno = saved;
  return received;
}

bool PosixMQClient::Exchange::IsAnswered(const void* request, const ReceivedRecord& answer) {
  XCONFIGMGR_CONNECTION_REQUEST_T head;
  std::memcpy(&head, request, sizeof head);
  const auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
  if (answer.size >= sizeof response && IsValidResponse(head, response)) return true;
  if (response.requestID != head.requestID) _turn.GiveUp(head.requestID);
  qel::config::SetOutcome(Outcome::kNoAnswer);
  return false;
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
