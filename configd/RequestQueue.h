// The queue that the daemon's requests come in on. It is locked as long as its daemon lives, and
// taken over by the next one when that died.
#pragma once

#include <mqueue.h>

#include <string>

class RequestQueue {
 public:
  enum class Opened {
    kYes,
    kUnavailable,  // one line on standard error says what to set
    kTaken,        // one line says that another daemon serves it
  };

  explicit RequestQueue(std::string name);
  // Removes the queue.
  ~RequestQueue();
  RequestQueue(const RequestQueue&) = delete;
  RequestQueue& operator=(const RequestQueue&) = delete;

  Opened Open();
  // Waits for the next request. False when somebody called Wake instead. REQUIRES: open.
  bool Receive(std::string& request);
  void Wake();

 private:
  int OpenOnce();

  const std::string _name;
  mqd_t _queue = -1;
};
