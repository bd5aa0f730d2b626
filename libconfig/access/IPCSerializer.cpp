#include "libconfig/access/IPCSerializer.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "libconfig/access/IPCDeSerializer.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/ConfigValue.h"
#include "libconfig/values/ValueStream.h"

using namespace qel::config;

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience(10000);
constexpr nanoseconds kFirstSleep(10);

constexpr uint32_t kChunkSize = 1024;
constexpr std::size_t kTag = sizeof(uint32_t);
// What stands ahead of the object as the header counts it: the type as one word, and the tag.
constexpr uint32_t kPrefix = 8;

bool Send(int queue, const void* message, std::size_t textSize) {
  while (::msgsnd(queue, message, textSize, IPC_NOWAIT) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
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
    std::this_thread::sleep_for(std::min(sleep, left));
    sleep = std::min<nanoseconds>(sleep * factor, kPatience);
  }
}

}  // namespace

IPCSerializer::IPCSerializer(eSerializationFormat format, int queue)
    : MemorySerializer(format, nullptr, nullptr, false), _queue(queue) {}

IPCSerializer::~IPCSerializer() = default;

bool IPCSerializer::Write(CONFIGMGR_STREAM_HEADER_T header, Serializable* object) {
  if (header.mtype <= 0 || header.mtype == LONG_MAX) return false;
  // A value that others change meanwhile must not outgrow what it was measured as.
  auto* const value = dynamic_cast<ConfigValue*>(object);
  const std::unique_ptr<ConfigValue> copy(value == nullptr ? nullptr : value->Clone());
  if (copy != nullptr) object = copy.get();
  const unsigned int size = MemorySerializerSizer::GetSize(object, this);
  if (size == 0) return false;
  header.streamLength = size + kPrefix;
  header.chunkSize = kChunkSize;
  if (!Send(_queue, &header, sizeof header - sizeof header.mtype)) return false;

  const long type = header.mtype + 1;
  std::vector<char> message(sizeof type + kTag + size);
  std::memcpy(message.data(), &type, sizeof type);
  std::memcpy(message.data() + sizeof type, &header.tag, kTag);
  SetBufferStart(message.data());
  SetBufferEnd(message.data() + message.size());
  SetPos(message.data() + sizeof type + kTag);
  Write("Serializable", object);
  SetBufferStart(nullptr);
  SetBufferEnd(nullptr);
  SetPos(nullptr);
  return Send(_queue, message.data(), kTag + size);
}

IPCDeSerializer::IPCDeSerializer(eSerializationFormat format, int queue)
    : MemoryDeSerializer(format, nullptr, nullptr, false), _queue(queue) {}

IPCDeSerializer::~IPCDeSerializer() = default;

Serializable* IPCDeSerializer::Read(CONFIGMGR_STREAM_HEADER_T& header, bool wait) {
  const long type = header.mtype;
  if (type <= 0 || type == LONG_MAX) return nullptr;
  constexpr std::size_t kText = sizeof header - sizeof header.mtype;
  if (Receive(_queue, &header, kText, type, wait) != static_cast<ssize_t>(kText)) return nullptr;
  if (header.streamLength < kPrefix || header.streamLength > limits::kStreamPayload) {
    return nullptr;
  }
  const std::size_t size = header.streamLength - kPrefix;
  std::vector<char> message(sizeof type + kTag + size);
  if (Receive(_queue, message.data(), kTag + size, type + 1, true) !=
      static_cast<ssize_t>(kTag + size)) {
    return nullptr;
  }
  return DecodeObject(message.data() + sizeof type + kTag, static_cast<unsigned int>(size),
                      GetFormat())
      .release();
}
