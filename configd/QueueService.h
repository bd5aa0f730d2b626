// Serves the stores over POSIX message queues: requests come in on one queue, and each client has a
// queue of its own for the answers and the changes. Optional: where the system does not grant the
// queue the daemon does without.
//
// The queue is locked as long as its daemon lives, and taken over by the next one when that died.
#pragma once

#include <mqueue.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "configd/QueueConnections.h"
#include "configd/QueueStore.h"
#include "libconfig/libconfig.h"

class QueueService {
 public:
  enum class Opened {
    kYes,
    kUnavailable,  // one line on standard error says what to set
    kTaken,        // one line says that another daemon serves it
  };

  explicit QueueService(std::string name);
  // Removes the queue.
  ~QueueService();
  QueueService(const QueueService&) = delete;
  QueueService& operator=(const QueueService&) = delete;

  Opened Open();
  // REQUIRES: open, and signals blocked, as the thread that this starts takes none.
  void Start();

 private:
  int OpenOnce();
  void Wake();
  void Run();
  void Handle(const std::string& message);
  void HandleParam(const XCONFIGMGR_REQUEST_T& request, const std::string& stream, bool cut);
  QueueStore* FindStore(uint32_t configID);
  void Sweep();

  const std::string _name;
  mqd_t _queue = -1;
  QueueConnections _connections;
  std::map<uint32_t, std::unique_ptr<QueueStore>> _stores;  // of the thread
  std::atomic<bool> _stop{false};
  std::atomic<bool> _sweep{false};
  std::thread _thread;
};
