#include "libconfig/access/IPCSerializer.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/ConfigValue.h"

namespace {

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
