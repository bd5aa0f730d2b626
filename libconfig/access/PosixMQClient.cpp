#include "libconfig/access/PosixMQClient.h"

#include <cerrno>
#include <cstdlib>

#include "libconfig/access/PosixMQExchange.h"
#include "libconfig/access/PosixMQState.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

using qel::config::MutexLock;
using qel::config::QueueMessage;
using qel::config::Report;
using qel::config::ReportErrno;

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
      _state(std::make_shared<State>(connectionID, responseQueue,
                                     static_cast<std::size_t>(_messageSize))) {
  {
    MutexLock lock(_state->armMutex);
    _state->client = this;
  }
  PosixMQClients::Instance().Add(this, _state);
}

PosixMQClient::~PosixMQClient() { Leave(); }

void PosixMQClient::Leave() {
  if (!PosixMQClients::Instance().Contains(this)) return;
  bool armed;
  {
    MutexLock lock(_state->armMutex);
    armed = _state->armed;
    _state->client = nullptr;
    _state->armed = false;
  }
  if (armed) ::mq_notify(_responseQueue, nullptr);
  _state->inbox.Close();
  _state->inbox.KeepEvents(false);
  // Others may be waiting for the delivery that this thread is inside of.
  _state->listeners.QuitDelivery();
  PosixMQClients::Instance().Remove(this);
  _state->listeners.RemoveAll();
}

unsigned int PosixMQClient::NextRequestID() {
  return static_cast<unsigned>(__atomic_fetch_add(&_requestCounter, 1, __ATOMIC_RELAXED));
}

XCONFIGMGR_REQUEST_T PosixMQClient::MakeRequest(uint32_t type, eParam_t param) {
  XCONFIGMGR_REQUEST_T request = {};
  request.msgtype = type;
  request.connectionID = _connectionID;
  request.requestID = NextRequestID();
  request.configID = static_cast<uint32_t>(_configID);
  request.priority = _priority;
  request.paramID = param;
  return request;
}

void PosixMQClient::NoteUpdate(const XCONFIGMGR_RESPONSE_T& response) {
  MutexLock lock(_updateMutex);
  _lastUpdate.tv_sec = static_cast<time_t>(response.timeSeconds);
  _lastUpdate.tv_usec = static_cast<suseconds_t>(response.timeMicroseconds);
}

unsigned int PosixMQClient::Get(eParam_t param) {
  Exchange exchange(*this, _connectionSemaphore);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  QueueMessage answer;
  switch (exchange.Ask(request, sizeof request, answer)) {
    case Exchange::Result::kAnswer:
      break;
    case Exchange::Result::kNotSent:
      ReportErrno("PosixMQClient::Get - mq_send failed");
      Report("PosixMQClient::Get - mq_send failed\n");
      return 0;
    case Exchange::Result::kNotReceived:
      ReportErrno("PosixMQClient::Get(): mq_receive returned -1, FAILED");
      Report("PosixMQClient::Get(): mq_receive returned -1, FAILED");
      return 0;
  }
  if (!HandleErrorResponse(&answer.record)) {
    if (answer.record.requestID != request.requestID) _state->inbox.Abandon(request.requestID);
    Report("PosixMQClient::Get(): response message indicated an error\n");
    return 0;
  }
  if (!exchange.IsAnswered(request, answer) || answer.record.msgtype != XCFG_GET_PARAM_RESPONSE) {
    Report("PosixMQClient::Get(): response message did not match response message info\n");
    return 0;
  }
  NoteUpdate(answer.record);
  return answer.record.value;
}

int PosixMQClient::Get(eParam_t param, unsigned int& value) {
  value = Get(param);
  return static_cast<int>(value);
}

int PosixMQClient::Set(eParam_t param, unsigned int value) {
  Exchange exchange(*this, _connectionSemaphore);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_PARAM_REQUEST, param);
  request.value = value;
  ConnectionUtilities::Dump(&request);
  QueueMessage answer;
  switch (exchange.Ask(request, sizeof request, answer)) {
    case Exchange::Result::kAnswer:
      break;
    case Exchange::Result::kNotSent:
      ReportErrno("PosixMQClient::Set mq_send failed");
      Report("PosixMQClient::Set - mq_send failed\n");
      return 0;
    case Exchange::Result::kNotReceived:
      ReportErrno("PosixMQClient::Set - mq_receive failed");
      Report("PosixMQClient::Set - mq_receive failed\n");
      return 0;
  }
  if (!exchange.IsAnswered(request, answer) || answer.record.msgtype != XCFG_SET_PARAM_RESPONSE) {
    Report("PosixMQClient::Set - invalid response for the given request\n");
    return 0;
  }
  NoteUpdate(answer.record);
  return HandleErrorResponse(&answer.record) ? 1 : 0;
}

int PosixMQClient::Get(eParam_t param, std::string& value) {
  Exchange exchange(*this, _connectionSemaphore);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_STREAM_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  QueueMessage answer;
  switch (exchange.Ask(request, sizeof request, answer)) {
    case Exchange::Result::kAnswer:
      break;
    case Exchange::Result::kNotSent:
      ReportErrno("PosixMQClient::Get - mq_send failed");
      Report("PosixMQClient::Get - mq_send failed");
      return 0;
    case Exchange::Result::kNotReceived:
      ReportErrno("PosixMQClient::Get - mq_receive failed");
      return 0;
  }
  if (!exchange.IsAnswered(request, answer) ||
      answer.record.msgtype != XCFG_GET_STREAM_PARAM_RESPONSE) {
    Report("PosixMQClient::Get - response does not match request\n");
    return 0;
  }
  NoteUpdate(answer.record);
  if (!HandleErrorResponse(&answer.record)) {
    Report("PosixMQClient::Get - response error != 0\n");
    return 0;
  }
  if (!answer.HasStream()) {
    Report("PosixMQClient::Get - invalid streamLength\n");
    return 0;
  }
  const auto decoded = qel::config::DecodeValue(answer.stream.data(), answer.record.streamLength,
                                                eSerializationFormat_Queue);
  auto* const text = dynamic_cast<StringValue*>(decoded.get());
  if (text == nullptr) return 0;
  text->Get(value);
  return 1;
}

int PosixMQClient::Set(eParam_t param, std::string value) {
  Exchange exchange(*this, _connectionSemaphore);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_STREAM_PARAM_REQUEST, param);
  StringValue text(_configID, param, eParamType_String, std::move(value));
  std::vector<char> bytes =
      qel::config::EncodeValue(text, eSerializationFormat_Queue, sizeof request);
  request.streamLength = static_cast<uint32_t>(bytes.size() - sizeof request);
  request.streamFormat = eSerializationFormat_Queue;
  ConnectionUtilities::Dump(&request);
  std::memcpy(bytes.data(), &request, sizeof request);
  QueueMessage answer;
  switch (
      exchange.Ask(*reinterpret_cast<XCONFIGMGR_REQUEST_T*>(bytes.data()), bytes.size(), answer)) {
    case Exchange::Result::kAnswer:
      break;
    case Exchange::Result::kNotSent:
      Report("PosixMQClient::Set: mq_send failed\n");
      return 0;
    case Exchange::Result::kNotReceived:
      ReportErrno("PosixMQClient::Set - mq_receive failed");
      return 0;
  }
  if (!exchange.IsAnswered(request, answer) ||
      answer.record.msgtype != XCFG_SET_STREAM_PARAM_RESPONSE) {
    Report("PosixMQClient::Get - response does not match request\n");
    return 0;
  }
  NoteUpdate(answer.record);
  return HandleErrorResponse(&answer.record) ? 1 : 0;
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
