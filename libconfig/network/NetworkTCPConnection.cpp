#include "libconfig/network/NetworkTCPConnection.h"

#include <cxxabi.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/access/StoreAccess.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/NetworkRecordTable.h"
#include "libconfig/network/Outbox.h"
#include "libconfig/network/Socket.h"
#include "libconfig/network/StreamReader.h"
#include "libconfig/support/Logger.h"
#include "libconfig/values/ValueStream.h"

namespace qel::vorlane::config::access {

using qel::config::Report;
using qel::config::ReportErrno;
using qel::logging::Logger;
using Result = StreamReader::Result;

union NetworkTCPConnection::Request {
  uint32_t msgtype;
  XCONFIGMGR_CONNECTION_REQUEST_T connection;
  XCONFIGMGR_EVENT_HANDLER_REQUEST_T handler;
  XCONFIGMGR_REQUEST_T param;
};

namespace {

// Parameters that a peer may name one by one.
constexpr std::size_t kMaxParams = 1024;

// What an answer repeats of its request.
XCONFIGMGR_RESPONSE_T ResponseTo(const XCONFIGMGR_REQUEST_T& request, uint32_t type) {
  XCONFIGMGR_RESPONSE_T response = {};
  response.msgtype = type;
  response.connectionID = request.connectionID;
  response.requestID = request.requestID;
  response.configID = request.configID;
  response.priority = request.priority;
  response.result = request.result;
  response.paramID = request.paramID;
  return response;
}

template <typename ConnectionRequest>
XCONFIGMGR_CONNECTION_RESPONSE_T ConnectionResponseTo(const ConnectionRequest& request,
                                                      uint32_t type) {
  return {
      type,           request.connectionID, request.requestID, request.configID, request.priority,
      request.result, eNetworkError_None};
}

void TraceConnection(const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  Logger* const logger = Logger::GetLogger();
  if (!logger->IsEnabled()) return;
  logger->Log("(%s) %d %s %s [%d]\n", ConnectionUtilities::GetMessageName(request.msgtype).c_str(),
              static_cast<int>(request.connectionID),
              ConnectionUtilities::GetPeerName(request.connectionID).c_str(),
              ConnectionUtilities::GetDirection(request.msgtype),
              static_cast<int>(request.requestID));
}

void TraceListener(const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request) {
  Logger* const logger = Logger::GetLogger();
  if (!logger->IsWatching(request.paramID)) return;
  logger->Log("(%s) %s %s [%d]\n", ConnectionUtilities::GetMessageName(request.msgtype).c_str(),
              ConnectionUtilities::GetPeerName(request.connectionID).c_str(),
              ConnectionUtilities::GetDirection(request.msgtype),
              static_cast<int>(request.requestID));
}

}  // namespace

NetworkTCPConnection::NetworkTCPConnection(Socket* socket)
    : _socket(socket), _outbox(std::make_shared<Outbox>(*socket)) {}

NetworkTCPConnection::~NetworkTCPConnection() {
  _slot.reset();
  _outbox->Close();
}

bool NetworkTCPConnection::Start(std::shared_ptr<void> slot) {
  _slot = std::move(slot);
  if (qel::config::StartThread(nullptr, qel::config::ThreadKind::kDetached,
                               qel::config::limits::kPeerThreadStack, pthread_start, this) == 0) {
    return true;
  }
  ReportErrno("NetworkTCPConnection::Start");
  Report("NetworkTCPConnection::Start - pthread_create failed\n");
  return false;
}

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
  try {
    ProcessMessages();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // Out of memory, for one: this peer ends, the others go on.
  }
  Config* store;
  {
    SemaphoreHelper lock(_lock);
    _registered = false;
    store = _config;
    _config = nullptr;
  }
  if (!_stop) _outbox->Drain(qel::config::limits::kHalfRecordMs);
  _outbox->Close();
  _socket->close();
  LeaveStore(store);
}

void NetworkTCPConnection::LeaveStore(Config* store) {
  if (store == nullptr) return;
  while (store->RemoveConfigEventListener(this) != 0) {
  }
  qel::config::DisconnectStore(store);
}

bool NetworkTCPConnection::ReceiveRequest(Request& request) {
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
  const qel::config::RecordType* const record =
      qel::config::IsRequest(request.msgtype) ? FindNetworkRecord(request.msgtype) : nullptr;
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
          qel::config::FindMessageType(request.msgtype)->enumerator, pid);
    }
    return false;
  }
  return true;
}

bool NetworkTCPConnection::ProcessMessages() {
  const Working working(this);
  FlushBatch batch([this] { return _reader->HasBuffered(); });
  StreamReader reader(*_socket, [&batch] { batch.Flush(); });
  _reader = &reader;
  while (!_stop) {
    Request request = {};
    if (!_outbox->WaitForRoom() || !ReceiveRequest(request)) return false;
    batch.FlushWhenOld();
    Handle(request);
  }
  return true;
}

void NetworkTCPConnection::Handle(Request& request) {
  switch (request.msgtype) {
    case XCFG_CONNECT_REQUEST:
      TraceConnection(request.connection);
      return ProcessConnectRequest(request);
    case XCFG_DISCONNECT_REQUEST:
      TraceConnection(request.connection);
      return ProcessDisconnectRequest(request);
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
      TraceListener(request.handler);
      return ProcessAddConfigEventListenerRequest(request);
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      TraceListener(request.handler);
      return ProcessRemoveConfigEventListenerRequest(request);
    default:
      break;
  }
  ConnectionUtilities::Dump(&request.param);
  switch (request.msgtype) {
    case XCFG_GET_PARAM_REQUEST:
      return ProcessGetRequest(request);
    case XCFG_SET_PARAM_REQUEST:
      return ProcessSetRequest(request);
    case XCFG_GET_STREAM_PARAM_REQUEST:
      return ProcessGetStreamRequest(request);
    default:
      return ProcessSetStreamRequest(request);
  }
}

void NetworkTCPConnection::ProcessConnectRequest(Request& request) {
  _connected = true;
  const auto number = static_cast<eConfigID_t>(request.connection.configID);
  Config* const store = qel::config::ConnectStore(number);
  if (store == nullptr) {
    Report("NetworkTCPConnection::ProcessConnectRequest - unable to connect to the config\n");
    Stop();
    return;
  }
  Config* before;
  {
    SemaphoreHelper lock(_lock);
    before = _config;
    _config = store;
    _connectionID = request.connection.connectionID;
    _params.clear();
    _listening = false;
    _registered = false;
  }
  _peerName.clear();
  LeaveStore(before);
  const auto response = ConnectionResponseTo(request.connection, XCFG_CONNECT_RESPONSE);
  if (!_outbox->PutAnswer(&response, sizeof response)) {
    Report("NetworkTCPConnection::ProcessConnectRequest - unable to send response\n");
  }
}

void NetworkTCPConnection::ProcessDisconnectRequest(Request& request) {
  auto response = ConnectionResponseTo(request.connection, XCFG_DISCONNECT_RESPONSE);
  response.result = kResultWord;
  if (!_outbox->PutAnswer(&response, sizeof response)) {
    ReportErrno("NetworkTCPConnection::ProcessDisconnectRequest - unable to send response");
    Report("NetworkTCPConnection::ProcessDisconnectRequest: unable to send response\n");
  }
  // The answer leaves before the socket is shut.
  _outbox->Drain(qel::config::limits::kHalfRecordMs);
  Stop();
}

void NetworkTCPConnection::ProcessAddConfigEventListenerRequest(Request& request) {
  const auto param = static_cast<eParam_t>(request.handler.paramID);
  SemaphoreHelper lock(_lock);
  if (_config == nullptr) return;
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
}

void NetworkTCPConnection::ProcessRemoveConfigEventListenerRequest(Request& request) {
  {
    SemaphoreHelper lock(_lock);
    _registered = false;
  }
  // Beyond the lock, as the answer may have to wait for the peer and a notifier must not.
  const auto response =
      ConnectionResponseTo(request.handler, XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE);
  if (!_outbox->PutAnswer(&response, sizeof response)) {
    Report(
        "NetworkTCPConnection::ProcessRemoveConfigEventListenerRequest - Unable to send "
        "response!\n");
  }
}

void NetworkTCPConnection::ProcessGetRequest(Request& request) {
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request.param, XCFG_GET_PARAM_RESPONSE);
  if (_config == nullptr) {
    response.error = eNetworkError_NotConnected;
    SendErrorResponse(response);
    return;
  }
  response.value = _config->Get(static_cast<eParam_t>(request.param.paramID));
  if (!_outbox->PutAnswer(&response, sizeof response)) {
    Report("NetworkTCPConnection::ProcessGetRequest - _socket->send failed\n");
  }
}

// Setting may take as long as the store's listeners do. The peer's earlier answers do not wait for
// that when nothing follows; the same with texts.
void NetworkTCPConnection::ProcessSetRequest(Request& request) {
  if (_config == nullptr) return;
  if (!_reader->HasBuffered()) _outbox->Flush();
  _config->Set(static_cast<eParam_t>(request.param.paramID), request.param.value);
}

void NetworkTCPConnection::ProcessGetStreamRequest(Request& request) {
  if (_config == nullptr) {
    XCONFIGMGR_RESPONSE_T response = ResponseTo(request.param, XCFG_GET_STREAM_PARAM_RESPONSE);
    response.error = eNetworkError_NotConnected;
    SendErrorResponse(response);
    return;
  }
  SendStreamResponse(request.param);
}

void NetworkTCPConnection::ProcessSetStreamRequest(Request& request) {
  if (request.param.streamLength == 0) {
    Report("NetworkTCPConnection::ProcessSetStreamMessage - invalid streamLength\n");
    return;
  }
  if (ReceiveAndSet(request.param.streamLength)) return;
  if (_stop) return;
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request.param, XCFG_SET_STREAM_PARAM_RESPONSE);
  response.error = eNetworkError_Refused;
  SendErrorResponse(response);
}

// False when the value was refused, or when it did not come and the connection has been stopped.
// Either way no byte of it is left in the stream.
bool NetworkTCPConnection::ReceiveAndSet(uint32_t streamLength) {
  const bool tooLong = streamLength > qel::config::limits::kStreamPayload;
  std::vector<char> bytes;
  Result received = Result::kWhole;
  if (tooLong) {
    received = _reader->Skip(streamLength);
  } else {
    // What a peer only announces takes no memory.
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    while (received == Result::kWhole && bytes.size() < streamLength) {
      const std::size_t before = bytes.size();
      bytes.resize(std::min<std::size_t>(streamLength, before + kPiece));
      received = _reader->recv_exact(bytes.data() + before, bytes.size() - before);
    }
  }
  if (received != Result::kWhole) {
    ReportErrno("NetworkTCPConnection::ProcessSetStreamRequest");
    Stop();
    return false;
  }
  if (tooLong || _config == nullptr) return false;
  const auto value =
      qel::config::DecodeValue(bytes.data(), streamLength, eSerializationFormat_Network);
  if (!_reader->HasBuffered()) _outbox->Flush();
  return value != nullptr && DoSetRequest(_config, value.get());
}

// Also sends the event of a string, which carries the value as it is by now.
bool NetworkTCPConnection::SendStreamResponse(const XCONFIGMGR_REQUEST_T& request) {
  const bool event = request.msgtype == XCFG_PARAM_STREAM_CHANGED_EVENT;
  uint32_t type;
  switch (request.msgtype) {
    case XCFG_GET_STREAM_PARAM_REQUEST:
      type = XCFG_GET_STREAM_PARAM_RESPONSE;
      break;
    case XCFG_SET_STREAM_PARAM_REQUEST:
      type = XCFG_SET_STREAM_PARAM_RESPONSE;
      break;
    case XCFG_PARAM_STREAM_CHANGED_EVENT:
      type = XCFG_PARAM_STREAM_CHANGED_EVENT;
      break;
    default:
      Report("NetworkTCPConnection::SendStreamResponse - Invalid msgtype");
      return false;
  }
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request, type);
  auto* const value =
      dynamic_cast<ConfigValue*>(_config->GetSerializable(static_cast<eParam_t>(request.paramID)));
  std::vector<char> bytes;
  if (value != nullptr) {
    bytes = qel::config::EncodeValue(*value, eSerializationFormat_Network, sizeof response);
  }
  // A value that is longer than any peer would take is as good as none.
  if (value == nullptr || bytes.size() - sizeof response > qel::config::limits::kStreamPayload) {
    Report("SendStreamResponse: Invalid serializable value\n");
    if (event) return false;
    response.error = eNetworkError_NoValue;
    SendErrorResponse(response);
    return false;
  }
  response.streamLength = static_cast<uint32_t>(bytes.size() - sizeof response);
  response.streamFormat = eSerializationFormat_Network;
  std::memcpy(bytes.data(), &response, sizeof response);
  const bool sent =
      event ? PutEvent(bytes.data(), bytes.size()) : _outbox->PutAnswer(bytes.data(), bytes.size());
  if (!sent) ReportErrno("SendStreamResponse: socket send failed");
  return sent;
}

bool NetworkTCPConnection::SendErrorResponse(XCONFIGMGR_CONNECTION_RESPONSE_T& response) {
  if (response.error == 0) Report("WARNING: response.error was not supplied by caller!!!");
  if (_outbox->PutAnswer(&response, sizeof response)) return true;
  ReportErrno("NetworkTCPConnection::SendErrorResponse");
  return false;
}

bool NetworkTCPConnection::SendErrorResponse(XCONFIGMGR_RESPONSE_T& response) {
  if (response.error == 0) Report("WARNING: response.error was not supplied by caller!!!");
  response.streamLength = 0;
  response.streamFormat = 0;
  if (_outbox->PutAnswer(&response, sizeof response)) return true;
  ReportErrno("NetworkTCPConnection::SendErrorResponse");
  return false;
}

// Never waits for the peer. One that does not take its events is given up: having missed one, it
// would go on with a wrong picture.
bool NetworkTCPConnection::PutEvent(const void* record, std::size_t length) {
  const Outbox::Put put = _outbox->PutRecord(record, length);
  if (put == Outbox::Put::kTaken) return true;
  _registered = false;
  _outbox->Close();
  Stop();
  errno = put == Outbox::Put::kFull ? ENOBUFS : EPIPE;
  return false;
}

void NetworkTCPConnection::ParamChanged(eParam_t param, unsigned int value, timeval) {
  if (!_registered.load(std::memory_order_relaxed)) return;
  SemaphoreHelper lock(_lock);
  if (!_registered || _config == nullptr) return;
  XCONFIGMGR_RESPONSE_T event = {};
  event.msgtype = XCFG_PARAM_CHANGED_EVENT;
  event.connectionID = _connectionID;
  event.requestID = 0xFFFFFFFF;
  event.configID = static_cast<uint32_t>(_config->GetConfigID());
  event.result = kResultWord;
  event.paramID = param;
  event.value = value;
  event.streamFormat = eSerializationFormat_Network;
  if (!PutEvent(&event, sizeof event)) {
    ReportErrno("NetworkTCPConnection::ParamChanged - unable to send event to socket");
  }
}

void NetworkTCPConnection::ParamChanged(eParam_t param, std::string, timeval) {
  if (!_registered.load(std::memory_order_relaxed)) return;
  SemaphoreHelper lock(_lock);
  if (!_registered || _config == nullptr) return;
  XCONFIGMGR_REQUEST_T event = {};
  event.msgtype = XCFG_PARAM_STREAM_CHANGED_EVENT;
  event.connectionID = _connectionID;
  event.requestID = 0xFFFFFFFF;
  event.configID = static_cast<uint32_t>(_config->GetConfigID());
  event.result = kResultWord;
  event.paramID = param;
  if (SendStreamResponse(event)) return;
  Report(
      "NetworkTCPConnection::ParamChanged - call to SendStreamResponse failed, unable to send "
      "event to %d\n",
      static_cast<int>(_connectionID));
}

std::string NetworkTCPConnection::GetPeerName() {
  if (_peerName.empty()) {
    _peerName = ConnectionUtilities::DescribePeer(_connectionID, _socket->get_peer_name());
  }
  return _peerName;
}

}  // namespace qel::vorlane::config::access
