#include "libconfig/access/ConnectionUtilities.h"

#include <cstdio>
#include <map>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"

using qel::config::MutexLock;
using qel::config::Report;

namespace {

// Never destroyed: threads of the system ask until the process ends.
qel::config::Mutex& NamesMutex() {
  static auto* const mutex = new qel::config::Mutex;
  return *mutex;
}

std::map<unsigned int, std::string>& Names() {
  static auto* const names = new std::map<unsigned int, std::string>;
  return *names;
}

std::string AskForName(unsigned int pid) {
  char command[64];
  std::snprintf(command, sizeof command, "ps --pid %d --no-heading | awk '{print $4}'",
                static_cast<int>(pid));
  FILE* const pipe = ::popen(command, "re");
  if (pipe == nullptr) return {};
  char line[256] = "";
  if (std::fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
  ::pclose(pipe);
  std::string name = line;
  if (!name.empty() && name.back() == '\n') name.pop_back();
  return name;
}

}  // namespace

std::string ConnectionUtilities::GetMessageName(MQMessage_t type) {
  switch (type) {
    case XCFG_CONNECT_REQUEST:
      return "Connect Request";
    case XCFG_DISCONNECT_REQUEST:
      return "Disconnect Request";
    case XCFG_CONNECT_RESPONSE:
      return "Connect Response";
    case XCFG_DISCONNECT_RESPONSE:
      return "Disconnect Response";
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
      return "Add Listener Request";
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      return "Remove Listener Request";
    case XCFG_ADD_CONFIG_EVENT_LISTENER_RESPONSE:
      return "Add Listener Response";
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_RESPONSE:
      return "Remove Listener Response";
    case XCFG_GET_PARAM_REQUEST:
      return "Get Request";
    case XCFG_SET_PARAM_REQUEST:
      return "Set Request";
    case XCFG_GET_PARAM_RESPONSE:
      return "Get Response";
    case XCFG_SET_PARAM_RESPONSE:
      return "Set Response";
    case XCFG_GET_STREAM_PARAM_REQUEST:
      return "Get String Request";
    case XCFG_SET_STREAM_PARAM_REQUEST:
      return "Set String Request";
    case XCFG_POPULATE_PARAM_REQUEST:
      return "Populate Param Request";
    case XCFG_GET_STREAM_PARAM_RESPONSE:
      return "Get String Response";
    case XCFG_SET_STREAM_PARAM_RESPONSE:
      return "Set String Response";
    case XCFG_POPULATE_PARAM_RESPONSE:
      return "Populate Param Response";
    case XCFG_PARAM_CHANGED_EVENT:
      return "Param Changed Event";
    case XCFG_PARAM_STREAM_CHANGED_EVENT:
      return "Param String Changed Event";
  }
  return "N/A";
}

std::string ConnectionUtilities::GetQueueName(uint32_t connectionID) {
  char name[24];
  std::snprintf(name, sizeof name, "/mqd_%u_%u", connectionID >> 16, connectionID & 0xFFFF);
  return name;
}

std::string ConnectionUtilities::GetPIDName(unsigned int pid) {
  MutexLock lock(NamesMutex());
  std::map<unsigned int, std::string>& names = Names();
  const auto known = names.find(pid);
  if (known != names.end()) return known->second;
  if (names.size() >= qel::config::limits::kProcessNames) names.clear();
  names[pid] = AskForName(pid);
  // As it has always been: a name is only given to those who ask again.
  return {};
}

void ConnectionUtilities::Dump(XCONFIGMGR_REQUEST_T*) {}

void ConnectionUtilities::Dump(XCONFIGMGR_RESPONSE_T*) {}

bool IsValidResponse(const XCONFIGMGR_CONNECTION_REQUEST_T& request,
                     const XCONFIGMGR_RESPONSE_T& response) {
  if (request.connectionID != response.connectionID) {
    Report("IsValidResponse - request.connectionID (%s) != response.connectionID (%s)\n",
           ConnectionUtilities::GetQueueName(request.connectionID).c_str(),
           ConnectionUtilities::GetQueueName(response.connectionID).c_str());
    return false;
  }
  if (request.configID != response.configID) {
    Report("IsValidResponse - request.configID (%d) != response.configID (%d)\n",
           static_cast<int>(request.configID), static_cast<int>(response.configID));
    return false;
  }
  if (request.requestID != response.requestID) {
    Report("IsValidResponse - request.requestID (%d) != response.requestID (%d)\n",
           static_cast<int>(request.requestID), static_cast<int>(response.requestID));
    return false;
  }
  return true;
}

bool HandleErrorResponse(XCONFIGMGR_RESPONSE_T* response) { return response->error == 0; }
