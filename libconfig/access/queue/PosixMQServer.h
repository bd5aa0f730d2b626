// Serves the stores of this process over POSIX message queues: requests come in on one queue, and
// each client has a queue of its own for the answers and the changes. PosixMQFactory is the other
// end.
//
//   PosixMQServer server("/recorder");
//   if (server.Open() != PosixMQServer::Opened::kYes || !server.Start()) return false;
//
// The request queue is locked as long as its server exists, so that there is one server a queue,
// and a queue whose server died is taken over. Nothing here waits for a client: one that does not
// read hears only the latest change of each parameter when it does. Queues of clients that died are
// removed. The system has to grant the queues: see PosixMQFactory.
//
// Made, opened, started and destroyed by one thread at a time. Two threads of its own serve, which
// take no signals.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/base/Export.h"

class LIBCONFIG_API PosixMQServer {
 public:
  enum class Opened {
    kYes,
    kTaken,        // another server has the queue
    kUnavailable,  // the reason is in errno
  };

  // Called once for each client that has stopped reading: the program, its process number and the
  // name of its queue. On a thread of the server; it must not wait for long.
  using OnSlowClient = std::function<void(const std::string&, long, const std::string&)>;

  explicit PosixMQServer(std::string name = PosixMQFactory::kRequestQueue,
                         OnSlowClient onSlowClient = nullptr);
  // Ends the threads and removes the queue.
  ~PosixMQServer();
  PosixMQServer(const PosixMQServer&) = delete;
  PosixMQServer& operator=(const PosixMQServer&) = delete;

  // Makes the queue, and raises this process's limit for queues as far as it may. Requests that
  // come in from here on wait for Start.
  Opened Open();
  // False, with the reason in errno, when there can be no threads. REQUIRES: open.
  bool Start();

  // How long its thread has been at one request; 0 while it waits for the next. Any thread.
  std::chrono::milliseconds GetBusyTime() const;

 private:
  class Service;
  const std::unique_ptr<Service> _service;
};
