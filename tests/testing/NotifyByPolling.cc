// Notifications of message queues by a thread that polls, in the place of the system's own: for
// ThreadSanitizer, which ends with a fault on each thread that the system starts, and for user-mode
// emulation, which has no notifications. Linked with --wrap for the five calls, there and nowhere
// else.
//
// A notification is for a message that comes into an empty queue. Whether it was empty since the
// notification was asked for shows in a receive that found nothing, which every reader of ours ends
// with.
//
// ThreadSanitizer knows that what is written to a pipe or a socket happens before it is read. Of
// queues it is told here.
#include <mqueue.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

extern "C" {
[[gnu::weak]] void __tsan_acquire(void* address);
[[gnu::weak]] void __tsan_release(void* address);

int __real_mq_send(mqd_t queue, const char* message, size_t length, unsigned priority);
int __real_mq_timedsend(mqd_t queue, const char* message, size_t length, unsigned priority,
                        const timespec* end);
ssize_t __real_mq_receive(mqd_t queue, char* buffer, size_t size, unsigned* priority);
ssize_t __real_mq_timedreceive(mqd_t queue, char* buffer, size_t size, unsigned* priority,
                               const timespec* end);

int __wrap_mq_notify(mqd_t queue, const sigevent* event);
int __wrap_mq_send(mqd_t queue, const char* message, size_t length, unsigned priority);
int __wrap_mq_timedsend(mqd_t queue, const char* message, size_t length, unsigned priority,
                        const timespec* end);
ssize_t __wrap_mq_receive(mqd_t queue, char* buffer, size_t size, unsigned* priority);
ssize_t __wrap_mq_timedreceive(mqd_t queue, char* buffer, size_t size, unsigned* priority,
                               const timespec* end);
}

namespace {

constexpr std::chrono::milliseconds kStep(1);

struct Registration {
  std::atomic<bool> stop{false};
  std::atomic<bool> emptied{false};
  std::atomic<bool> left{false};  // nobody polls the queue any more
};

std::mutex& RegistrationsMutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

std::map<mqd_t, std::shared_ptr<Registration>>& Registrations() {
  static auto* const registrations = new std::map<mqd_t, std::shared_ptr<Registration>>;
  return *registrations;
}

void Watch(mqd_t queue, std::shared_ptr<Registration> registration, sigevent event) {
  pollfd wanted = {queue, POLLIN, 0};
  while (!registration->stop) {
    if (!registration->emptied) {
      std::this_thread::sleep_for(kStep);
    } else if (::poll(&wanted, 1, kStep.count()) == 1) {
      break;
    }
  }
  registration->left = true;
  {
    const std::lock_guard<std::mutex> lock(RegistrationsMutex());
    const auto found = Registrations().find(queue);
    if (found == Registrations().end() || found->second != registration) return;
    Registrations().erase(found);
  }
  event.sigev_notify_function(event.sigev_value);
}

// Something that stands for the queue, through whichever descriptor it was opened.
void* PlaceOf(mqd_t queue) {
  static char places[4096];
  struct stat status = {};
  ::fstat(queue, &status);
  return &places[status.st_ino % sizeof places];
}

void Sending(mqd_t queue) {
  if (__tsan_release != nullptr) __tsan_release(PlaceOf(queue));
}

ssize_t Received(mqd_t queue, ssize_t length) {
  const int saved = errno;
  if (length >= 0) {
    if (__tsan_acquire != nullptr) __tsan_acquire(PlaceOf(queue));
  } else if (errno == EAGAIN || errno == ETIMEDOUT) {
    const std::lock_guard<std::mutex> lock(RegistrationsMutex());
    const auto found = Registrations().find(queue);
    if (found != Registrations().end()) found->second->emptied = true;
  }
  errno = saved;
  return length;
}

}  // namespace

extern "C" {

int __real_mq_notify(mqd_t queue, const sigevent* event);

int __wrap_mq_notify(mqd_t queue, const sigevent* event) {
#ifdef PREFER_SYSTEM_NOTIFICATIONS
  if (__real_mq_notify(queue, event) == 0) return 0;
  if (errno != ENOSYS) return -1;
#endif
  std::unique_lock<std::mutex> lock(RegistrationsMutex());
  const auto found = Registrations().find(queue);
  if (event == nullptr) {
    if (found == Registrations().end()) return 0;
    const std::shared_ptr<Registration> registration = found->second;
    registration->stop = true;
    Registrations().erase(found);
    lock.unlock();
    // Who polls a queue keeps it, and its part of the user's limit, also when it is closed.
    while (!registration->left) std::this_thread::sleep_for(kStep);
    return 0;
  }
  if (found != Registrations().end()) {
    errno = EBUSY;
    return -1;
  }
  mq_attr attributes;
  if (::mq_getattr(queue, &attributes) != 0) return -1;
  auto registration = std::make_shared<Registration>();
  registration->emptied = attributes.mq_curmsgs == 0;
  Registrations()[queue] = registration;
  std::thread(Watch, queue, registration, *event).detach();
  return 0;
}

int __wrap_mq_send(mqd_t queue, const char* message, size_t length, unsigned priority) {
  Sending(queue);
  return __real_mq_send(queue, message, length, priority);
}

int __wrap_mq_timedsend(mqd_t queue, const char* message, size_t length, unsigned priority,
                        const timespec* end) {
  Sending(queue);
  return __real_mq_timedsend(queue, message, length, priority, end);
}

ssize_t __wrap_mq_receive(mqd_t queue, char* buffer, size_t size, unsigned* priority) {
  return Received(queue, __real_mq_receive(queue, buffer, size, priority));
}

ssize_t __wrap_mq_timedreceive(mqd_t queue, char* buffer, size_t size, unsigned* priority,
                               const timespec* end) {
  return Received(queue, __real_mq_timedreceive(queue, buffer, size, priority, end));
}

}  // extern "C"
