#include "bench/Readers.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "bench/Machine.h"

namespace bench {

Readers::Readers(std::vector<Stream> streams, int core)
    : _streams(std::move(streams)), _poll(::epoll_create1(EPOLL_CLOEXEC)), _end(::eventfd(0, 0)) {
  const auto watch = [this](int fd) {
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = fd;
    ::epoll_ctl(_poll, EPOLL_CTL_ADD, fd, &event);
  };
  watch(_end);
  for (const Stream& stream : _streams) watch(stream.fd());
  const Pinned pinned(core);
  _thread = std::thread([this] { Run(); });
}

Readers::~Readers() {
  ::eventfd_write(_end, 1);
  _thread.join();
  ::close(_end);
  ::close(_poll);
}

void Readers::Run() {
  std::vector<char> bytes(64 * 1024);
  epoll_event events[128];
  for (;;) {
    const int ready = ::epoll_wait(_poll, events, 128, -1);
    for (int i = 0; i < ready; ++i) {
      if (events[i].data.fd == _end) return;
      const ssize_t count = ::recv(events[i].data.fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
      if (count == 0) ::epoll_ctl(_poll, EPOLL_CTL_DEL, events[i].data.fd, nullptr);
      if (count > 0) _received.fetch_add(static_cast<std::size_t>(count));
    }
  }
}

void Readers::Await(std::size_t bytes) {
  _awaited += bytes;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (_received < _awaited) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("events are missing");
    std::this_thread::yield();
  }
}

}  // namespace bench
