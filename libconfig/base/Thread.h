// Starts the library's threads. Internal.
#pragma once

#include <cxxabi.h>
#include <pthread.h>

#include <cstddef>

namespace qel::config {

enum class ThreadKind { kJoinable, kDetached };

// Runs `entry(argument)` on a new thread that blocks all signals: the program handles them. A
// stack of 0 is the system's default. Returns 0, or the error number of pthread_create, which is in
// errno too; `thread` may be null for a detached one.
int StartThread(pthread_t* thread, ThreadKind kind, std::size_t stackSize, void* (*entry)(void*),
                void* argument);

// Runs what must not end the process: no exception gets out but that of the thread's cancellation.
// False when there was one.
template <typename Body>
bool RunGuarded(Body body) {
  try {
    body();
    return true;
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return false;
  }
}

}  // namespace qel::config
