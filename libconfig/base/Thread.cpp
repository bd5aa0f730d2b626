#include "libconfig/base/Thread.h"

#include <limits.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>

namespace qel::config {

int StartThread(pthread_t* thread, ThreadKind kind, std::size_t stackSize, void* (*entry)(void*),
                void* argument) {
  pthread_attr_t attributes;
  int error = ::pthread_attr_init(&attributes);
  if (error == 0) {
    if (kind == ThreadKind::kDetached) {
      ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    }
    if (stackSize != 0) {
      // What a thread needs at least differs between machines.
      ::pthread_attr_setstacksize(&attributes,
                                  std::max(stackSize, static_cast<std::size_t>(PTHREAD_STACK_MIN)));
    }
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t unused;
    error = ::pthread_create(thread != nullptr ? thread : &unused, &attributes, entry, argument);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::pthread_attr_destroy(&attributes);
  }
  if (error != 0) errno = error;
  return error;
}

}  // namespace qel::config
