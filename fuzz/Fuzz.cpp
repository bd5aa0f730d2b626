#include "fuzz/Fuzz.h"

#include <fcntl.h>
#include <mqueue.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/base/Diagnostics.h"

// The program's target.
void FUZZ_TARGET(const uint8_t* data, size_t size);

// Formats the messages of the library, as some of them show what a peer sent, and drops them.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  qel::config::SetMessageHandler([](void*, const char*, std::size_t) {}, nullptr);
  static char quiet[] = "-close_fd_mask=2";
  static std::vector<char*> arguments(*argv, *argv + *argc);
  arguments.insert(arguments.begin() + 1, quiet);
  arguments.push_back(nullptr);
  *argc = static_cast<int>(arguments.size()) - 1;
  *argv = arguments.data();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Peer& peer = fuzz::Peer::Instance();
  peer.messages.clear();
  peer.onEnd = nullptr;
  FUZZ_TARGET(data, size);
  return 0;
}

namespace fuzz {

std::deque<Bytes> Split(const uint8_t* data, size_t size) {
  std::deque<Bytes> messages;
  const uint8_t* const end = data + size;
  constexpr size_t kLength = sizeof kMark - 1;
  for (;;) {
    const uint8_t* const mark = std::search(data, end, kMark, kMark + kLength);
    messages.emplace_back(data, mark);
    if (mark == end) return messages;
    data = mark + kLength;
  }
}

Peer& Peer::Instance() {
  static auto* const peer = new Peer;
  return *peer;
}

std::string FileOf(const uint8_t* data, size_t size) {
  static const int file = ::memfd_create("fuzz", MFD_CLOEXEC);
  Require(::ftruncate(file, 0) == 0);
  Require(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
  return "/proc/self/fd/" + std::to_string(file);
}

namespace {

bool IsStream(int socket) {
  int type = 0;
  socklen_t length = sizeof type;
  ::getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &length);
  return type == SOCK_STREAM;
}

// The next message, cut to `size`; -1 with `error` when there is none.
ssize_t TakeMessage(void* buffer, size_t size, int error) {
  Peer& peer = Peer::Instance();
  if (peer.messages.empty()) {
    if (peer.onEnd) peer.onEnd();
    errno = error;
    return -1;
  }
  const Bytes message = std::move(peer.messages.front());
  peer.messages.pop_front();
  const size_t length = std::min(size, message.size());
  std::copy_n(message.data(), length, static_cast<char*>(buffer));
  return static_cast<ssize_t>(length);
}

ssize_t TakePiece(void* buffer, size_t size, int flags) {
  std::deque<Bytes>& pieces = Peer::Instance().messages;
  while (!pieces.empty() && pieces.front().empty()) pieces.pop_front();
  if (pieces.empty()) return 0;
  Bytes& piece = pieces.front();
  const size_t length = std::min(size, piece.size());
  std::copy_n(piece.data(), length, static_cast<char*>(buffer));
  if ((flags & MSG_PEEK) == 0) {
    piece.erase(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(length));
  }
  return static_cast<ssize_t>(length);
}

}  // namespace
}  // namespace fuzz

// What the code under test calls instead of the system.
extern "C" {

ssize_t __wrap_recvfrom(int socket, void* buffer, size_t size, int flags, sockaddr* from,
                        socklen_t* length) {
  if (fuzz::IsStream(socket)) return fuzz::TakePiece(buffer, size, flags);
  if (from != nullptr) {
    sockaddr_in sender = {};
    sender.sin_family = AF_INET;
    sender.sin_port = htons(1);
    sender.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::memcpy(from, &sender, sizeof sender);
    *length = sizeof sender;
  }
  return fuzz::TakeMessage(buffer, size, ECONNREFUSED);
}
ssize_t __wrap_recv(int socket, void* buffer, size_t size, int flags) {
  return __wrap_recvfrom(socket, buffer, size, flags, nullptr, nullptr);
}
ssize_t __wrap_send(int, const void*, size_t size, int) { return static_cast<ssize_t>(size); }
ssize_t __wrap_sendto(int, const void*, size_t size, int, const sockaddr*, socklen_t) {
  return static_cast<ssize_t>(size);
}
int __wrap_poll(pollfd* wanted, nfds_t count, int) {
  for (nfds_t i = 0; i < count; ++i) wanted[i].revents = i == 0 ? wanted[i].events : short{0};
  return 1;
}

mqd_t __wrap_mq_open(const char*, int, ...) {
  static const mqd_t queue = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  return queue;
}
int __wrap_mq_close(mqd_t) { return 0; }
int __wrap_mq_unlink(const char*) { return 0; }
int __wrap_mq_getattr(mqd_t, mq_attr* attributes) {
  *attributes = {};
  attributes->mq_maxmsg = PosixMQFactory::kMessages;
  attributes->mq_msgsize = PosixMQFactory::kMessageSize;
  return 0;
}
int __wrap_mq_setattr(mqd_t, const mq_attr*, mq_attr*) { return 0; }
int __wrap_mq_notify(mqd_t, const sigevent*) { return 0; }
int __wrap_mq_send(mqd_t, const char*, size_t, unsigned) { return 0; }
int __wrap_mq_timedsend(mqd_t, const char*, size_t, unsigned, const timespec*) { return 0; }
ssize_t __wrap_mq_timedreceive(mqd_t, char* buffer, size_t size, unsigned*, const timespec*) {
  return fuzz::TakeMessage(buffer, size, EBADF);
}

ssize_t __wrap_msgrcv(int, void* message, size_t size, long type, int) {
  std::memcpy(message, &type, sizeof type);
  return fuzz::TakeMessage(static_cast<char*>(message) + sizeof type, size, EIDRM);
}
}
