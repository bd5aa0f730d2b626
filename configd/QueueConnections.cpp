#include "configd/QueueConnections.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

constexpr std::size_t kConnections = 512;
// The priority that clients ask for is this one or none.
constexpr unsigned kHighPriority = 10;
constexpr long kLargestProcessNumber = 4194304;
// Messages that changes leave free in a client's queue: an answer always finds room.
constexpr long kForAnswers = 8;  // at most half of them
// A client that has not read for as long is named.
constexpr std::chrono::seconds kSlow{1};

bool Exists(long pid) { return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM; }

// A process that the connection can belong to, or 0: its identifier has the low half of the number.
long FindProcess(uint32_t id) {
  for (long pid = id >> 16; pid <= kLargestProcessNumber; pid += 0x10000) {
    if (pid != 0 && Exists(pid)) return pid;
  }
  return 0;
}

std::string ProgramName(long pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  std::getline(file, name);
  for (char& c : name) c = static_cast<unsigned char>(c) < 0x20 ? '?' : c;
  return name;
}

}  // namespace

QueueConnections::~QueueConnections() {
  for (const auto& connection : _connections) ::mq_close(connection.second.queue);
}

mqd_t QueueConnections::OpenQueue(uint32_t id) {
  const std::string name = ConnectionUtilities::GetQueueName(id);
  const mqd_t queue = ::mq_open(name.c_str(), O_WRONLY | O_NONBLOCK);
  if (queue == -1) return -1;
  struct stat status;
  if (::fstat(queue, &status) == 0 && status.st_uid == ::geteuid()) return queue;
  ::mq_close(queue);
  return -1;
}

uint32_t QueueConnections::Open(uint32_t id, uint32_t priority) {
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto found = _connections.find(id);
  if (found != _connections.end()) {
    ::mq_close(found->second.queue);
    _connections.erase(found);
  }
  if (_connections.size() >= kConnections) return eQueueError_TooMany;
  const mqd_t queue = OpenQueue(id);
  if (queue == -1) return eQueueError_NotConnected;
  Connection connection;
  connection.queue = queue;
  connection.priority = std::min(priority, kHighPriority);
  _connections[id] = connection;
  return 0;
}

void QueueConnections::Close(uint32_t id) {
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto found = _connections.find(id);
  if (found == _connections.end()) return;
  ::mq_close(found->second.queue);
  _connections.erase(found);
}

bool QueueConnections::Contains(uint32_t id) {
  const std::lock_guard<std::mutex> lock(_mutex);
  return _connections.count(id) != 0;
}

bool QueueConnections::SetListening(uint32_t id, bool listening) {
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto found = _connections.find(id);
  if (found == _connections.end()) return false;
  found->second.listening = listening;
  if (!listening) found->second.kept.clear();
  return true;
}

// 0, or the error number.
int QueueConnections::Send(mqd_t queue, unsigned priority, const XCONFIGMGR_RESPONSE_T& response,
                           const std::string& stream) {
  char message[PosixMQFactory::kMessageSize];
  const std::size_t size = sizeof response + stream.size();
  if (size > sizeof message) return EMSGSIZE;
  std::memcpy(message, &response, sizeof response);
  std::memcpy(message + sizeof response, stream.data(), stream.size());
  while (::mq_send(queue, message, size, priority) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

void QueueConnections::Answer(XCONFIGMGR_RESPONSE_T response, const std::string& stream) {
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto found = _connections.find(response.connectionID);
  const bool known = found != _connections.end();
  const mqd_t queue = known ? found->second.queue : OpenQueue(response.connectionID);
  if (queue == -1) return;
  const unsigned priority = known ? found->second.priority : 0;
  response.priority = priority;
  response.streamLength = static_cast<uint32_t>(stream.size());
  response.streamFormat = stream.empty() ? 0 : static_cast<uint32_t>(eSerializationFormat_Queue);
  if (Send(queue, priority, response, stream) == EMSGSIZE && !stream.empty()) {
    response.error = eQueueError_TooLong;
    response.streamLength = 0;
    response.streamFormat = 0;
    Send(queue, priority, response, {});
  }
  if (known) {
    SendKept(found->second);
  } else {
    ::mq_close(queue);
  }
}

bool QueueConnections::HasRoom(const Connection& connection) {
  mq_attr attributes;
  return ::mq_getattr(connection.queue, &attributes) == 0 &&
         attributes.mq_curmsgs + std::min(kForAnswers, attributes.mq_maxmsg / 2) <
             attributes.mq_maxmsg;
}

// True when something was sent.
bool QueueConnections::SendKept(Connection& connection) {
  std::size_t sent = 0;
  while (sent < connection.kept.size() && HasRoom(connection)) {
    const Change& change = connection.kept[sent];
    if (Send(connection.queue, connection.priority, change.event, change.stream) == EAGAIN) break;
    ++sent;
  }
  connection.kept.erase(connection.kept.begin(),
                        connection.kept.begin() + static_cast<std::ptrdiff_t>(sent));
  if (sent > 0) connection.read = Clock::now();
  return sent > 0;
}

void QueueConnections::Keep(Connection& connection, const XCONFIGMGR_RESPONSE_T& event,
                            const std::string& stream) {
  std::vector<Change>& kept = connection.kept;
  if (kept.empty()) connection.read = Clock::now();
  kept.erase(
      std::remove_if(kept.begin(), kept.end(),
                     [&](const Change& change) { return change.event.paramID == event.paramID; }),
      kept.end());
  kept.push_back({event, stream});
}

bool QueueConnections::Announce(const XCONFIGMGR_RESPONSE_T& change, const std::string& stream) {
  // A text that no message holds is not announced: the client would learn nothing from the rest.
  if (sizeof change + stream.size() > PosixMQFactory::kMessageSize) return false;
  const std::lock_guard<std::mutex> lock(_mutex);
  bool kept = false;
  XCONFIGMGR_RESPONSE_T event = change;
  for (auto& [id, connection] : _connections) {
    if (!connection.listening) continue;
    event.connectionID = id;
    event.priority = connection.priority;
    if (connection.kept.empty() && HasRoom(connection) &&
        Send(connection.queue, connection.priority, event, stream) != EAGAIN) {
      continue;
    }
    Keep(connection, event, stream);
    kept = true;
  }
  return kept;
}

QueueConnections::Kept QueueConnections::Flush(std::vector<std::string>& lines) {
  const std::lock_guard<std::mutex> lock(_mutex);
  bool sent = false;
  bool kept = false;
  for (auto& [id, connection] : _connections) {
    if (connection.kept.empty()) continue;
    sent |= SendKept(connection);
    if (connection.kept.empty()) continue;
    kept = true;
    if (connection.named || Clock::now() - connection.read < kSlow) continue;
    const long process = FindProcess(id);
    if (process == 0) continue;
    connection.named = true;
    ++_slowClients;
    lines.push_back("configd: " + ProgramName(process) + " (" + std::to_string(process) +
                    ") does not read its message queue " + ConnectionUtilities::GetQueueName(id) +
                    " and hears only the latest changes when it does; clients so far: " +
                    std::to_string(_slowClients));
  }
  if (!kept) return Kept::kNothing;
  return sent ? Kept::kLess : Kept::kAsMuch;
}

void QueueConnections::Sweep() {
  const std::lock_guard<std::mutex> lock(_mutex);
  for (auto next = _connections.begin(); next != _connections.end();) {
    if (FindProcess(next->first) != 0) {
      ++next;
      continue;
    }
    ::mq_close(next->second.queue);
    ::mq_unlink(ConnectionUtilities::GetQueueName(next->first).c_str());
    next = _connections.erase(next);
  }
}
