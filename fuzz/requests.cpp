// What a server and the daemon take from their clients.
#include <sys/socket.h>

#include <cstring>

#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/queue/QueueRequests.h"
#include "libconfig/network/NetworkTCPConnection.h"
#include "libconfig/network/NetworkUDPConnection.h"
#include "libconfig/network/Socket.h"

namespace {

using namespace qel::vorlane::config::access;
using fuzz::Bytes;

constexpr size_t kConfigID = 12;  // where a request has it
constexpr uint32_t kConfigs = 3;

// Of configurations the first few alone, which exist: others make stores that take their time. A
// stream may connect anywhere in a piece.
void Limit(Bytes& message) {
  message.reserve(sizeof(uint32_t));  // callers have a buffer for an empty one, too
  for (size_t at = 0; at + kConfigID + sizeof(uint32_t) <= message.size(); ++at) {
    uint32_t type;
    std::memcpy(&type, message.data() + at, sizeof type);
    if (at > 0 && type != XCFG_CONNECT_REQUEST) continue;
    uint32_t configID;
    std::memcpy(&configID, message.data() + at + kConfigID, sizeof configID);
    configID %= kConfigs;
    std::memcpy(message.data() + at + kConfigID, &configID, sizeof configID);
  }
}

std::deque<Bytes> Messages(const uint8_t* data, size_t size) {
  static const bool stores = [] {
    for (uint32_t i = 0; i < kConfigs; ++i) {
      const std::string uri = "local:configid=" + std::to_string(i);
      fuzz::Require(ConfigFactoryImpl::GetInstance()->Connect(uri) != nullptr);
    }
    return true;
  }();
  fuzz::Require(stores);
  std::deque<Bytes> messages = fuzz::Split(data, size);
  for (Bytes& message : messages) Limit(message);
  return messages;
}

}  // namespace

void TcpRequests(const uint8_t* data, size_t size) {
  fuzz::Peer::Instance().messages = Messages(data, size);
  auto* const socket = new Socket(AF_UNIX, SOCK_STREAM);
  fuzz::Require(socket->create() != 0);
  NetworkTCPConnection(socket).Run();
}

void UdpRequests(const uint8_t* data, size_t size) {
  Socket socket(AF_INET, SOCK_DGRAM);
  NetworkUDPConnection server(&socket);
  for (Bytes& message : Messages(data, size)) {
    sockaddr_in from = {};
    server.ProcessMessages(message.data(), static_cast<int>(message.size()), from);
  }
}

void QueueRequests(const uint8_t* data, size_t size) {
  qel::config::QueueRequests requests([] {});
  requests.Start();
  for (Bytes& message : Messages(data, size)) {
    requests.Process(message.data(), message.size());
    requests.GetPeers().Flush({});
  }
}
