// Serves the stores over POSIX message queues: requests come in on one queue, and each client has a
// queue of its own for the answers and the changes. Optional: where the system does not grant the
// queue the daemon does without.
#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "configd/QueueConnections.h"
#include "configd/QueueStore.h"
#include "configd/RequestQueue.h"
#include "libconfig/libconfig.h"

class QueueService {
 public:
  explicit QueueService(std::string name);
  ~QueueService();
  QueueService(const QueueService&) = delete;
  QueueService& operator=(const QueueService&) = delete;

  RequestQueue::Opened Open() { return _queue.Open(); }
  // REQUIRES: open, and signals blocked, as the threads that this starts take none.
  void Start();

 private:
  void Run();
  void LookAfterClients();
  void Handle(const std::string& message);
  void HandleParam(const XCONFIGMGR_REQUEST_T& request, const std::string& stream, bool cut);
  QueueStore* FindStore(uint32_t configID);

  RequestQueue _queue;
  QueueConnections _connections;
  std::map<uint32_t, std::unique_ptr<QueueStore>> _stores;  // of the thread
  std::mutex _mutex;
  std::condition_variable _changed;  // one of the next three
  std::atomic<bool> _stop{false};
  bool _ended = false;  // the thread that receives
  bool _kept = false;   // there are changes that clients have no room for
  std::thread _thread;
  std::thread _helper;
};
