// A client over TCP. Answers and events share one stream and are told apart, so that one client can
// both poll and listen.
#pragma once

#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::vorlane::config::access {

class LIBCONFIG_API NetworkTCPClient : public NetworkClient {
 public:
  NetworkTCPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID);
  ~NetworkTCPClient() override;

  // 0 asks for the changes of every parameter. The server does not answer.
  bool RegisterForEvents(eParam_t param) override;
  bool RegisterForEvents() override;
  bool UnregisterForEvents() override;
  void ProcessEvents() override;

 protected:
  bool ReceiveStream(unsigned int length, std::vector<char>& stream) override;

 private:
  XCONFIGMGR_EVENT_HANDLER_REQUEST_T MakeListenerRequest(uint32_t type, eParam_t param);

  std::vector<char> _eventStream;  // of the events thread
};

}  // namespace qel::vorlane::config::access
