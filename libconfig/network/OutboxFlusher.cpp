#include "libconfig/network/OutboxFlusher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

#include "libconfig/base/Limits.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/Outbox.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;

OutboxFlusher& OutboxFlusher::Instance() {
  static auto* const flusher = new OutboxFlusher;
  return *flusher;
}

bool OutboxFlusher::Watch(std::shared_ptr<Outbox> outbox) {
  MutexLock lock(_mutex);
  if (!_running && !Start()) return false;
  _arriving.push_back(std::move(outbox));
  const uint64_t one = 1;
  // A full counter wakes the thread as well.
  [[maybe_unused]] const ssize_t written = ::write(_wake, &one, sizeof one);
  return true;
}

bool OutboxFlusher::Start() {
  if (_wake == -1) _wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (_wake == -1) return false;
  _running =
      qel::config::StartThread(nullptr, qel::config::ThreadKind::kDetached,
                               qel::config::limits::kPeerThreadStack, ThreadEntry, this) == 0;
  return _running;
}

void* OutboxFlusher::ThreadEntry(void* flusher) {
  static_cast<OutboxFlusher*>(flusher)->Run();
  return nullptr;
}

void OutboxFlusher::Run() {
  std::vector<std::shared_ptr<Outbox>> slow;
  std::vector<pollfd> wanted;
  for (;;) {
    {
      MutexLock lock(_mutex);
      for (auto& outbox : _arriving) slow.push_back(std::move(outbox));
      _arriving.clear();
    }
    wanted.assign(1, {_wake, POLLIN, 0});
    for (const auto& outbox : slow) wanted.push_back({outbox->Descriptor(), POLLOUT, 0});
    // A poll that fails for want of memory is tried again like one that found something.
    if (::poll(wanted.data(), wanted.size(), -1) < 0) continue;
    uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(_wake, &count, sizeof count);

    std::vector<std::shared_ptr<Outbox>> still;
    for (std::size_t i = 0; i < slow.size(); ++i) {
      // A closed outbox has no descriptor, and poll says nothing of it.
      const bool ready = wanted[i + 1].revents != 0 || wanted[i + 1].fd == -1;
      if (!ready || !slow[i]->Flush()) still.push_back(std::move(slow[i]));
    }
    slow = std::move(still);
  }
}

}  // namespace qel::vorlane::config::access
