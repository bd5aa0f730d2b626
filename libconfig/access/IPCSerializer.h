// Moves one serialized object to another process of the same host over a System V message queue, in
// two messages: a header, then the data. The queue, and the types of the messages on it, are the
// program's; nothing here waits for a full queue. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/MemorySerializer.h"

// The first message, in the host's byte order. The system takes a `long` for the type, so that only
// what follows it, 24 bytes, is the same on all hosts.
struct CONFIGMGR_STREAM_HEADER_T {
  long mtype;             // above 0; the data message has the next one
  uint32_t tag;           // the sender's word, repeated ahead of the data
  uint32_t reserved;      // not looked at
  uint32_t streamLength;  // of the serialized object, and 8 more
  uint32_t chunkSize;     // always 1024, and not looked at
  uint32_t reserved2[2];  // not looked at
};

static_assert(sizeof(CONFIGMGR_STREAM_HEADER_T) == sizeof(long) + 24);
static_assert(offsetof(CONFIGMGR_STREAM_HEADER_T, tag) == sizeof(long));
static_assert(offsetof(CONFIGMGR_STREAM_HEADER_T, reserved) == sizeof(long) + 4);
static_assert(offsetof(CONFIGMGR_STREAM_HEADER_T, streamLength) == sizeof(long) + 8);
static_assert(offsetof(CONFIGMGR_STREAM_HEADER_T, chunkSize) == sizeof(long) + 12);
static_assert(offsetof(CONFIGMGR_STREAM_HEADER_T, reserved2) == sizeof(long) + 16);

class LIBCONFIG_API IPCSerializer : public MemorySerializer {
 public:
  // The queue stays the caller's.
  IPCSerializer(eSerializationFormat format, int queue);
  ~IPCSerializer() override;

  using MemorySerializer::Write;
  // True when both messages are on their way. `mtype` and `tag` of the header are the caller's, the
  // rest is filled in. An object that takes no bytes is not sent. When only the second message
  // fails, the first is in the queue already.
  bool Write(CONFIGMGR_STREAM_HEADER_T header, Serializable* object);

 private:
  const int _queue;
};
