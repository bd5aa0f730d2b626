#include "libconfig/network/NetworkTCPClient.h"

#include <unistd.h>

#include <cstring>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/RecordReaders.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

NetworkTCPClient::NetworkTCPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID)
    : NetworkClient(connectionID, socket, configID,
                    std::make_unique<StreamRecordReader>(*socket, kAnswerTime)) {
  socket->set_send_timeout(kAnswerTime.count());
}

NetworkTCPClient::~NetworkTCPClient() { Leave(); }

bool NetworkTCPClient::ReceiveStream(unsigned int length, std::vector<char>& stream) {
  stream = std::move(_eventStream);
  _eventStream.clear();
  return stream.size() == length;
}

XCONFIGMGR_EVENT_HANDLER_REQUEST_T NetworkTCPClient::MakeListenerRequest(uint32_t type,
                                                                         eParam_t param) {
  const XCONFIGMGR_REQUEST_T common = MakeRequest(type, param);
  XCONFIGMGR_EVENT_HANDLER_REQUEST_T request;
  std::memcpy(&request, &common, sizeof request);
  ConnectionUtilities::Dump(&request);
  return request;
}

bool NetworkTCPClient::RegisterForEvents(eParam_t param) {
  Exchange exchange(*this);
  const auto request = MakeListenerRequest(XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST, param);
  if (exchange.Send(&request, sizeof request)) return true;
  ReportErrno("NetworkTCPClient::RegisterForEvents");
  return false;
}

bool NetworkTCPClient::RegisterForEvents() { return RegisterForEvents(eParamID_None); }

bool NetworkTCPClient::UnregisterForEvents() {
  static constexpr Operation kUnregister = {sizeof(XCONFIGMGR_CONNECTION_RESPONSE_T),
                                            false,
                                            "NetworkTCPClient::UnregisterForEvents",
                                            "NetworkTCPClient::UnregisterForEvents - send failed\n",
                                            nullptr,
                                            nullptr,
                                            nullptr};
  Exchange exchange(*this);
  ReceivedRecord record;
  const auto request =
      MakeListenerRequest(XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST, eParamID_None);
  if (!exchange.Ask(kUnregister, request, record)) return false;
  const auto answer = record.As<XCONFIGMGR_CONNECTION_RESPONSE_T>();
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

// A listener may delete this client: nothing of it is touched once it is gone.
void NetworkTCPClient::ProcessEvents() {
  const auto reportUnknown = [](int type) {
    Report("NetworkTCPClient::ProcessEvents - Unknown message type %d\n", type);
  };
  const Ended ended = TellEvents(reportUnknown, [this](ReceivedRecord& event) {
    auto header = event.As<XCONFIGMGR_RESPONSE_T>();
    if (header.msgtype == XCFG_PARAM_CHANGED_EVENT) {
      ProcessConfigParamEvent(&header, nullptr);
    } else {
      _eventStream = std::move(event.stream);
      ProcessConfigStreamParamEvent(&header, nullptr);
    }
  });
  if (ended == Ended::kClientGone) return;
  ReportErrno("NetworkTCPClient::ProcessEvents");
  Report("NetworkTCPClient::ProcessEvents - recv error (%d) in process ID %d\n",
         ended == Ended::kHere ? 0 : -1, static_cast<int>(::getpid()));
  Report("NetworkTCPClient::ProcessEvents - end\n");
  Report("NetworkTCPClient::ProcessEvents - Exiting\n");
}

}  // namespace qel::vorlane::config::access
