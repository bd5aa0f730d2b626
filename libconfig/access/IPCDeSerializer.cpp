#include "libconfig/access/IPCDeSerializer.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <vector>

#include "libconfig/base/Limits.h"
#include "libconfig/values/ValueStream.h"

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience(10000);
constexpr nanoseconds kFirstSleep(10);
constexpr std::size_t kTag = sizeof(uint32_t);
constexpr uint32_t kPrefix = 8;

void Sleep(nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  timespec left;
  left.tv_sec = static_cast<time_t>(seconds.count());
  left.tv_nsec = static_cast<long>((time - seconds).count());
  while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

// The length of the text, or -1 when none came. Sleeps 10 ns at first, then 2, 3, 4 … times as long
// as the time before.
ssize_t Receive(int queue, void* message, std::size_t textSize, long type, bool wait) {
  const auto deadline = Clock::now() + kPatience;
  nanoseconds sleep = kFirstSleep;
  for (int factor = 2;; ++factor) {
    ssize_t length;
    do {
      length = ::msgrcv(queue, message, textSize, type, IPC_NOWAIT | MSG_NOERROR);
    } while (length < 0 && errno == EINTR);
    if (length >= 0 || errno != ENOMSG || !wait) return length;
    const nanoseconds left = deadline - Clock::now();
    if (left <= nanoseconds::zero()) return -1;
    Sleep(std::min(sleep, left));
    sleep = std::min<nanoseconds>(sleep * factor, kPatience);
  }
}

}  // namespace

IPCDeSerializer::IPCDeSerializer(eSerializationFormat format, int queue)
    : MemoryDeSerializer(format, nullptr, nullptr, false), _queue(queue) {}

IPCDeSerializer::~IPCDeSerializer() = default;

Serializable* IPCDeSerializer::Read(CONFIGMGR_STREAM_HEADER_T& header, bool wait) {
  const long type = header.mtype;
  if (type <= 0 || type == LONG_MAX) return nullptr;
  constexpr std::size_t kText = sizeof header - sizeof header.mtype;
  if (Receive(_queue, &header, kText, type, wait) != static_cast<ssize_t>(kText)) return nullptr;
  if (header.streamLength < kPrefix || header.streamLength > qel::config::limits::kStreamPayload) {
    return nullptr;
  }
  const std::size_t size = header.streamLength - kPrefix;
  std::vector<char> message(sizeof type + kTag + size);
  if (Receive(_queue, message.data(), kTag + size, type + 1, true) !=
      static_cast<ssize_t>(kTag + size)) {
    return nullptr;
  }
  return qel::config::DecodeObject(message.data() + sizeof type + kTag,
                                   static_cast<unsigned int>(size), GetFormat())
      .release();
}
