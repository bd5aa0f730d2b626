#include "libconfig/access/queue/PosixMQClient.h"

#include <cerrno>
#include <cstdlib>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/queue/PosixMQState.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using qel::config::MutexLock;
using qel::config::Outcome;
using qel::config::Received;
using qel::config::ReceivedRecord;
using qel::config::Report;
using qel::config::ReportErrno;
using qel::config::SetOutcome;

namespace {

long MessageSizeOf(mqd_t queue) {
  const long size = qel::config::GetQueueMessageSize(queue);
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
      _patience(qel::config::limits::kQueueExchangeMs),
      _state(std::make_shared<State>(connectionID, responseQueue,
                                     static_cast<std::size_t>(_messageSize), requestQueue)) {
  {
    MutexLock lock(_state->armMutex);
    _state->client = this;
  }
  PosixMQClients::Instance().Add(this, _state);
}

PosixMQClient::~PosixMQClient() { Leave(); }

void PosixMQClient::Leave() {
  if (!PosixMQClients::Instance().Contains(this)) return;
  _state->BeginLeaving(_connectionSemaphore);
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

unsigned int PosixMQClient::NextRequestID() {
  return static_cast<unsigned>(__atomic_fetch_add(&_requestCounter, 1, __ATOMIC_RELAXED));
}

void PosixMQClient::NoteUpdate(const XCONFIGMGR_RESPONSE_T& response) {
  MutexLock lock(_updateMutex);
  _lastUpdate.tv_sec = static_cast<time_t>(response.timeSeconds);
  _lastUpdate.tv_usec = static_cast<suseconds_t>(response.timeMicroseconds);
}

// What an operation asks for, and what it says when that fails: the first text of a pair with the
// reason behind it, null where it says nothing.
struct PosixMQClient::Operation {
  uint32_t type;
  const char* notSentReason;
  const char* notSent;
  const char* notReceivedReason;
  const char* notReceived;
  const char* mismatch;
  const char* refused;
  bool refusalFirst;  // looks for the daemon's error ahead of whose answer it is
};

const PosixMQClient::Operation PosixMQClient::kGet = {
    XCFG_GET_PARAM_REQUEST,
    "PosixMQClient::Get - mq_send failed",
    "PosixMQClient::Get - mq_send failed\n",
    "PosixMQClient::Get(): mq_receive returned -1, FAILED",
    "PosixMQClient::Get(): mq_receive returned -1, FAILED",
    "PosixMQClient::Get(): response message did not match response message info\n",
    "PosixMQClient::Get(): response message indicated an error\n",
    true};

const PosixMQClient::Operation PosixMQClient::kSet = {
    XCFG_SET_PARAM_REQUEST,
    "PosixMQClient::Set mq_send failed",
    "PosixMQClient::Set - mq_send failed\n",
    "PosixMQClient::Set - mq_receive failed",
    "PosixMQClient::Set - mq_receive failed\n",
    "PosixMQClient::Set - invalid response for the given request\n",
    nullptr,
    false};

const PosixMQClient::Operation PosixMQClient::kGetText = {
    XCFG_GET_STREAM_PARAM_REQUEST,
    "PosixMQClient::Get - mq_send failed",
    "PosixMQClient::Get - mq_send failed",
    "PosixMQClient::Get - mq_receive failed",
    nullptr,
    "PosixMQClient::Get - response does not match request\n",
    "PosixMQClient::Get - response error != 0\n",
    false};

const PosixMQClient::Operation PosixMQClient::kSetText = {
    XCFG_SET_STREAM_PARAM_REQUEST,
    nullptr,
    "PosixMQClient::Set: mq_send failed\n",
    "PosixMQClient::Set - mq_receive failed",
    nullptr,
    "PosixMQClient::Get - response does not match request\n",  // the texts are shared so
    nullptr,
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
  const auto say = [](const char* text) {
    if (text != nullptr) Report("%s", text);
    return false;
  };
  const auto sayWhy = [](const char* text) {
    if (text != nullptr) ReportErrno(text);
  };
  Exchange exchange(*this, _connectionSemaphore);
  request.requestID = NextRequestID();
  ConnectionUtilities::Dump(&request);
  const Received received = exchange.Ask(&request, length, answer);
  if (received == Received::kNotSent) {
    sayWhy(operation.notSentReason);
    return say(operation.notSent);
  }
  if (received != Received::kRecord) {
    sayWhy(operation.notReceivedReason);
    return say(operation.notReceived);
  }
  auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
  const bool refused = !HandleErrorResponse(&response);
  // A daemon that was restarted does not know this connection.
  const bool unknown = response.error == eMessageError_NotConnected;
  if (refused) SetOutcome(unknown ? Outcome::kNoConnection : Outcome::kRefused);
  if (refused && operation.refusalFirst) {
    if (response.requestID != request.requestID) exchange.GiveUp(request.requestID);
    return say(operation.refused);
  }
  if (!exchange.IsAnswered(&request, answer) || response.msgtype != operation.type + 16) {
    SetOutcome(Outcome::kRefused);
    return say(operation.mismatch);
  }
  NoteUpdate(response);
  return refused ? say(operation.refused) : true;
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
  const uint32_t length = answer.As<XCONFIGMGR_RESPONSE_T>().streamLength;
  if (length == 0 || length > answer.stream.size()) {
    Report("PosixMQClient::Get - invalid streamLength\n");
    return 0;
  }
  const auto decoded =
      qel::config::DecodeValue(answer.stream.data(), length, eSerializationFormat_Queue);
  auto* const text = dynamic_cast<StringValue*>(decoded.get());
  if (text == nullptr) return 0;
  text->Get(value);
  SetOutcome(Outcome::kDone);
  return 1;
}

int PosixMQClient::Set(eParam_t param, std::string value) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(kSetText, param);
  StringValue text(_configID, param, eParamType_String, std::move(value));
  std::vector<char> bytes =
      qel::config::EncodeValue(text, eSerializationFormat_Queue, sizeof request);
  request.streamLength = static_cast<uint32_t>(bytes.size() - sizeof request);
  request.streamFormat = eSerializationFormat_Queue;
  std::memcpy(bytes.data(), &request, sizeof request);
  ReceivedRecord answer;
  return Perform(kSetText, *reinterpret_cast<XCONFIGMGR_REQUEST_T*>(bytes.data()), bytes.size(),
                 answer)
             ? 1
             : 0;
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
