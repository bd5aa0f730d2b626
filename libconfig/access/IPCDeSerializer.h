// Takes in what IPCSerializer sends. One thread at a time.
#pragma once

#include "libconfig/access/IPCSerializer.h"
#include "libconfig/serialization/MemoryDeSerializer.h"

class LIBCONFIG_API IPCDeSerializer : public MemoryDeSerializer {
 public:
  // The queue stays the caller's.
  IPCDeSerializer(eSerializationFormat format, int queue);
  ~IPCDeSerializer() override;

  using MemoryDeSerializer::Read;
  // The object whose header is the next message of type `header.mtype`, as the caller's own; the
  // header is filled in. Without `wait` null when there is no header; with it, when none comes
  // within 10 seconds. The data are waited for as long in either case. Null, too, for a message
  // that is cut, for one of more than 1 MiB, and as soon as the queue is removed.
  //
  // The longer it waits the longer it takes to notice that something came.
  Serializable* Read(CONFIGMGR_STREAM_HEADER_T& header, bool wait);

 private:
  const int _queue;
};
