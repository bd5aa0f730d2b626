#include "libconfig/access/ConnectionUtilities.h"

#include <cstdio>
#include <map>

#include "libconfig/access/MessageTable.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"

using namespace qel::config;

namespace {

struct Names {
  Mutex mutex;
  std::map<unsigned int, std::string> known LIBCONFIG_GUARDED_BY(mutex);
};

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
  const auto* const row = FindMessageType(type);
  return row == nullptr ? "N/A" : row->name;
}

std::string ConnectionUtilities::GetQueueName(uint32_t connectionID) {
  char name[24];
  std::snprintf(name, sizeof name, "/mqd_%u_%u", connectionID >> 16, connectionID & 0xFFFF);
  return name;
}

std::string ConnectionUtilities::GetPIDName(unsigned int pid) {
  // Never destroyed: threads of the system ask until the process ends.
  static auto* const names = new Names;
  MutexLock lock(names->mutex);
  const auto known = names->known.find(pid);
  if (known != names->known.end()) return known->second;
  if (names->known.size() >= limits::kProcessNames) names->known.clear();
  names->known[pid] = AskForName(pid);
  // Callers rely on an empty name the first time, and on the name from the second call on.
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
  const auto isSame = [](const char* field, uint32_t asked, uint32_t answered) {
    if (asked == answered) return true;
    Report("IsValidResponse - request.%s (%d) != response.%s (%d)\n", field,
           static_cast<int>(asked), field, static_cast<int>(answered));
    return false;
  };
  return isSame("configID", request.configID, response.configID) &&
         isSame("requestID", request.requestID, response.requestID);
}

bool HandleErrorResponse(XCONFIGMGR_RESPONSE_T* response) { return response->error == 0; }
