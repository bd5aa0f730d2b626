#include "libconfig/values/SemaphoreHelper.h"

#include <cerrno>

#include "libconfig/base/Diagnostics.h"

using qel::config::ReportErrno;

Semaphore::Semaphore() { SemaphoreHelper::Init(&_semaphore); }

Semaphore::~Semaphore() { SemaphoreHelper::Destroy(&_semaphore); }

SemaphoreHelper::SemaphoreHelper(sem_t* semaphore) : _semaphore(semaphore) {
  if (_semaphore == nullptr) return;
  Wait(_semaphore);
  _held = true;
}

SemaphoreHelper::~SemaphoreHelper() {
  if (_held) Post(_semaphore);
}

void SemaphoreHelper::Init(sem_t* semaphore) {
  if (::sem_init(semaphore, 0, 1) != 0) ReportErrno("SemaphoreHelper::Init - failed\n");
}

void SemaphoreHelper::Destroy(sem_t* semaphore) {
  if (::sem_destroy(semaphore) != 0) ReportErrno("SemaphoreHelper::Destroy - failed\n");
}

void SemaphoreHelper::Wait(sem_t* semaphore) {
  while (::sem_wait(semaphore) != 0) {
    if (errno == EINTR) continue;
    ReportErrno("Semaphore(): call to sem_wait failed\n");
    return;
  }
}

void SemaphoreHelper::Post(sem_t* semaphore) {
  if (::sem_post(semaphore) != 0) ReportErrno("SemaphoreHelper::~SemaphoreHelper failed to post\n");
}
