// What ends a command early: the exit status and the one line that tells the user what to do.
#pragma once

#include <stdexcept>
#include <string>

namespace configctl {

// Exit statuses, and the "code" of an error in JSON. Do not renumber: scripts go by them.
enum class Status : int {
  kDone = 0,
  kRefused = 1,  // or not found
  kUsage = 2,
  kNoConnection = 3,
  kTimeout = 4,
};

class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& message)
      : std::runtime_error(message), _status(status) {}

  Status GetStatus() const { return _status; }

 private:
  const Status _status;
};

}  // namespace configctl
