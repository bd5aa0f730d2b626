// Semaphores used as mutexes. A failure of the system's semaphore operations is reported, and the
// operation goes on as if it had succeeded.
//
//   Semaphore semaphore;
//   const SemaphoreHelper guard(semaphore);  // held until the end of the block
#pragma once

#include <semaphore.h>

#include "libconfig/base/Export.h"
#include "libconfig/base/ThreadAnnotations.h"

// A process-private semaphore with the initial count 1. Not recursive.
class LIBCONFIG_API LIBCONFIG_CAPABILITY("semaphore") Semaphore {
 public:
  Semaphore();
  ~Semaphore();
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  sem_t* Get() { return &_semaphore; }

 private:
  sem_t _semaphore;
};

// Holds a semaphore from construction to destruction; a null one is nothing to hold.
class LIBCONFIG_API LIBCONFIG_SCOPED_CAPABILITY SemaphoreHelper {
 public:
  explicit SemaphoreHelper(Semaphore& semaphore) LIBCONFIG_ACQUIRE(semaphore)
      : SemaphoreHelper(semaphore.Get()) {}
  explicit SemaphoreHelper(sem_t* semaphore);
  ~SemaphoreHelper() LIBCONFIG_RELEASE();
  SemaphoreHelper(const SemaphoreHelper&) = delete;
  SemaphoreHelper& operator=(const SemaphoreHelper&) = delete;

  static void Init(sem_t* semaphore);
  static void Destroy(sem_t* semaphore);
  static void Wait(sem_t* semaphore);
  static void Post(sem_t* semaphore);

 private:
  sem_t* const _semaphore;
  bool _held = false;
};
