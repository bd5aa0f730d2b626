// What the server of the message queues makes of its requests: connections, reads and changes of
// the stores of this process, and the announcement of every change of the default one. Internal.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/access/queue/QueuePeers.h"

namespace qel::config {

class QueueRequests {
 public:
  // `onKept` is called, on the thread that makes the change and with the store's listeners held,
  // when a change has to be kept for a client: GetPeers().Flush is to be called some time later.
  explicit QueueRequests(std::function<void()> onKept);
  ~QueueRequests();
  QueueRequests(const QueueRequests&) = delete;
  QueueRequests& operator=(const QueueRequests&) = delete;

  // Connects to the default store. From here on its changes are announced.
  void Start();
  // One message, which answering a Set String may change. What is no whole request is dropped. One
  // thread at a time.
  void Process(char* message, std::size_t length);

  QueuePeers& GetPeers() { return _peers; }

 private:
  class Store;

  void ProcessParam(const XCONFIGMGR_REQUEST_T& request, char* stream, std::size_t length);
  Store* FindStore(uint32_t configID);

  const std::function<void()> _onKept;
  QueuePeers _peers;
  std::map<uint32_t, std::unique_ptr<Store>> _stores;  // by configuration number
};

}  // namespace qel::config
