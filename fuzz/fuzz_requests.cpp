// Datagrams, and messages of a queue: the first byte tells which, and whether they are what stands
// there or records of the table. Nobody is there to be answered.
#include <sys/socket.h>

#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/queue/QueueRequests.h"
#include "libconfig/network/NetworkUDPConnection.h"
#include "libconfig/network/Socket.h"

namespace {

// Of configurations the first few alone, as the others make stores that take their time.
constexpr size_t kConfigID = 3;

void Limit(std::vector<char>& message) {
  uint32_t words[4] = {};
  if (message.size() < sizeof words) return;
  std::memcpy(words, message.data(), sizeof words);
  words[kConfigID] %= 3;
  std::memcpy(message.data(), words, sizeof words);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
  Require(store != nullptr);
  if (size == 0) return 0;
  const uint8_t kind = data[0];
  ++data;
  --size;

  Socket unconnected(AF_INET, SOCK_DGRAM);
  qel::vorlane::config::access::NetworkUDPConnection datagrams(&unconnected);
  qel::config::QueueRequests requests([] {});
  while (size > 0) {
    const bool isQueue = (kind & 1) != 0;
    std::vector<char> message;
    if ((kind & 2) != 0) {
      message.assign(data, data + size);
      size = 0;
    } else if (isQueue) {
      message = NextRecord(&qel::config::MessageType::queue, data, size);
    } else {
      message = NextRecord(&qel::config::MessageType::network, data, size);
    }
    Limit(message);
    if (isQueue) {
      requests.Process(message.data(), message.size());
    } else {
      sockaddr_in from = {};
      datagrams.ProcessMessages(message.data(), static_cast<int>(message.size()), from);
    }
  }
  return 0;
}
