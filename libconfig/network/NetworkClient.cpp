#include "libconfig/network/NetworkClient.h"

#include <cxxabi.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Thread.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/Socket.h"
#include "libconfig/support/Logger.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

namespace qel::vorlane::config::access {

using qel::config::ListenerList;
using qel::config::LiveConfigs;
using qel::config::MutexLock;
using qel::config::Outcome;
using qel::config::Received;
using qel::config::ReceivedRecord;
using qel::config::Report;
using qel::config::ReportErrno;
using qel::config::SetOutcome;
using qel::logging::Logger;

namespace {

constexpr std::chrono::milliseconds kDisconnectTime(1000);
constexpr std::size_t kLargestSetStream = 8192;

bool IsAccepted(const XCONFIGMGR_CONNECTION_RESPONSE_T& answer, uint32_t type, const char* what) {
  if (answer.msgtype == type && answer.error == 0) return true;
  SetOutcome(Outcome::kRefused);
  if (answer.msgtype != type) {
    Report("NetworkClient::%s: unexpected msgtype == %d\n", what, static_cast<int>(answer.msgtype));
  } else {
    Report("NetworkClient::%s: server responded with error %d\n", what,
           static_cast<int>(answer.error));
  }
  return false;
}

}  // namespace

NetworkClient::NetworkClient(unsigned int connectionID, Socket* socket, eConfigID_t configID,
                             std::unique_ptr<qel::config::RecordReader> reader)
    : _socket(socket),
      _connectionID(connectionID),
      _configID(configID),
      _events(std::make_shared<Events>(std::move(reader))) {
  LiveConfigs<NetworkClient>::Instance().Add(this);
}

NetworkClient::~NetworkClient() {
  LiveConfigs<NetworkClient>::Instance().Remove(this);
  Leave();
}

bool NetworkClient::ReceiveStream(unsigned int, std::vector<char>&) { return false; }

// Sends all of it. Half a request would spoil all that follow, and ends the connection.
bool NetworkClient::SendRequest(const void* record, std::size_t length) {
  const char* bytes = static_cast<const char*>(record);
  std::size_t sent = 0;
  while (sent < length) {
    const ssize_t count = _socket->send_some(bytes + sent, length - sent, true);
    if (count < 0) {
      ReportErrno("Socket::send - failed");
      const int saved = errno;
      if (sent > 0) _socket->close();
      errno = saved;
      return false;
    }
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

XCONFIGMGR_REQUEST_T NetworkClient::MakeRequest(uint32_t type, eParam_t param) {
  XCONFIGMGR_REQUEST_T request = {};
  request.msgtype = type;
  request.connectionID = _connectionID;
  request.requestID = _requestCounter++;
  request.configID = static_cast<uint32_t>(_configID);
  request.result = kResultWord;
  request.paramID = param;
  return request;
}

bool NetworkClient::ConfirmConnection() {
  Exchange exchange(*this);
  const XCONFIGMGR_CONNECTION_REQUEST_T request = {
      XCFG_CONNECT_REQUEST, _connectionID, 0, static_cast<uint32_t>(_configID), 0, kResultWord};
  XCONFIGMGR_CONNECTION_RESPONSE_T answer;
  switch (exchange.Ask(request, answer)) {
    case Received::kRecord:
      break;
    case Received::kNotSent:
      Report("NetworkClient::ConfirmConnection: send failed\n");
      return false;
    case Received::kTimeout:
      Report("NetworkClient::ConfirmConnection - select failed on port %d\n", _socket->get_port());
      return false;
    default:
      Report("NetworkClient::ConfirmConnection - receive failed\n");
      return false;
  }
  return IsAccepted(answer, XCFG_CONNECT_RESPONSE, "ConfirmConnection");
}

bool NetworkClient::ConfirmDisconnect() {
  Exchange exchange(*this, kDisconnectTime);
  const XCONFIGMGR_CONNECTION_REQUEST_T request = {XCFG_DISCONNECT_REQUEST,
                                                   _connectionID,
                                                   exchange.NextRequestID(),
                                                   static_cast<uint32_t>(_configID),
                                                   0,
                                                   kResultWord};
  XCONFIGMGR_CONNECTION_RESPONSE_T answer;
  const Received received = exchange.Ask(request, answer);
  if (received != Received::kRecord) {
    if (received != Received::kTimeout && received != Received::kNotSent) {
      ReportErrno("NetworkClient::ConfirmDisconnect - recv failed");
    }
    return false;
  }
  return IsAccepted(answer, XCFG_DISCONNECT_RESPONSE, "ConfirmDisconnect");
}

unsigned int NetworkClient::Get(eParam_t param) {
  unsigned int value = 0;
  Get(param, value);
  return value;
}

int NetworkClient::Get(eParam_t param, unsigned int& value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  ReceivedRecord answer;
  switch (exchange.Ask(request, sizeof(XCONFIGMGR_RESPONSE_T), false, answer)) {
    case Received::kRecord:
      break;
    case Received::kNotSent:
      ReportErrno("NetworkClient::Get");
      Report("NetworkClient::Get - send failed\n");
      return 0;
    case Received::kTimeout:
      Report("NetworkClient::Get - select failed on port %d (PID:%d)\n", _socket->get_port(),
             static_cast<int>(::getpid()));
      return 0;
    default:
      Report("NetworkClient::Get: receive return != sizeof(XCONFIGMGR_RESPONSE_T), FAILED");
      return 0;
  }
  auto header = answer.As<XCONFIGMGR_RESPONSE_T>();
  ConnectionUtilities::Dump(&header);
  if (header.error != 0) {
    SetOutcome(Outcome::kRefused);
    Report("NetworkClient::Get - response message indicated an error\n");
    return 0;
  }
  value = header.value;
  return 1;
}

// The system would take the request even though nobody is there to read it.
bool NetworkClient::SendChange(Exchange& exchange, const void* request, std::size_t length) {
  if (IsConnected()) return exchange.Send(request, length);
  SetOutcome(Outcome::kNoConnection);
  return false;
}

int NetworkClient::Set(eParam_t param, unsigned int value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_PARAM_REQUEST, param);
  request.value = value;
  ConnectionUtilities::Dump(&request);
  if (!SendChange(exchange, &request, sizeof request)) {
    Report("NetworkClient::Set - send failed\n");
    return 0;
  }
  return 1;
}

int NetworkClient::Get(eParam_t param, std::string& value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_STREAM_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  ReceivedRecord answer;
  switch (exchange.Ask(request, sizeof(XCONFIGMGR_RESPONSE_T), true, answer)) {
    case Received::kRecord:
      break;
    case Received::kNotSent:
      ReportErrno("NetworkClient::Get - socket send failed");
      return 0;
    case Received::kTimeout:
      Report("NetworkClient::Get [Stream] - select failed on port %d (PID:%d)\n",
             _socket->get_port(), static_cast<int>(::getpid()));
      return 0;
    case Received::kTooLong:
      Report("NetworkClient::Get - Unable to allocate buffer\n");
      return 0;
    case Received::kStreamCut:
      Report("NetworkClient::Get - bytes read do not equal streamLength\n");
      return 0;
    default:
      ReportErrno("NetworkClient::Get - socket recv failed");
      return 0;
  }
  auto header = answer.As<XCONFIGMGR_RESPONSE_T>();
  ConnectionUtilities::Dump(&header);
  SetOutcome(Outcome::kRefused);
  if (header.error != 0) {
    Report("NetworkClient::Get - response error != 0\n");
    return 0;
  }
  if (answer.stream.empty()) {
    Report("NetworkClient::Get - invalid streamLength\n");
    return 0;
  }
  const auto decoded =
      qel::config::DecodeValue(answer.stream.data(), static_cast<unsigned>(answer.stream.size()),
                               eSerializationFormat_Network);
  auto* const text = dynamic_cast<StringValue*>(decoded.get());
  if (text == nullptr) {
    Report("NetworkClient::Get - warning! deserialized non-StringValue\n");
    return 0;
  }
  text->Get(value);
  SetOutcome(Outcome::kDone);
  return 1;
}

int NetworkClient::Set(eParam_t param, std::string value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_STREAM_PARAM_REQUEST, param);
  StringValue text(_configID, param, eParamType_String, std::move(value));
  std::vector<char> bytes =
      qel::config::EncodeValue(text, eSerializationFormat_Network, sizeof request);
  if (bytes.size() > kLargestSetStream) {
    SetOutcome(Outcome::kTooLong);
    Report("NetworkClient::Set: The string value exceeds the buffer length (Max:%d Len:%d)\n",
           static_cast<int>(kLargestSetStream), static_cast<int>(bytes.size()));
    return 0;
  }
  request.streamLength = static_cast<uint32_t>(bytes.size() - sizeof request);
  request.streamFormat = eSerializationFormat_Network;
  ConnectionUtilities::Dump(&request);
  std::memcpy(bytes.data(), &request, sizeof request);
  if (!SendChange(exchange, bytes.data(), bytes.size())) {
    Report("NetworkClient::Set: socket send failed (stream data)\n");
    return 0;
  }
  return 1;
}

eConfigID_t NetworkClient::GetConfigID() { return _configID; }

timeval NetworkClient::GetLastConfigUpdate() {
  MutexLock lock(_updateMutex);
  return _lastUpdate;
}

ParamDescriptor* NetworkClient::GetParamDescriptor(eParam_t param) {
  return ::GetDescriptor(param);
}

ParamDescriptor* NetworkClient::GetParamDescriptor(std::string name) {
  return ::GetDescriptor(std::move(name));
}

std::vector<eParam_t> NetworkClient::GetParamIDs() { return ::GetParamIDs(); }

int NetworkClient::IsDirty(eParam_t, eConfigID_t) { return 0; }

bool NetworkClient::IsConnected() { return _socket->is_open() && !_socket->is_peer_gone(); }

int NetworkClient::AddConfigEventListener(ConfigEventListener* listener) {
  if (listener == nullptr) return 0;
  // With the listeners held, so that a change that comes at once is told to this one too. They come
  // ahead of the mutex, which a listener that runs now may want.
  const ListenerList::Delivery hold(_events->listeners);
  MutexLock lock(_registrationMutex);
  if (_ending || !_socket->is_open()) return 0;
  if (!_registered) {
    _events->records.KeepEvents(true, true);
    const bool stream = _socket->get_type() == SOCK_STREAM;
    if (!(stream ? RegisterForEvents(eParamID_None) : RegisterForEvents())) {
      _events->records.KeepEvents(false);
      return 0;
    }
    if (!StartThread()) {
      _events->records.Stop();  // as nobody would be told
      return 0;
    }
    _registered = true;
  }
  _events->listeners.Add(listener, ListenerList::Duplicates::kIgnore);
  return 1;
}

int NetworkClient::RemoveConfigEventListener(ConfigEventListener* listener) {
  if (!_events->listeners.Remove(listener)) return 0;
  {
    MutexLock lock(_registrationMutex);
    if (!_registered || !_events->listeners.IsEmpty()) return 1;
    _registered = false;
    _ending = true;
  }
  UnregisterForEvents();
  StopEventsThread();
  return 1;
}

bool NetworkClient::RegisterForEvents(eParam_t) {
  Report("NetworkClient::RegisterForEvents:  TCP method called in NetworkClient\n");
  return false;
}

bool NetworkClient::RegisterForEvents() {
  Report("NetworkClient::RegisterForEvents:  Non-TCP method called\n");
  return false;
}

bool NetworkClient::UnregisterForEvents() { return false; }

void NetworkClient::ProcessEvents() {}

bool NetworkClient::StartEventsThread() {
  MutexLock lock(_registrationMutex);
  return StartThread();
}

bool NetworkClient::StartThread() {
  if (_hasThread || _ending) return false;
  const int error = qel::config::StartThread(&_eventsThread, qel::config::ThreadKind::kJoinable, 0,
                                             thread_start, this);
  if (error != 0) {
    ReportErrno("NetworkClient::StartEventsThread - unable to start thread");
    return false;
  }
  _hasThread = true;
  return true;
}

void* NetworkClient::thread_start(void* argument) {
  auto* const client = static_cast<NetworkClient*>(argument);
  const std::shared_ptr<Events> events = client->_events;
  try {
    client->ProcessEvents();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // A listener's exception, or no memory: what follows would not be told, which misleads.
    events->records.Stop();
  }
  return nullptr;
}

void NetworkClient::StopEventsThread() {
  if (_socket == nullptr) {
    Report("NetworkClient::StopEventsThread - NULL socket");
    return;
  }
  _events->records.Stop();
  {
    MutexLock lock(_registrationMutex);
    _ending = true;
    const bool hasThread = _hasThread || _joining;
    if (!hasThread || ::pthread_equal(_eventsThread, ::pthread_self()) != 0) return;
  }
  // The thread may be waiting for the delivery that this one is inside of.
  _events->listeners.QuitDelivery();
  pthread_t thread;
  {
    MutexLock lock(_registrationMutex);
    while (_joining) _joined.Wait(_registrationMutex);
    if (!_hasThread) return;
    _hasThread = false;
    _joining = true;
    thread = _eventsThread;
  }
  if (::pthread_join(thread, nullptr) != 0) {
    Report("NetworkClient::StopEventsThread - thread join failed");
  }
  MutexLock lock(_registrationMutex);
  _joining = false;
  _joined.Broadcast();
}

void NetworkClient::Leave() {
  _events->listeners.Close();
  StopEventsThread();
  _events->records.Close();
  MutexLock lock(_registrationMutex);
  if (!_hasThread) return;
  // This is the events thread, inside a listener's call: it ends when the call returns.
  _hasThread = false;
  ::pthread_detach(_eventsThread);
  _events->clientGone = true;
}

timeval NetworkClient::NoteUpdate() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  MutexLock lock(_updateMutex);
  _lastUpdate = now;
  return now;
}

// A listener may delete this client: nothing of it is touched after the delivery.
int NetworkClient::Deliver(eParam_t param, unsigned int value, const char* form) {
  const std::shared_ptr<Events> events = _events;
  const timeval now = NoteUpdate();
  Logger* const logger = Logger::GetLogger();
  ListenerList::Delivery delivery(events->listeners);
  if (delivery.IsNested()) return 0;
  delivery.ToAll([&](ConfigEventListener& listener) {
    logger->Log(param, value, "NetworkClient::ProcessConfigParamEvent(%s) - firing event to %p\n",
                form, static_cast<void*>(&listener));
    listener.ParamChanged(param, value, now);
  });
  return 1;
}

int NetworkClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* record, ConfigEvent* event) {
  const auto param = static_cast<eParam_t>(record->paramID);
  if (event == nullptr) return Deliver(param, record->value, "1");
  event->time = NoteUpdate();
  event->param = param;
  event->value = record->value;
  if (const ParamDescriptor* const descriptor = FindDescriptor(param)) {
    event->type = descriptor->GetParamType();
  } else {
    Logger::GetLogger()->Log(
        "NetworkClient::ProcessConfigParamEvent(1) - no descriptor found, can't set paramtype in "
        "pEvent\n");
  }
  return 1;
}

int NetworkClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T& record) {
  return Deliver(static_cast<eParam_t>(record.paramID), record.value, "2");
}

int NetworkClient::ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* record,
                                                 ConfigEvent* event) {
  std::vector<char> stream;
  if (!ReceiveStream(record->streamLength, stream)) return 0;
  return DeliverStream(static_cast<eParam_t>(record->paramID), stream.data(),
                       static_cast<unsigned>(stream.size()), event);
}

int NetworkClient::ProcessConfigStreamParamEvent(eParam_t param, char* data, unsigned int length) {
  return DeliverStream(param, data, length, nullptr);
}

// As Deliver.
int NetworkClient::DeliverStream(eParam_t param, char* data, unsigned int length,
                                 ConfigEvent* event) {
  const std::shared_ptr<Events> events = _events;
  const timeval now = NoteUpdate();
  const auto decoded = qel::config::DecodeValue(data, length, eSerializationFormat_Network);
  auto* const value = dynamic_cast<StringValue*>(decoded.get());
  if (value == nullptr) return 0;
  std::string text;
  value->Get(text);
  if (event != nullptr) {
    event->time = now;
    event->param = param;
    event->stringValue = text;
    const ParamDescriptor* const descriptor = FindDescriptor(param);
    if (descriptor != nullptr) event->type = descriptor->GetParamType();
    return 1;
  }
  ListenerList::Delivery delivery(events->listeners);
  if (delivery.IsNested()) return 0;
  delivery.ToAll([&](ConfigEventListener& listener) { listener.ParamChanged(param, text, now); });
  return 1;
}

}  // namespace qel::vorlane::config::access
