#include "libconfig/network/NetworkTCPConnection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/access/ParamRequest.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/BusyClock.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/Holder.h"
#include "libconfig/network/NetworkRecordTable.h"
#include "libconfig/network/Outbox.h"
#include "libconfig/network/RecordReaders.h"
#include "libconfig/network/Socket.h"
#include "libconfig/support/Logger.h"

namespace qel::vorlane::config::access {

using namespace qel::config;
using qel::logging::Logger;
using Result = StreamReader::Result;

namespace {

// Parameters that a peer may name one by one.
constexpr std::size_t kMaxParams = 1024;

constexpr ParamFraming kFraming = {
    eSerializationFormat_Network, false, sizeof(XCONFIGMGR_RESPONSE_T),
    sizeof(XCONFIGMGR_RESPONSE_T) + limits::kStreamPayload, eMessageError_NoValue};

XCONFIGMGR_RESPONSE_T ParamResponseTo(const XCONFIGMGR_REQUEST_T& request, uint32_t type) {
  return ParamResponseTo(request, type, request.result);
}

ParamRequest ParamOf(const XCONFIGMGR_REQUEST_T& request, char* stream = nullptr,
                     uint32_t length = 0) {
  return {request.msgtype, static_cast<eParam_t>(request.paramID), request.value, stream, length};
}

// `number` is the identifier where it is traced.
template <typename Request>
void Trace(const Request& request, const std::string& number) {
  Logger::GetLogger()->Log(
      "(%s) %s%s %s [%d]\n", ConnectionUtilities::GetMessageName(request.msgtype).c_str(),
      number.c_str(), ConnectionUtilities::GetPeerName(request.connectionID).c_str(),
      ConnectionUtilities::GetDirection(request.msgtype), static_cast<int>(request.requestID));
}

void TraceConnection(const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  if (!Logger::GetLogger()->IsEnabled()) return;
  Trace(request, std::to_string(static_cast<int>(request.connectionID)) + " ");
}

void TraceListener(const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request) {
  if (Logger::GetLogger()->IsWatching(request.paramID)) Trace(request, "");
}

}  // namespace

NetworkTCPConnection::NetworkTCPConnection(Socket* socket)
    : _socket(socket != nullptr ? socket : new Socket(AF_INET, SOCK_STREAM)),
      _outbox(std::make_shared<Outbox>(*_socket)),
      _reader(std::make_unique<StreamReader>(*_socket,
                                             [] {
                                               if (FlushBatch* const batch = FlushBatch::Current())
                                                 batch->Flush();
                                               NameCurrentPeer();
                                             })),
      _lastRequest(qel::config::CoarseMilliseconds()) {}

NetworkTCPConnection::~NetworkTCPConnection() {
  LeaveStore();
  _slot.reset();
  _outbox->Close();
}

bool NetworkTCPConnection::Start(std::shared_ptr<void> slot) {
  _slot = std::move(slot);
  if (qel::config::StartThread(nullptr, ThreadKind::kDetached, limits::kPeerThreadStack,
                               pthread_start, this) == 0) {
    return true;
  }
  ReportErrno("NetworkTCPConnection::Start");
  Report("NetworkTCPConnection::Start - pthread_create failed\n");
  return false;
}

Holder NetworkTCPConnection::GetHolder() const { return Holder(*_socket); }

void NetworkTCPConnection::Stop() {
  _stop = true;
  _socket->close();
}

void* NetworkTCPConnection::pthread_start(void* connection) {
  const std::unique_ptr<NetworkTCPConnection> self(static_cast<NetworkTCPConnection*>(connection));
  self->Run();
  return nullptr;
}

void NetworkTCPConnection::Run() {
  // Without memory this peer ends, and the others go on.
  RunGuarded([this] { ProcessMessages(); });
  _registered = false;
  if (!_stop) _outbox->Drain(limits::kHalfRecordMs);
  _outbox->Close();
  _socket->close();
  LeaveStore();
}

void NetworkTCPConnection::LeaveStore() {
  Config* store;
  {
    SemaphoreHelper lock(_lock);
    _registered = false;
    store = std::exchange(_config, nullptr);
  }
  Leave(store);
}

// Without the lock: a notifier that waits for it may be in a call of this listener.
void NetworkTCPConnection::Leave(Config* store) {
  if (store == nullptr) return;
  while (store->RemoveConfigEventListener(this) != 0) {
  }
  DisconnectStore(store);
}

bool NetworkTCPConnection::ReceiveRequest(NetworkRequest& request) {
  const unsigned pid = _connectionID & 0xFFFF;
  _reader->BeginRecord();
  const Result first = _reader->recv_exact(&request.msgtype, sizeof request.msgtype);
  if (first != Result::kWhole) {
    if (first != Result::kClosed && !_stop) {
      Report(
          "NetworkTCPConnection::ProcessMessages - error calling recv for socket message "
          "(connection pid = 0x%X)\n",
          pid);
    }
    return false;
  }
  const RecordType* const record = FindNetworkRequest(request.msgtype);
  if (record == nullptr) {
    Report("NetworkTCPConnection::ProcessMessages - Unknown message type %d\n",
           static_cast<int>(request.msgtype));
    return false;
  }
  char* const rest = reinterpret_cast<char*>(&request) + sizeof request.msgtype;
  if (_reader->recv_exact(rest, record->size - sizeof request.msgtype) != Result::kWhole) {
    if (!_stop) {
      Report(
          "NetworkTCPConnection::ProcessMessages - error calling recv for %s (connection pid = "
          "0x%X)\n",
          FindMessageType(request.msgtype)->enumerator, pid);
    }
    return false;
  }
  return true;
}

std::chrono::milliseconds NetworkTCPConnection::GetIdleTime() const {
  return std::chrono::milliseconds(qel::config::CoarseMilliseconds() - _lastRequest);
}

bool NetworkTCPConnection::ProcessMessages() {
  const Working working(this);
  FlushBatch batch([this] { return _reader->HasBuffered(); });
  while (!_stop) {
    NetworkRequest request = {};
    if (!_outbox->WaitForRoom() || !ReceiveRequest(request)) return false;
    _lastRequest.store(qel::config::CoarseMilliseconds(), std::memory_order_relaxed);
    batch.FlushWhenOld();
    Process(request);
  }
  return true;
}

void NetworkTCPConnection::Process(NetworkRequest& request) {
  using Self = NetworkTCPConnection;
  static constexpr Handler<XCONFIGMGR_CONNECTION_REQUEST_T> kOfConnections[] = {
      {XCFG_CONNECT_REQUEST, &Self::ProcessConnectRequest},
      {XCFG_DISCONNECT_REQUEST, &Self::ProcessDisconnectRequest},
  };
  static constexpr Handler<XCONFIGMGR_EVENT_HANDLER_REQUEST_T> kOfListeners[] = {
      {XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, &Self::ProcessAddConfigEventListenerRequest},
      {XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, &Self::ProcessRemoveConfigEventListenerRequest},
  };
  static constexpr Handler<XCONFIGMGR_REQUEST_T> kOfParams[] = {
      {XCFG_GET_PARAM_REQUEST, &Self::ProcessGetRequest},
      {XCFG_SET_PARAM_REQUEST, &Self::ProcessSetRequest},
      {XCFG_GET_STREAM_PARAM_REQUEST, &Self::ProcessGetStreamRequest},
      {XCFG_SET_STREAM_PARAM_REQUEST, &Self::ProcessSetStreamRequest},
  };
  if (const auto* const param = FindRow(kOfParams, request.msgtype)) {
    ConnectionUtilities::Dump(&request.param);
    (this->*param->process)(request.param);
  } else if (const auto* const listener = FindRow(kOfListeners, request.msgtype)) {
    TraceListener(request.handler);
    (this->*listener->process)(request.handler);
  } else if (const auto* const connection = FindRow(kOfConnections, request.msgtype)) {
    TraceConnection(request.connection);
    (this->*connection->process)(request.connection);
  }
}

template <typename Response>
bool NetworkTCPConnection::Answer(const Response& response, const char* failure) {
  if (_outbox->PutAnswer(&response, sizeof response)) return true;
  Report("%s", failure);
  return false;
}

bool NetworkTCPConnection::ProcessConnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  _connected = true;
  Config* const store = ConnectStore(static_cast<eConfigID_t>(request.configID));
  if (store == nullptr) {
    Report("NetworkTCPConnection::ProcessConnectRequest - unable to connect to the config\n");
    Stop();
    return false;
  }
  Config* before;
  {
    SemaphoreHelper lock(_lock);
    before = _config;
    _config = store;
    _connectionID = request.connectionID;
    if (before != store) {
      _params.clear();
      _listening = false;
      _registered = false;
    }
  }
  _peer.reset();
  if (before == store) {
    DisconnectStore(store);  // one use is enough
  } else {
    Leave(before);
  }
  return Answer(
      ResponseTo<XCONFIGMGR_CONNECTION_RESPONSE_T>(request, XCFG_CONNECT_RESPONSE, request.result),
      "NetworkTCPConnection::ProcessConnectRequest - unable to send response\n");
}

bool NetworkTCPConnection::ProcessDisconnectRequest(
    const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  const auto response =
      ResponseTo<XCONFIGMGR_CONNECTION_RESPONSE_T>(request, XCFG_DISCONNECT_RESPONSE, kResultWord);
  const bool sent = _outbox->PutAnswer(&response, sizeof response);
  if (!sent) {
    ReportErrno("NetworkTCPConnection::ProcessDisconnectRequest - unable to send response");
    Report("NetworkTCPConnection::ProcessDisconnectRequest: unable to send response\n");
  }
  // The answer leaves before the socket is shut.
  _outbox->Drain(limits::kHalfRecordMs);
  Stop();
  return sent;
}

bool NetworkTCPConnection::ProcessAddConfigEventListenerRequest(
    const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request) {
  const auto param = static_cast<eParam_t>(request.paramID);
  SemaphoreHelper lock(_lock);
  if (_config == nullptr) return false;
  if (param == eParamID_None) {
    _params.clear();
  } else if (_params.size() < kMaxParams &&
             std::find(_params.begin(), _params.end(), param) == _params.end()) {
    _params.push_back(param);
  }
  _registered = true;
  if (!_listening) {
    _listening = true;
    _config->AddConfigEventListener(this);
  }
  return true;
}

bool NetworkTCPConnection::ProcessRemoveConfigEventListenerRequest(
    const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request) {
  {
    SemaphoreHelper lock(_lock);
    _registered = false;
  }
  // Without the lock, as the answer may have to wait for the peer and a notifier must not.
  return Answer(
      ResponseTo<XCONFIGMGR_CONNECTION_RESPONSE_T>(
          request, XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE, request.result),
      "NetworkTCPConnection::ProcessRemoveConfigEventListenerRequest - Unable to send response!\n");
}

bool NetworkTCPConnection::ProcessGetRequest(const XCONFIGMGR_REQUEST_T& request) {
  XCONFIGMGR_RESPONSE_T response = ParamResponseTo(request, XCFG_GET_PARAM_RESPONSE);
  if (_config == nullptr) {
    response.error = eMessageError_NotConnected;
    SendErrorResponse(response);
    return false;
  }
  // A parameter without a value reads as 0.
  response.value = AnswerParamRequest(*_config, ParamOf(request), kFraming).value;
  return Answer(response, "NetworkTCPConnection::ProcessGetRequest - _socket->send failed\n");
}

// A Set lasts as long as the store's listeners take. Send the peer's earlier answers before it,
// unless more requests are buffered.
void NetworkTCPConnection::FlushBeforeSet() {
  if (!_reader->HasBuffered()) _outbox->Flush();
}

bool NetworkTCPConnection::ProcessSetRequest(const XCONFIGMGR_REQUEST_T& request) {
  if (_config == nullptr) return false;
  FlushBeforeSet();
  return AnswerParamRequest(*_config, ParamOf(request), kFraming).error == 0;
}

bool NetworkTCPConnection::ProcessGetStreamRequest(const XCONFIGMGR_REQUEST_T& request) {
  return SendStreamResponse(request);
}

bool NetworkTCPConnection::ProcessSetStreamRequest(const XCONFIGMGR_REQUEST_T& request) {
  if (request.streamLength == 0) {
    Report("NetworkTCPConnection::ProcessSetStreamMessage - invalid streamLength\n");
    return false;
  }
  std::vector<char> bytes;
  if (!ReceiveStream(request.streamLength, bytes)) {
    ReportErrno("NetworkTCPConnection::ProcessSetStreamRequest");
    Stop();
    return false;
  }
  FlushBeforeSet();
  const auto param = ParamOf(request, bytes.data(), static_cast<uint32_t>(bytes.size()));
  if (_config != nullptr && !bytes.empty() &&
      AnswerParamRequest(*_config, param, kFraming).error == 0) {
    return true;
  }
  XCONFIGMGR_RESPONSE_T response = ParamResponseTo(request, XCFG_SET_STREAM_PARAM_RESPONSE);
  response.error = eMessageError_Refused;
  if (!_stop) SendErrorResponse(response);
  return false;
}

// False when the value did not come. One that is too long is dropped, and `bytes` stays empty.
bool NetworkTCPConnection::ReceiveStream(uint32_t length, std::vector<char>& bytes) {
  if (length > limits::kArrivingText) return _reader->Skip(length) == Result::kWhole;
  std::size_t done = 0;
  return _reader->ReadStream(bytes, length, done, kForever) == Result::kWhole;
}

bool NetworkTCPConnection::SendStreamResponse(const XCONFIGMGR_REQUEST_T& request) {
  const bool isEvent = request.msgtype == XCFG_PARAM_STREAM_CHANGED_EVENT;
  if (!isEvent && request.msgtype != XCFG_GET_STREAM_PARAM_REQUEST &&
      request.msgtype != XCFG_SET_STREAM_PARAM_REQUEST) {
    Report("NetworkTCPConnection::SendStreamResponse - Invalid msgtype");
    return false;
  }
  XCONFIGMGR_RESPONSE_T response =
      ParamResponseTo(request, isEvent ? request.msgtype : AnswerType(request.msgtype));
  ParamAnswer answer;
  if (_config == nullptr) {
    response.error = eMessageError_NotConnected;
  } else {
    ParamRequest read = ParamOf(request);
    read.type = XCFG_GET_STREAM_PARAM_REQUEST;
    answer = AnswerParamRequest(*_config, read, kFraming);
    response.error = answer.error;
    if (answer.error != 0) Report("SendStreamResponse: Invalid serializable value\n");
  }
  if (response.error != 0) {
    if (!isEvent) SendErrorResponse(response);
    return false;
  }
  std::vector<char>& bytes = answer.record;
  PutAhead(response, bytes);
  const bool sent = isEvent ? PutEvent(bytes.data(), bytes.size())
                            : _outbox->PutAnswer(bytes.data(), bytes.size());
  if (!sent) ReportErrno("SendStreamResponse: socket send failed");
  return sent;
}

template <typename Response>
bool NetworkTCPConnection::SendError(const Response& response) {
  if (response.error == 0) Report("WARNING: response.error was not supplied by caller!!!");
  if (_outbox->PutAnswer(&response, sizeof response)) return true;
  ReportErrno("NetworkTCPConnection::SendErrorResponse");
  return false;
}

bool NetworkTCPConnection::SendErrorResponse(XCONFIGMGR_CONNECTION_RESPONSE_T& response) {
  return SendError(response);
}

bool NetworkTCPConnection::SendErrorResponse(XCONFIGMGR_RESPONSE_T& response) {
  response.streamLength = 0;
  response.streamFormat = 0;
  return SendError(response);
}

// Never waits for the peer. One that does not read its events is dropped: having missed one, it
// would hold stale values.
bool NetworkTCPConnection::PutEvent(const void* record, std::size_t length) {
  const Outbox::Put put = _outbox->PutRecord(record, length);
  if (put == Outbox::Put::kTaken) return true;
  DropListening();
  errno = put == Outbox::Put::kFull ? ENOBUFS : EPIPE;
  return false;
}

void NetworkTCPConnection::DropListening() noexcept {
  _registered = false;
  _outbox->Close();
  Stop();
}

void NetworkTCPConnection::EventMissed(eParam_t) noexcept {
  if (!_registered) return;
  DropListening();
  Report("NetworkTCPConnection::ParamChanged - no memory for an event, the peer is dropped\n");
}

// What every event of the store says. REQUIRES: _lock is held, and there is a store.
template <typename Record>
Record NetworkTCPConnection::MakeEvent(uint32_t type, eParam_t param) const {
  auto event =
      access::MakeEvent<Record>(type, static_cast<uint32_t>(_config->GetConfigID()), param);
  event.connectionID = _connectionID;
  event.requestID = 0xFFFFFFFF;
  return event;
}

void NetworkTCPConnection::ParamChanged(eParam_t param, unsigned int value, timeval) {
  if (!_registered.load(std::memory_order_relaxed)) return;
  SemaphoreHelper lock(_lock);
  if (!_registered || _config == nullptr) return;
  auto event = MakeEvent<XCONFIGMGR_RESPONSE_T>(XCFG_PARAM_CHANGED_EVENT, param);
  event.value = value;
  if (PutEvent(&event, sizeof event)) return;
  ReportErrno("NetworkTCPConnection::ParamChanged - unable to send event to socket");
}

void NetworkTCPConnection::ParamChanged(eParam_t param, std::string, timeval) {
  if (!_registered.load(std::memory_order_relaxed)) return;
  SemaphoreHelper lock(_lock);
  if (!_registered || _config == nullptr) return;
  if (SendStreamResponse(MakeEvent<XCONFIGMGR_REQUEST_T>(XCFG_PARAM_STREAM_CHANGED_EVENT, param))) {
    return;
  }
  Report(
      "NetworkTCPConnection::ParamChanged - call to SendStreamResponse failed, unable to send "
      "event to %d\n",
      static_cast<int>(_connectionID));
}

std::string NetworkTCPConnection::GetPeerName() { return NetworkConnection::GetPeerName(); }

std::shared_ptr<NetworkPeer> NetworkTCPConnection::GetPeer() {
  if (_peer == nullptr) {
    _peer = std::make_shared<NetworkPeer>(_connectionID, _socket->get_peer_name(),
                                          _socket->get_bound_port());
  }
  return _peer;
}

}  // namespace qel::vorlane::config::access
