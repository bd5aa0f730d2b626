#include "libconfig/access/queue/PosixMQClient.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/MessageTable.h"
#include "libconfig/access/queue/PosixMQState.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/values/SemaphoreHelper.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using namespace qel::config;

namespace {

long MessageSizeOf(mqd_t queue) {
  const long size = GetQueueMessageSize(queue);
  if (size >= 0) return size;
  ReportErrno("PosixMQClient::PosixMQClient - mq_getattr failed");
  Report("PosixMQClient::PosixMQClient - mq_getattr failed");
  std::exit(1);
}

}  // namespace

PosixMQClient::PosixMQClient(unsigned int connectionID, unsigned int priority, int requestQueue,
                             int responseQueue, sem_t* connectionSemaphore, int& requestCounter,
                             eConfigID_t configID)
    : _connectionID(connectionID),
      _priority(priority),
      _requestQueue(requestQueue),
      _responseQueue(responseQueue),
      _messageSize(MessageSizeOf(responseQueue)),
      _connectionSemaphore(connectionSemaphore),
      _requestCounter(requestCounter),
      _configID(configID),
      _patience(limits::kQueueExchangeMs),
      _state(std::make_shared<State>(
          connectionID, responseQueue,
          std::make_unique<QueueReader>(responseQueue, static_cast<std::size_t>(_messageSize),
                                        requestQueue))) {
  {
    MutexLock lock(_state->armMutex);
    _state->client = this;
  }
  PosixMQClients::Instance().Add(this, _state);
}

PosixMQClient::~PosixMQClient() { Leave(); }

void PosixMQClient::Leave() {
  if (!PosixMQClients::Instance().Contains(this)) return;
  _state->BeginLeaving();
  bool armed;
  {
    MutexLock lock(_state->armMutex);
    armed = _state->armed;
    _state->client = nullptr;
    _state->armed = false;
  }
  if (armed) ::mq_notify(_responseQueue, nullptr);
  _state->records.Stop();
  // Others may be waiting for the delivery that this thread is inside of.
  _state->listeners.QuitDelivery();
  PosixMQClients::Instance().Remove(this);
  _state->records.Close();
  _state->listeners.RemoveAll();
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

// In slices, as a post for one who is to end could be taken by another client.
void PosixMQClient::Exchange::WaitForFactory() {
  constexpr std::chrono::milliseconds kSlice(20);
  const std::atomic<bool>& leaving = _client._state->leaving;
  while (!_held && !leaving && std::chrono::steady_clock::now() < _deadline) {
    const auto end = std::min(_deadline, After(kSlice)).time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(end);
    const timespec time = {static_cast<time_t>(seconds.count()),
                           static_cast<long>(std::chrono::nanoseconds(end - seconds).count())};
    _held = ::sem_clockwait(_semaphore, CLOCK_MONOTONIC, &time) == 0;
    if (_held || errno == EINTR || errno == ETIMEDOUT) continue;
    ReportErrno("Semaphore(): call to sem_wait failed\n");
    _held = true;
  }
  if (_held && leaving) {
    SemaphoreHelper::Post(_semaphore);
    _held = false;
  }
  if (!_held) _error = leaving ? ECANCELED : ETIMEDOUT;
}

Received PosixMQClient::Exchange::Ask(const void* request, std::size_t length,
                                      ReceivedRecord& answer) {
  // A daemon that was started anew does not read this queue. Looked for only after a pause, as it
  // takes a call.
  constexpr std::chrono::milliseconds kPause(20);
  State& state = *_client._state;
  if (_error != 0) {
    errno = _error;
    SetOutcome(_error == ETIMEDOUT ? Outcome::kNoAnswer : Outcome::kNoConnection);
    return Received::kTimeout;
  }
  std::memcpy(&_request, request, sizeof _request);
  const auto send = [&] {
    if (_begin - kPause > state.lastAnswer && IsQueueGone(_client._requestQueue)) {
      errno = ENOENT;
      return false;
    }
    return SendToQueue(_client._requestQueue, request, length, _client._priority, _deadline);
  };
  const Received received = _turn.Ask({_request.requestID, 0, false}, send, answer);
  const int saved = errno;
  if (received == Received::kNotSent && saved == EMSGSIZE) {
    SetOutcome(Outcome::kTooLong);
  }
  // The system may fail to start the thread of a notification, and says nothing of it.
  if (!state.listeners.IsEmpty() && state.records.ClaimDrain() && !_client.DrainOnAThread()) {
    state.records.DisclaimDrain();
  }
  if (received == Received::kRecord) state.lastAnswer = _begin;
  errno = saved;
  return received;
}

bool PosixMQClient::Exchange::IsAnswered(const ReceivedRecord& answer) {
  const bool isWhole = answer.size >= sizeof(XCONFIGMGR_RESPONSE_T);
  if (isWhole && IsValidResponse(_request, answer.As<XCONFIGMGR_RESPONSE_T>())) return true;
  Leave(answer);
  return false;
}

void PosixMQClient::Exchange::Leave(const ReceivedRecord& answer) {
  if (answer.GetRequestID() != _request.requestID) _turn.GiveUp(_request.requestID);
}

unsigned int PosixMQClient::NextRequestID() {
  return static_cast<unsigned>(__atomic_fetch_add(&_requestCounter, 1, __ATOMIC_RELAXED));
}

void PosixMQClient::NoteUpdate(const XCONFIGMGR_RESPONSE_T& response) {
  MutexLock lock(_updateMutex);
  _lastUpdate.tv_sec = static_cast<time_t>(response.timeSeconds);
  _lastUpdate.tv_usec = static_cast<suseconds_t>(response.timeMicroseconds);
}

// What an operation asks for, and what it says when that fails; null where it says nothing.
struct PosixMQClient::Operation {
  struct Failure {
    const char* reason;  // errno stands behind it
    const char* text;
  };
  uint32_t type;
  Failure notSent;
  Failure notReceived;
  const char* mismatch;
  const char* wrongType;  // the same where there is none
  const char* refused;    // may have the error's number
  bool refusalFirst;      // looks for the daemon's error ahead of whose answer it is
};

const PosixMQClient::Operation PosixMQClient::kGet = {
    XCFG_GET_PARAM_REQUEST,
    {"PosixMQClient::Get - mq_send failed", "PosixMQClient::Get - mq_send failed\n"},
    {"PosixMQClient::Get(): mq_receive returned -1, FAILED",
     "PosixMQClient::Get(): mq_receive returned -1, FAILED"},
    "PosixMQClient::Get(): response message did not match response message info\n",
    nullptr,
    "PosixMQClient::Get(): response message indicated an error\n",
    true};

const PosixMQClient::Operation PosixMQClient::kSet = {
    XCFG_SET_PARAM_REQUEST,
    {"PosixMQClient::Set mq_send failed", "PosixMQClient::Set - mq_send failed\n"},
    {"PosixMQClient::Set - mq_receive failed", "PosixMQClient::Set - mq_receive failed\n"},
    "PosixMQClient::Set - invalid response for the given request\n",
    nullptr,
    nullptr,
    false};

const PosixMQClient::Operation PosixMQClient::kGetText = {
    XCFG_GET_STREAM_PARAM_REQUEST,
    {"PosixMQClient::Get - mq_send failed", "PosixMQClient::Get - mq_send failed"},
    {"PosixMQClient::Get - mq_receive failed", nullptr},
    "PosixMQClient::Get - response does not match request\n",
    nullptr,
    "PosixMQClient::Get - response error != 0\n",
    false};

const PosixMQClient::Operation PosixMQClient::kSetText = {
    XCFG_SET_STREAM_PARAM_REQUEST,
    {nullptr, "PosixMQClient::Set: mq_send failed\n"},
    {"PosixMQClient::Set - mq_receive failed", nullptr},
    "PosixMQClient::Get - response does not match request\n",  // the text of Get
    nullptr,
    nullptr,
    false};

const PosixMQClient::Operation PosixMQClient::kAdd = {
    XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST,
    {"PosixMQClient::AddConfigEventListener - mq_send failed", nullptr},
    {"PosixMQClient::AddConfigEventListener - mq_receive failed", nullptr},
    "PosixMQClient::AddConfigEventListener - IsValidResponse returned false\n",
    "PosixMQClient::AddConfigEventListener - msgtype != "
    "XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE\n",
    "PosixMQClient::AddConfigEventListener - error = %d\n",
    false};

const PosixMQClient::Operation PosixMQClient::kRemove = {
    XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST,
    {"PosixMQClient::RemoveConfigEventListener - mq_send failed",
     "PosixMQClient::RemoveConfigEventListener - mq_send failed\n"},
    {"PosixMQClient::RemoveConfigEventListener - mq_receive failed", nullptr},
    "PosixMQClient::RemoveConfigEventListener - IsValidResponse returned false\n",
    "PosixMQClient::RemoveConfigEventListener - msgtype != "
    "XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE\n",
    "PosixMQClient::RemoveConfigEventListener - error = %d\n",
    false};

const PosixMQClient::Operation PosixMQClient::kAddToWait = {
    XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST,
    {nullptr, "PosixMQClient::WaitForConfigEvent - mq_send failed\n"},
    {"PosixMQClient::WaitForConfigEvent - mq_receive failed",
     "PosixMQClient::WaitForConfigEvent - mq_receive failed\n"},
    "PosixMQClient::WaitForConfigEvent(): response message did not match response message info\n",
    "PosixMQClient::WaitForConfigEvent - response is not a event listener response\n",
    "PosixMQClient::WaitForConfigEvent - error != 0\n",
    false};

XCONFIGMGR_REQUEST_T PosixMQClient::MakeRequest(const Operation& operation, eParam_t param) const {
  XCONFIGMGR_REQUEST_T request = {};
  request.msgtype = operation.type;
  request.connectionID = _connectionID;
  request.configID = static_cast<uint32_t>(_configID);
  request.priority = _priority;
  request.paramID = param;
  return request;
}

// One exchange of `length` bytes that begin with `request`.
bool PosixMQClient::Perform(const Operation& operation, XCONFIGMGR_REQUEST_T& request,
                            std::size_t length, ReceivedRecord& answer) {
  // Listeners are asked for without the semaphore, and have their status in another word.
  const bool isOfParam = operation.type >= XCFG_GET_PARAM_REQUEST;
  Exchange exchange(*this, isOfParam ? _connectionSemaphore : nullptr, _patience);
  request.requestID = NextRequestID();
  ConnectionUtilities::Dump(&request);
  const Received received = exchange.Ask(&request, length, answer);
  if (received != Received::kRecord) {
    const Operation::Failure& failure =
        received == Received::kNotSent ? operation.notSent : operation.notReceived;
    if (failure.reason != nullptr) ReportErrno(failure.reason);
    if (failure.text != nullptr) Report("%s", failure.text);
    return false;
  }
  auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
  ConnectionUtilities::Dump(&response);
  const uint32_t error = isOfParam ? response.error : response.result;
  const auto fail = [error](const char* text) {
    if (text != nullptr) Report(text, static_cast<int>(error));
    return false;
  };
  // A daemon that was restarted does not know this connection.
  if (error != 0) {
    SetOutcome(error == eMessageError_NotConnected ? Outcome::kNoConnection : Outcome::kRefused);
  }
  if (error != 0 && operation.refusalFirst) {
    exchange.Leave(answer);
    return fail(operation.refused);
  }
  const bool isAnswered = exchange.IsAnswered(answer);
  if (!isAnswered || response.msgtype != AnswerType(operation.type)) {
    SetOutcome(Outcome::kRefused);
    const bool isOther = isAnswered && operation.wrongType != nullptr;
    return fail(isOther ? operation.wrongType : operation.mismatch);
  }
  if (isOfParam) NoteUpdate(response);
  return error == 0 || fail(operation.refused);
}

bool PosixMQClient::TryGet(eParam_t param, unsigned int& value) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(kGet, param);
  ReceivedRecord answer;
  const bool done = Perform(kGet, request, sizeof request, answer);
  value = done ? answer.As<XCONFIGMGR_RESPONSE_T>().value : 0;
  return done;
}

unsigned int PosixMQClient::Get(eParam_t param) {
  unsigned int value;
  TryGet(param, value);
  return value;
}

int PosixMQClient::Get(eParam_t param, unsigned int& value) {
  TryGet(param, value);
  return static_cast<int>(value);
}

int PosixMQClient::Set(eParam_t param, unsigned int value) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(kSet, param);
  request.value = value;
  ReceivedRecord answer;
  return Perform(kSet, request, sizeof request, answer) ? 1 : 0;
}

int PosixMQClient::Get(eParam_t param, std::string& value) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(kGetText, param);
  ReceivedRecord answer;
  if (!Perform(kGetText, request, sizeof request, answer)) return 0;
  SetOutcome(Outcome::kRefused);
  const bool done =
      State::ReadText(answer.As<XCONFIGMGR_RESPONSE_T>(), answer.stream.data(),
                      answer.stream.size(), "PosixMQClient::Get - invalid streamLength\n", value);
  if (!done) return 0;
  SetOutcome(Outcome::kDone);
  return 1;
}

int PosixMQClient::Set(eParam_t param, std::string value) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(kSetText, param);
  StringValue text(_configID, param, eParamType_String, std::move(value));
  std::vector<char> bytes = EncodeValue(text, eSerializationFormat_Queue, sizeof request);
  request.streamLength = static_cast<uint32_t>(bytes.size() - sizeof request);
  request.streamFormat = eSerializationFormat_Queue;
  std::memcpy(bytes.data(), &request, sizeof request);
  ReceivedRecord answer;
  return Perform(kSetText, *reinterpret_cast<XCONFIGMGR_REQUEST_T*>(bytes.data()), bytes.size(),
                 answer)
             ? 1
             : 0;
}

bool PosixMQClient::ChangeRegistration(const Operation& operation) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(operation, static_cast<eParam_t>(0));
  request.configID = 0;
  ReceivedRecord answer;
  return Perform(operation, request, sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T), answer);
}

eConfigID_t PosixMQClient::GetConfigID() { return _configID; }

timeval PosixMQClient::GetLastConfigUpdate() {
  MutexLock lock(_updateMutex);
  return _lastUpdate;
}

ParamDescriptor* PosixMQClient::GetParamDescriptor(eParam_t param) {
  return ::GetDescriptor(param);
}

ParamDescriptor* PosixMQClient::GetParamDescriptor(std::string name) {
  return ::GetDescriptor(std::move(name));
}

std::vector<eParam_t> PosixMQClient::GetParamIDs() { return ::GetParamIDs(); }

int PosixMQClient::ResetToFactory(eParam_t) { return 0; }

void PosixMQClient::Run() {}

int PosixMQClient::IsDirty(eParam_t, eConfigID_t) { return 0; }
