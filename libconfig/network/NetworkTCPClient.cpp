#include "libconfig/network/NetworkTCPClient.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/RecordReaders.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using qel::config::Received;
using qel::config::ReceivedRecord;
using qel::config::RecordExchange;
using qel::config::Report;
using qel::config::ReportErrno;

namespace {

constexpr int kSocketBuffer = 108544;

}  // namespace

NetworkTCPClient::NetworkTCPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID)
    : NetworkClient(connectionID, socket, configID,
                    std::make_unique<StreamRecordReader>(*socket, kAnswerTime)) {
  socket->set_buffer_size(SO_RCVBUF, kSocketBuffer);
  socket->set_buffer_size(SO_SNDBUF, kSocketBuffer);
  socket->set_send_timeout(kAnswerTime.count());
  socket->set_receive_timeout(kAnswerTime.count());
}

NetworkTCPClient::~NetworkTCPClient() { Leave(); }

bool NetworkTCPClient::ReceiveStream(unsigned int length, std::vector<char>& stream) {
  stream = std::move(_eventStream);
  _eventStream.clear();
  return stream.size() == length;
}

bool NetworkTCPClient::RegisterForEvents(eParam_t param) {
  Exchange exchange(*this);
  const auto request =
      MakeListenerRequest(XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, exchange.NextRequestID(), param);
  if (IsConnected() && exchange.Send(&request, sizeof request)) return true;
  ReportErrno("NetworkTCPClient::RegisterForEvents");
  return false;
}

bool NetworkTCPClient::RegisterForEvents() { return RegisterForEvents(eParamID_None); }

bool NetworkTCPClient::UnregisterForEvents() {
  Exchange exchange(*this);
  const auto request = MakeListenerRequest(XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST,
                                           exchange.NextRequestID(), eParamID_None);
  XCONFIGMGR_CONNECTION_RESPONSE_T answer;
  switch (exchange.Ask(request, answer)) {
    case Received::kRecord:
      break;
    case Received::kNotSent:
      ReportErrno("NetworkTCPClient::UnregisterForEvents");
      Report("NetworkTCPClient::UnregisterForEvents - send failed\n");
      return false;
    default:
      return false;
  }
  if (answer.msgtype != XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE) {
    Report(
        "NetworkTCPClient::UnregisterForEvents - msgtype != "
        "XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE\n");
    return false;
  }
  if (answer.error != 0) {
    Report("NetworkTCPClient::UnregisterForEvents - error = %d\n", static_cast<int>(answer.error));
    return false;
  }
  return true;
}

XCONFIGMGR_EVENT_HANDLER_REQUEST_T NetworkTCPClient::MakeListenerRequest(uint32_t type,
                                                                         uint32_t requestID,
                                                                         eParam_t param) {
  XCONFIGMGR_EVENT_HANDLER_REQUEST_T request = {
      type, GetConnectionID(), requestID, static_cast<uint32_t>(GetConfigID()),
      0,    kResultWord,       param};
  ConnectionUtilities::Dump(&request);
  return request;
}

// A listener may delete this client: the thread holds what it needs to find that out.
void NetworkTCPClient::ProcessEvents() {
  const std::shared_ptr<Events> events = GetEvents();
  RecordExchange& records = events->records;
  records.KeepEvents(true, true);
  const RecordExchange::EventWait wait(records);
  uint32_t type = 0;
  Received received;
  while ((received = records.AwaitEvent(type)) < Received::kEnded) {
    if (received == Received::kUnknown) {
      Report("NetworkTCPClient::ProcessEvents - Unknown message type %d\n", static_cast<int>(type));
    }
    ReceivedRecord record;
    if (received != Received::kRecord || !records.TakeAwaitedEvent(record)) continue;
    auto header = record.As<XCONFIGMGR_RESPONSE_T>();
    if (header.msgtype == XCFG_PARAM_CHANGED_EVENT) {
      ProcessConfigParamEvent(&header, nullptr);
    } else {
      _eventStream = std::move(record.stream);
      ProcessConfigStreamParamEvent(&header, nullptr);
    }
    if (events->clientGone) return;
  }
  // A socket that was closed on this side receives nothing.
  const int result = errno == 0 || errno == ECANCELED ? 0 : -1;
  ReportErrno("NetworkTCPClient::ProcessEvents");
  Report("NetworkTCPClient::ProcessEvents - recv error (%d) in process ID %d\n", result,
         static_cast<int>(::getpid()));
  Report("NetworkTCPClient::ProcessEvents - end\n");
  Report("NetworkTCPClient::ProcessEvents - Exiting\n");
}

}  // namespace qel::vorlane::config::access
