#include "libconfig/network/ConnectionUtilities.h"

#include <unistd.h>

#include <atomic>
#include <fstream>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/MessageTable.h"
#include "libconfig/access/PeerName.h"
#include "libconfig/support/Logger.h"

namespace qel::vorlane::config::access {

using qel::logging::Logger;

namespace {

template <typename Record>
void DumpRecord(const Record& record) {
  Logger* const logger = Logger::GetLogger();
  if (!logger->IsWatching(record.paramID)) return;
  logger->Log(record.paramID, "(%s) %s %s [%d]\n",
              ConnectionUtilities::GetMessageName(record.msgtype).c_str(),
              ConnectionUtilities::GetDirection(record.msgtype),
              ConnectionUtilities::GetPeerName(record.connectionID).c_str(),
              static_cast<int>(record.requestID));
}

}  // namespace

unsigned int ConnectionUtilities::GetConnectionID() {
  static std::atomic<uint32_t> s_connection_counter{0};
  return s_connection_counter.fetch_add(1, std::memory_order_relaxed) << 16 |
         (static_cast<uint32_t>(::getpid()) & 0xFFFF);
}

std::string ConnectionUtilities::GetMessageName(unsigned int type) {
  return ::ConnectionUtilities::GetMessageName(static_cast<MQMessage_t>(type));
}

const char* ConnectionUtilities::GetDirection(unsigned int type) {
  const auto* const row = qel::config::FindMessageType(type);
  return row == nullptr ? "<-" : row->direction;
}

std::string ConnectionUtilities::name_from_pid(unsigned int pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline");
  std::string name;
  std::getline(file, name, '\0');
  name.erase(0, name.rfind('/') + 1);
  return name;
}

std::string ConnectionUtilities::GetPeerName(unsigned int connectionID) {
  if (connectionID == 0 || connectionID == 0xFFFF) return "event";
  return name_from_pid(connectionID & 0xFFFF);
}

std::string ConnectionUtilities::DescribePeer(unsigned int connectionID, const std::string& address,
                                              int port) {
  return qel::config::DescribePeer(connectionID & 0xFFFF, address, port);
}

void ConnectionUtilities::Dump(XCONFIGMGR_REQUEST_T* request) { DumpRecord(*request); }

void ConnectionUtilities::Dump(XCONFIGMGR_RESPONSE_T* response) { DumpRecord(*response); }

void ConnectionUtilities::Dump(XCONFIGMGR_EVENT_HANDLER_REQUEST_T* request) {
  DumpRecord(*request);
}

}  // namespace qel::vorlane::config::access
