#include "libconfig/network/NetworkClient.h"

#include <sys/socket.h>
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

using namespace qel::config;
using qel::logging::Logger;

namespace {

constexpr std::chrono::milliseconds kDisconnectTime(1000);
constexpr int kSocketBuffer = 108544;
constexpr std::size_t kLargestSetStream = 8192;

bool IsAccepted(const ReceivedRecord& record, uint32_t type, const char* what) {
  const auto answer = record.As<XCONFIGMGR_CONNECTION_RESPONSE_T>();
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

// What an event says but for its value. False when the catalogue does not tell its type.
bool Describe(ConfigEvent& event, eParam_t param, timeval when) {
  event.time = when;
  event.param = param;
  const ParamDescriptor* const descriptor = FindDescriptor(param);
  if (descriptor != nullptr) event.type = descriptor->GetParamType();
  return descriptor != nullptr;
}

}  // namespace

NetworkClient::NetworkClient(unsigned int connectionID, Socket* socket, eConfigID_t configID,
                             std::unique_ptr<RecordReader> reader)
    : _socket(socket),
      _connectionID(connectionID),
      _configID(configID),
      _events(std::make_shared<Events>(std::move(reader))) {
  for (const int buffer : {SO_RCVBUF, SO_SNDBUF}) socket->set_buffer_size(buffer, kSocketBuffer);
  socket->set_receive_timeout(kAnswerTime.count());
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

XCONFIGMGR_CONNECTION_REQUEST_T NetworkClient::MakeConnectionRequest(uint32_t type,
                                                                     uint32_t requestID) const {
  return {type, _connectionID, requestID, static_cast<uint32_t>(_configID), 0, kResultWord};
}

void NetworkClient::Exchange::Say(const char* reason, const char* text) {
  if (reason != nullptr) ReportErrno(reason);
  if (text != nullptr) Report("%s", text);
}

bool NetworkClient::Exchange::Send(const void* record, std::size_t length) {
  const bool sent = _turn.IsMine() && _client.IsConnected() && _client.SendRequest(record, length);
  SetOutcome(sent ? Outcome::kDone : Outcome::kNoConnection);
  return sent;
}

bool NetworkClient::Exchange::Receive(NetworkClient& client, const Operation& operation,
                                      ReceivedRecord& answer) {
  const Received received = client._events->records.Await(answer);
  if (received == Received::kRecord) return true;
  if (received == Received::kTimeout) {
    Socket::ReportNothingToRead(0);
    if (operation.timeout != nullptr) {
      Report(operation.timeout, client._socket->get_port(), static_cast<int>(::getpid()));
    }
  } else if (received == Received::kTooLong && operation.tooLong != nullptr) {
    Report("%s", operation.tooLong);
  } else if (received == Received::kStreamCut && operation.streamCut != nullptr) {
    Report("%s", operation.streamCut);
  } else {
    Say(operation.failedReason, operation.failed);
  }
  return false;
}

bool NetworkClient::ConfirmConnection() {
  static constexpr Operation kConnect = {
      sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T),
      false,
      nullptr,
      "NetworkClient::ConfirmConnection: send failed\n",
      "NetworkClient::ConfirmConnection - select failed on port %d\n",
      nullptr,
      "NetworkClient::ConfirmConnection - receive failed\n"};
  Exchange exchange(*this);
  ReceivedRecord answer;
  return exchange.Ask(kConnect, MakeConnectionRequest(XCFG_CONNECT_REQUEST, 0), answer) &&
         IsAccepted(answer, XCFG_CONNECT_RESPONSE, "ConfirmConnection");
}

bool NetworkClient::ConfirmDisconnect() {
  static constexpr Operation kDisconnect = {
      sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T),         false,  nullptr, nullptr, nullptr,
      "NetworkClient::ConfirmDisconnect - recv failed", nullptr};
  Exchange exchange(*this, kDisconnectTime);
  const auto request = MakeConnectionRequest(XCFG_DISCONNECT_REQUEST, exchange.NextRequestID());
  ReceivedRecord answer;
  return exchange.Ask(kDisconnect, request, answer) &&
         IsAccepted(answer, XCFG_DISCONNECT_RESPONSE, "ConfirmDisconnect");
}

bool NetworkClient::IsDone(const Operation& operation, const XCONFIGMGR_RESPONSE_T& answer) {
  if (answer.error == 0) return true;
  SetOutcome(Outcome::kRefused);
  Report(operation.refused, static_cast<int>(answer.error));
  return false;
}

unsigned int NetworkClient::Get(eParam_t param) {
  unsigned int value = 0;
  Get(param, value);
  return value;
}

int NetworkClient::Get(eParam_t param, unsigned int& value) {
  static constexpr Operation kGet = {
      sizeof(XCONFIGMGR_RESPONSE_T),
      false,
      "NetworkClient::Get",
      "NetworkClient::Get - send failed\n",
      "NetworkClient::Get - select failed on port %d (PID:%d)\n",
      nullptr,
      "NetworkClient::Get: receive return != sizeof(XCONFIGMGR_RESPONSE_T), FAILED",
      "NetworkClient::Get - response message indicated an error\n"};
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  ReceivedRecord record;
  if (!exchange.Ask(kGet, request, record)) return 0;
  auto answer = record.As<XCONFIGMGR_RESPONSE_T>();
  ConnectionUtilities::Dump(&answer);
  if (!IsDone(kGet, answer)) return 0;
  value = answer.value;
  return 1;
}

int NetworkClient::Set(eParam_t param, unsigned int value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_PARAM_REQUEST, param);
  request.value = value;
  ConnectionUtilities::Dump(&request);
  if (!exchange.Send(&request, sizeof request)) {
    Report("NetworkClient::Set - send failed\n");
    return 0;
  }
  return 1;
}

int NetworkClient::Get(eParam_t param, std::string& value) {
  static constexpr Operation kGetText = {
      sizeof(XCONFIGMGR_RESPONSE_T),
      true,
      "NetworkClient::Get - socket send failed",
      nullptr,
      "NetworkClient::Get [Stream] - select failed on port %d (PID:%d)\n",
      "NetworkClient::Get - socket recv failed",
      nullptr,
      "NetworkClient::Get - response error != 0\n",
      "NetworkClient::Get - Unable to allocate buffer\n",
      "NetworkClient::Get - bytes read do not equal streamLength\n",
      "NetworkClient::Get - invalid streamLength\n",
      "NetworkClient::Get - warning! deserialized non-StringValue\n"};
  Exchange exchange(*this);
  return RequestText(exchange, kGetText, param) ? ReceiveText(kGetText, value) : 0;
}

bool NetworkClient::RequestText(Exchange& exchange, const Operation& operation, eParam_t param) {
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_STREAM_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  return exchange.Request(operation, request);
}

int NetworkClient::ReceiveText(const Operation& operation, std::string& value) {
  ReceivedRecord record;
  if (!Exchange::Receive(*this, operation, record)) return 0;
  auto answer = record.As<XCONFIGMGR_RESPONSE_T>();
  ConnectionUtilities::Dump(&answer);
  if (!IsDone(operation, answer)) return 0;
  SetOutcome(Outcome::kRefused);
  const uint32_t length = answer.streamLength;
  if (length == 0 || length > record.stream.size()) {
    Report(operation.noStream, static_cast<int>(::getpid()));
    return 0;
  }
  const auto decoded = DecodeValue(record.stream.data(), length, eSerializationFormat_Network);
  auto* const text = dynamic_cast<StringValue*>(decoded.get());
  if (text == nullptr) {
    Report(operation.noText, decoded == nullptr ? "" : decoded->ToString().c_str(),
           static_cast<int>(length));
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
  std::vector<char> bytes = EncodeValue(text, eSerializationFormat_Network, sizeof request);
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
  if (!exchange.Send(bytes.data(), bytes.size())) {
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
      _events->records.Stop();  // as no listener would be notified
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

NetworkClient::Ended NetworkClient::TellEvents(
    const std::function<void(int type)>& reportUnknown,
    const std::function<void(ReceivedRecord& event)>& tell) {
  const std::shared_ptr<Events> events = _events;
  RecordExchange& records = events->records;
  records.KeepEvents(true, true);
  const RecordExchange::EventWait wait(records);
  uint32_t type = 0;
  Received received;
  while ((received = records.AwaitEvent(type)) < Received::kEnded) {
    if (received == Received::kUnknown) reportUnknown(static_cast<int>(type));
    ReceivedRecord event;
    if (received != Received::kRecord || !records.TakeAwaitedEvent(event)) continue;
    tell(event);
    if (events->clientGone) return Ended::kClientGone;
  }
  // A socket that was closed on this side receives nothing.
  return errno == 0 || errno == ECANCELED ? Ended::kHere : Ended::kWithError;
}

bool NetworkClient::StartEventsThread() {
  MutexLock lock(_registrationMutex);
  return StartThread();
}

bool NetworkClient::StartThread() {
  if (_hasThread || _ending) return false;
  const int error =
      qel::config::StartThread(&_eventsThread, ThreadKind::kJoinable, 0, thread_start, this);
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
  // After a listener's exception, or without memory, what follows would not be told: that misleads.
  if (!RunGuarded([client] { client->ProcessEvents(); })) events->records.Stop();
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
template <typename Tell>
int NetworkClient::Deliver(Tell tell) {
  const std::shared_ptr<Events> events = _events;
  ListenerList::Delivery delivery(events->listeners);
  if (delivery.IsNested()) return 0;
  delivery.ToAll(tell);
  return 1;
}

int NetworkClient::DeliverNumber(eParam_t param, unsigned int value, const char* form) {
  return Deliver([param, value, form, now = NoteUpdate()](ConfigEventListener& listener) {
    Logger::GetLogger()->Log(param, value,
                             "NetworkClient::ProcessConfigParamEvent(%s) - firing event to %p\n",
                             form, static_cast<void*>(&listener));
    listener.ParamChanged(param, value, now);
  });
}

int NetworkClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* record, ConfigEvent* event) {
  const auto param = static_cast<eParam_t>(record->paramID);
  if (event == nullptr) return DeliverNumber(param, record->value, "1");
  event->value = record->value;
  if (!Describe(*event, param, NoteUpdate())) {
    Logger::GetLogger()->Log(
        "NetworkClient::ProcessConfigParamEvent(1) - no descriptor found, can't set paramtype in "
        "pEvent\n");
  }
  return 1;
}

int NetworkClient::ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T& record) {
  return DeliverNumber(static_cast<eParam_t>(record.paramID), record.value, "2");
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

int NetworkClient::DeliverStream(eParam_t param, char* data, unsigned int length,
                                 ConfigEvent* event) {
  const timeval now = NoteUpdate();
  const auto decoded = DecodeValue(data, length, eSerializationFormat_Network);
  auto* const value = dynamic_cast<StringValue*>(decoded.get());
  if (value == nullptr) return 0;
  std::string text;
  value->Get(text);
  if (event != nullptr) {
    event->stringValue = text;
    Describe(*event, param, now);
    return 1;
  }
  return Deliver([&](ConfigEventListener& listener) { listener.ParamChanged(param, text, now); });
}

}  // namespace qel::vorlane::config::access
