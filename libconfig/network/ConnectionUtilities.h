// Identifiers of connections, and how connections and records are named in logs. Any thread.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkRecords.h"

namespace qel::vorlane::config::access {

class LIBCONFIG_API ConnectionUtilities {
 public:
  // A new identifier: a counter of this process in the high half, its process number in the low.
  static unsigned int GetConnectionID();

  // "N/A" for a number that is no message type.
  static std::string GetMessageName(unsigned int type);

  // "->" for requests, "<-" for responses, "<=" for events.
  static const char* GetDirection(unsigned int type);

  // The name of the program that runs as `pid`; empty when there is none.
  static std::string name_from_pid(unsigned int pid);

  // The program behind a connection identifier, or "event" where it names none.
  static std::string GetPeerName(unsigned int connectionID);

  // The peer for logs, which is connected to `port` here, or to 0 for datagrams: its address, and
  // its program as the kernel knows it; one that only the peer tells is marked.
  static std::string DescribePeer(unsigned int connectionID, const std::string& address, int port);

  // One line each, while tracing is on.
  static void Dump(XCONFIGMGR_REQUEST_T* request);
  static void Dump(XCONFIGMGR_RESPONSE_T* response);
  static void Dump(XCONFIGMGR_EVENT_HANDLER_REQUEST_T* request);
};

}  // namespace qel::vorlane::config::access
