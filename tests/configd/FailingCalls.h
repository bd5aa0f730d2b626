// The system calls that save a file, made to fail or to be the process's last, one after the other.
// They are put between the daemon's code and the system by the linker.
#pragma once

namespace testing_support {

enum class Failure {
  kError,  // the call fails with EIO and does nothing
  kDeath,  // the process ends instead of the call
  kTorn,   // a write does half of its work, and the process ends; as kDeath for all others
};

// From now on the call number `index`, counted from 0, fails, and every call is counted.
void FailCall(int index, Failure failure);
// Since FailCall.
int GetCallCount();

constexpr int kDied = 77;  // the exit status of a process that ended instead of a call

}  // namespace testing_support
