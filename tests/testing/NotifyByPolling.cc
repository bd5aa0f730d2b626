// Notifications of message queues by a thread that polls, in the place of the system's own: for
// ThreadSanitizer, which ends with a fault on each thread that the system starts, and for user-mode
// emulation, which has no notifications. Linked with --wrap=mq_notify, there and nowhere else.
#include <mqueue.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace {

struct Registration {
  Registration() : stop(::eventfd(0, EFD_CLOEXEC)) {}
  ~Registration() { ::close(stop); }
  const int stop;
};

std::mutex& RegistrationsMutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

std::map<mqd_t, std::shared_ptr<Registration>>& Registrations() {
  static auto* const registrations = new std::map<mqd_t, std::shared_ptr<Registration>>;
  return *registrations;
}

// A message that was there before is no reason to notify.
bool WaitUntilEmpty(mqd_t queue, const Registration& registration) {
  for (;;) {
    mq_attr attributes;
    if (::mq_getattr(queue, &attributes) != 0 || attributes.mq_curmsgs == 0) return true;
    pollfd stop = {registration.stop, POLLIN, 0};
    if (::poll(&stop, 1, 1) == 1) return false;
  }
}

void Watch(mqd_t queue, std::shared_ptr<Registration> registration, sigevent event, bool waiting) {
  if (waiting && !WaitUntilEmpty(queue, *registration)) return;
  pollfd wanted[] = {{queue, POLLIN, 0}, {registration->stop, POLLIN, 0}};
  while (::poll(wanted, 2, -1) < 0 && errno == EINTR) {
  }
  {
    const std::lock_guard<std::mutex> lock(RegistrationsMutex());
    const auto found = Registrations().find(queue);
    if (found == Registrations().end() || found->second != registration) return;
    Registrations().erase(found);
  }
  if (wanted[1].revents == 0) event.sigev_notify_function(event.sigev_value);
}

}  // namespace

extern "C" int __wrap_mq_notify(mqd_t queue, const sigevent* event);

extern "C" int __wrap_mq_notify(mqd_t queue, const sigevent* event) {
  const std::lock_guard<std::mutex> lock(RegistrationsMutex());
  const auto found = Registrations().find(queue);
  if (event == nullptr) {
    if (found == Registrations().end()) return 0;
    const std::uint64_t one = 1;
    if (::write(found->second->stop, &one, sizeof one) < 0) return -1;
    Registrations().erase(found);
    return 0;
  }
  if (found != Registrations().end()) {
    errno = EBUSY;
    return -1;
  }
  mq_attr attributes;
  if (::mq_getattr(queue, &attributes) != 0) return -1;
  auto registration = std::make_shared<Registration>();
  Registrations()[queue] = registration;
  std::thread(Watch, queue, registration, *event, attributes.mq_curmsgs > 0).detach();
  return 0;
}
