// Connects to the main daemon of this device over POSIX message queues. The daemon owns the request
// queue "/corewheel"; each connection has a response queue of its own, "/mqd_PID_NUMBER", where
// NUMBER is the next that no living client has. Daemon and clients run as the same user.
//
// Queues hold 128 messages of 512 bytes. The system grants that when fs.mqueue.msg_max is 128 or
// more, and RLIMIT_MSGQUEUE as long as all queues of one user fit into it, at 77 KiB each: ten of
// them in the usual 819200 bytes.
//
// Connecting and disconnecting is one thread's business at a time. The factory outlives its
// clients.
#pragma once

#include <mqueue.h>

#include <chrono>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/values/SemaphoreHelper.h"

class PosixMQClient;

class LIBCONFIG_API PosixMQFactory {
 public:
  static constexpr char kRequestQueue[] = "/corewheel";
  static constexpr long kMessages = 128;
  static constexpr long kMessageSize = 512;
  static constexpr mode_t kMode = 0770;

  // Opens the daemon's request queue. Where that fails the process ends, with exit status 255 and a
  // message: Open is for those who would rather go on.
  PosixMQFactory();
  // The same with a daemon whose request queue has another name.
  explicit PosixMQFactory(const std::string& requestQueue);
  // Null, without a message and with the reason in errno, where the queue cannot be opened.
  static std::unique_ptr<PosixMQFactory> Open(const std::string& requestQueue = kRequestQueue);
  PosixMQFactory(const PosixMQFactory&) = delete;
  PosixMQFactory& operator=(const PosixMQFactory&) = delete;
  // Leaves the request queue open.
  ~PosixMQFactory();

  // How long a handshake may take, and an exchange of the clients that are made from now on. 60
  // seconds until it is called.
  void SetPatience(std::chrono::milliseconds patience);

  // A connection with configuration 0, the caller's until it goes back to Disconnect. Null, with a
  // message and the reason in errno, when the response queue cannot be had or the daemon does not
  // accept it in time. Of `uri` only "priority=" counts: see GetPriority. A daemon that was started
  // anew is found again.
  PosixMQClient* Connect(std::string uri);

  // Takes leave of the daemon, removes the response queue and deletes the client, also from inside
  // a listener's call. What other threads are doing with the client fails, and has ended when this
  // returns. A pointer that is no living client is ignored.
  void Disconnect(PosixMQClient* client);

  // The handshakes alone: non-zero when the daemon agreed.
  int ConfirmConnection(int requestQueue, int responseQueue, unsigned int connectionID,
                        unsigned int priority);
  int ConfirmDisconnect(PosixMQClient* client);

 private:
  PosixMQFactory(const std::string& requestQueue, mqd_t descriptor);

  void FindNewDaemon();
  void CloseLeftOpen();
  void ResetSemaphore();
  unsigned int NextRequestID();

  Semaphore _connectionSemaphore;
  mqd_t _requestQueue = -1;
  int _requestCounter = 0;
  unsigned int _connectionCounter = 0;

  const std::string _requestQueueName;
  mqd_t _leftOpen = -1;  // of a handshake that failed
  std::chrono::milliseconds _patience;
};

// 10 for a URI with "priority=" in it, whatever follows; else 0.
LIBCONFIG_API int GetPriority(std::string uri);
