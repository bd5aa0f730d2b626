// Names of messages, queues and processes for logs, and whether a response matches a request. Any
// thread.
#pragma once

#include <string>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/base/Export.h"

class LIBCONFIG_API ConnectionUtilities {
 public:
  // "N/A" for a number that is no message type.
  static std::string GetMessageName(MQMessage_t type);

  // The name of the response queue that a connection identifier stands for.
  static std::string GetQueueName(uint32_t connectionID);

  // The name of the program that runs as process `pid`, for diagnostics: empty on the first call
  // for a process, which asks the system and takes its time, and its name from then on. Remembers
  // 1024 processes, and then starts over.
  static std::string GetPIDName(unsigned int pid);

  // Called with every record before it is sent and after it was received. They print nothing.
  static void Dump(XCONFIGMGR_REQUEST_T* request);
  static void Dump(XCONFIGMGR_RESPONSE_T* response);
};

// Whether `response` answers `request`: same connection, same configuration, same request number.
// The first of them that differs is reported.
LIBCONFIG_API bool IsValidResponse(const XCONFIGMGR_CONNECTION_REQUEST_T& request,
                                   const XCONFIGMGR_RESPONSE_T& response);

// Whether the response reports success.
LIBCONFIG_API bool HandleErrorResponse(XCONFIGMGR_RESPONSE_T* response);
