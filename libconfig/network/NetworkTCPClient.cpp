#include "libconfig/network/NetworkTCPClient.h"

#include <sys/socket.h>
#include <unistd.h>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/network/ClientEvents.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/Socket.h"
#include "libconfig/network/StreamRouter.h"

namespace qel::vorlane::config::access {

using qel::config::Report;
using qel::config::ReportErrno;

namespace {

constexpr int kSocketBuffer = 108544;
constexpr unsigned kSendMs = 12000;
constexpr int kUnregisterMs = 12000;

}  // namespace

NetworkTCPClient::NetworkTCPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID)
    : NetworkClient(connectionID, socket, configID, std::make_shared<StreamRouter>(*socket)) {
  socket->set_buffer_size(SO_RCVBUF, kSocketBuffer);
  socket->set_buffer_size(SO_SNDBUF, kSocketBuffer);
  socket->set_send_timeout(kSendMs);
}

NetworkTCPClient::~NetworkTCPClient() { LeaveEventsThread(); }

bool NetworkTCPClient::ReceiveStream(unsigned int length, std::vector<char>& stream) {
  stream = std::move(_eventStream);
  _eventStream.clear();
  return stream.size() == length;
}

bool NetworkTCPClient::RegisterForEvents(eParam_t param) {
  Exchange exchange(*this);
  if (!IsConnected() || !exchange.Send(MakeListenerRequest(XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST,
                                                           exchange.NextRequestID(), param))) {
    ReportErrno("NetworkTCPClient::RegisterForEvents");
    return false;
  }
  // Whoever has the next exchange leaves the reading to the events thread.
  GetRouter()->ExpectReader();
  return true;
}

bool NetworkTCPClient::RegisterForEvents() { return RegisterForEvents(eParamID_None); }

bool NetworkTCPClient::UnregisterForEvents() {
  Exchange exchange(*this);
  const auto request = MakeListenerRequest(XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST,
                                           exchange.NextRequestID(), eParamID_None);
  ReceivedRecord answer;
  switch (exchange.Ask(request, sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T), false, kUnregisterMs,
                       answer)) {
    case Received::kAnswer:
      break;
    case Received::kNotSent:
      ReportErrno("NetworkTCPClient::UnregisterForEvents");
      Report("NetworkTCPClient::UnregisterForEvents - send failed\n");
      return false;
    default:
      return false;
  }
  if (answer.header.msgtype != XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE) {
    Report(
        "NetworkTCPClient::UnregisterForEvents - msgtype != "
        "XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE\n");
    return false;
  }
  const uint32_t error = Exchange::ConnectionError(answer);
  if (error != 0) {
    Report("NetworkTCPClient::UnregisterForEvents - error = %d\n", static_cast<int>(error));
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
  const std::shared_ptr<RecordRouter> router = GetRouter();
  const std::shared_ptr<Events> events = GetEvents();
  router->BecomeReader();
  ReceivedRecord record;
  int result = 0;
  while (router->NextEvent(record, result)) {
    switch (record.header.msgtype) {
      case XCFG_PARAM_CHANGED_EVENT:
        ProcessConfigParamEvent(&record.header, nullptr);
        break;
      case XCFG_PARAM_STREAM_CHANGED_EVENT:
        _eventStream = std::move(record.stream);
        ProcessConfigStreamParamEvent(&record.header, nullptr);
        break;
      default:
        Report("NetworkTCPClient::ProcessEvents - Unknown message type %d\n",
               static_cast<int>(record.header.msgtype));
    }
    if (events->clientGone) return;
  }
  ReportErrno("NetworkTCPClient::ProcessEvents");
  Report("NetworkTCPClient::ProcessEvents - recv error (%d) in process ID %d\n", result,
         static_cast<int>(::getpid()));
  Report("NetworkTCPClient::ProcessEvents - end\n");
  Report("NetworkTCPClient::ProcessEvents - Exiting\n");
}

}  // namespace qel::vorlane::config::access
