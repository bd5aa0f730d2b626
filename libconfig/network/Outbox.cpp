#include "libconfig/network/Outbox.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <iterator>
#include <new>
#include <thread>
#include <utility>

#include "libconfig/base/Limits.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using namespace qel::config;
using limits::kOutbox;

namespace {

// Room that an empty outbox keeps for the records to come.
constexpr std::size_t kKeptRoom = std::size_t{64} * 1024;

constexpr int kNoLimit = -1;

// How long a record may wait for those of the requests behind it.
constexpr std::chrono::milliseconds kLongestWait(5);

constexpr std::chrono::milliseconds kPauseWithoutMemory(10);

thread_local FlushBatch* t_batch = nullptr;

// Empties the outboxes whose peers were slow, as soon as they read on. One thread for the process,
// started when an outbox first needs it and never ended.
class OutboxFlusher {
 public:
  // Never destroyed.
  static OutboxFlusher& Instance() {
    alignas(OutboxFlusher) static unsigned char place[sizeof(OutboxFlusher)];
    static auto* const flusher = new (place) OutboxFlusher;  // also where there is no memory
    return *flusher;
  }

  // False when there can be no thread.
  bool Watch(std::shared_ptr<Outbox> outbox) {
    MutexLock lock(_mutex);
    if (!_running && !Start()) return false;
    try {
      _arriving.push_back(std::move(outbox));
    } catch (const std::bad_alloc&) {
      return false;
    }
    const uint64_t one = 1;
    // A full counter wakes the thread as well.
    [[maybe_unused]] const ssize_t written = ::write(_wake, &one, sizeof one);
    return true;
  }

 private:
  OutboxFlusher() = default;

  bool Start() LIBCONFIG_REQUIRES(_mutex) {
    if (_wake == -1) _wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (_wake == -1) return false;
    _running = qel::config::StartThread(nullptr, ThreadKind::kDetached, limits::kPeerThreadStack,
                                        Run, this) == 0;
    return _running;
  }

  static void* Run(void* flusher) {
    for (;;) {
      try {
        static_cast<OutboxFlusher*>(flusher)->Serve();
      } catch (const std::bad_alloc&) {
        std::this_thread::sleep_for(kPauseWithoutMemory);
      }
    }
  }

  // Waits until an outbox can be flushed, or new ones arrive.
  void Serve() {
    {
      MutexLock lock(_mutex);
      _slow.insert(_slow.end(), std::make_move_iterator(_arriving.begin()),
                   std::make_move_iterator(_arriving.end()));
      _arriving.clear();
    }
    std::vector<pollfd> wanted = {{_wake, POLLIN, 0}};
    for (const auto& outbox : _slow) wanted.push_back({outbox->Descriptor(), POLLOUT, 0});
    // A poll that fails for want of memory is retried like one that found something.
    if (::poll(wanted.data(), wanted.size(), -1) < 0) return;
    uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(_wake, &count, sizeof count);

    std::size_t kept = 0;
    for (std::size_t i = 0; i < _slow.size(); ++i) {
      // A closed outbox has no descriptor, and poll says nothing of it.
      const bool ready = wanted[i + 1].revents != 0 || wanted[i + 1].fd == -1;
      if (!ready || !_slow[i]->Flush()) std::swap(_slow[kept++], _slow[i]);
    }
    _slow.resize(kept);
  }

  Mutex _mutex;
  bool _running LIBCONFIG_GUARDED_BY(_mutex) = false;
  std::vector<std::shared_ptr<Outbox>> _arriving LIBCONFIG_GUARDED_BY(_mutex);
  std::vector<std::shared_ptr<Outbox>> _slow;  // of the thread
  int _wake = -1;                              // an eventfd, open once the thread runs
};

}  // namespace

Outbox::Put Outbox::PutRecord(const void* data, std::size_t length) {
  const char* const bytes = static_cast<const char*>(data);
  MutexLock lock(_mutex);
  if (_socket == nullptr) return Put::kGone;
  const auto fits = [&]() LIBCONFIG_REQUIRES(_mutex) {
    return Waiting() == 0 || Waiting() + length <= kOutbox;
  };
  if (!fits()) FlushLocked();
  if (_socket == nullptr) return Put::kGone;
  if (!fits()) return Put::kFull;
  FlushBatch* batch = FlushBatch::Current();
  if (batch != nullptr && !batch->IsGathering()) batch = nullptr;
  std::size_t sent = 0;
  if (batch == nullptr && Waiting() == 0 && length <= kKeptRoom) {
    // Nothing is queued ahead of it: send without copying. Reserve room for the rest first, as half
    // a record must not be lost for want of memory.
    _bytes.reserve(length);
    sent = SendSome(bytes, length);
    if (_socket == nullptr) return Put::kGone;
    if (sent == length) return Put::kTaken;
  }
  _bytes.insert(_bytes.end(), bytes + sent, bytes + length);
  if (batch == nullptr) {
    if (!_withFlusher) FlushLocked();
    return _socket == nullptr ? Put::kGone : Put::kTaken;
  }
  if (!_batched) {
    _batched = true;
    batch->Add(shared_from_this());
  }
  return Put::kTaken;
}

bool Outbox::PutAnswer(const void* data, std::size_t length) {
  Put put;
  while ((put = PutRecord(data, length)) == Put::kFull) {
    if (!WaitUntilAtMost(0, kNoLimit)) return false;
  }
  return put == Put::kTaken;
}

bool Outbox::WaitForRoom() { return WaitUntilAtMost(kOutbox / 2, kNoLimit); }

bool Outbox::Drain(int milliseconds) { return WaitUntilAtMost(0, milliseconds); }

bool Outbox::WaitUntilAtMost(std::size_t bytes, int milliseconds) {
  for (;;) {
    Socket* socket;
    {
      MutexLock lock(_mutex);
      if (_socket != nullptr && Waiting() > bytes) FlushLocked();
      if (_socket == nullptr) return false;
      if (Waiting() <= bytes) return true;
      socket = _socket;
    }
    // Other peers must not wait for what this thread has batched for them.
    if (FlushBatch* const batch = FlushBatch::Current()) batch->Flush();
    // The caller's own connection owns the socket, which therefore exists meanwhile.
    if (socket->wait_writable(milliseconds) <= 0) return false;
  }
}

bool Outbox::Flush() {
  MutexLock lock(_mutex);
  _batched = false;
  FlushLocked();
  return Waiting() == 0;
}

// What the system accepts without waiting. A broken connection is dropped.
std::size_t Outbox::SendSome(const char* bytes, std::size_t length) {
  const ssize_t sent = _socket->send_some(bytes, length, false);
  if (sent >= 0) return static_cast<std::size_t>(sent);
  if (errno != EAGAIN && errno != ENOBUFS) Drop();
  return 0;
}

void Outbox::FlushLocked() {
  while (_socket != nullptr && Waiting() > 0) {
    const std::size_t sent = SendSome(_bytes.data() + _sent, Waiting());
    if (_socket == nullptr) return;
    _sent += sent;
    if (sent > 0) continue;
    // Compact now and then, not for every record.
    if (_sent > kOutbox) {
      _bytes.erase(_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(_sent));
      _sent = 0;
    }
    if (!_withFlusher) _withFlusher = OutboxFlusher::Instance().Watch(shared_from_this());
    if (_withFlusher) return;
    // Nobody would send the rest.
    _socket->close();
    Drop();
    return;
  }
  _withFlusher = false;
  _sent = 0;
  if (_bytes.capacity() > kKeptRoom) {
    std::vector<char>().swap(_bytes);
  } else {
    _bytes.clear();
  }
}

void Outbox::Drop() {
  _socket = nullptr;
  _withFlusher = false;
  _sent = 0;
  std::vector<char>().swap(_bytes);
}

void Outbox::Close() {
  MutexLock lock(_mutex);
  Drop();
}

int Outbox::Descriptor() {
  MutexLock lock(_mutex);
  return _socket == nullptr ? -1 : _socket->descriptor();
}

FlushBatch::FlushBatch(std::function<bool()> isMoreAtHand)
    : _isMoreAtHand(std::move(isMoreAtHand)) {
  t_batch = this;
}

FlushBatch::~FlushBatch() {
  Flush();
  t_batch = nullptr;
}

FlushBatch* FlushBatch::Current() { return t_batch; }

void FlushBatch::Add(std::shared_ptr<Outbox> outbox) {
  if (_outboxes.empty()) _oldest = std::chrono::steady_clock::now();
  _outboxes.push_back(std::move(outbox));
}

void FlushBatch::FlushWhenOld() {
  if (_outboxes.empty() || std::chrono::steady_clock::now() - _oldest < kLongestWait) return;
  Flush();
}

void FlushBatch::Flush() {
  for (const auto& outbox : _outboxes) outbox->Flush();
  _outboxes.clear();
}

}  // namespace qel::vorlane::config::access
