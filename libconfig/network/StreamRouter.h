// Reads records off a TCP stream, each with the value that follows it. Internal.
#pragma once

#include "libconfig/network/RecordRouter.h"
#include "libconfig/network/StreamReader.h"

namespace qel::vorlane::config::access {

class StreamRouter : public RecordRouter {
 public:
  explicit StreamRouter(Socket& socket);

 private:
  Reading ReadRecord(ReceivedRecord& record, Received& failure, int& result) override;
  bool HasBuffered() const override { return _reader.HasBuffered(); }

  StreamReader::Result ReadHeader(ReceivedRecord& record, bool& streamFollows);
  StreamReader::Result ReadStream(ReceivedRecord& record, Received& failure);

  StreamReader _reader;  // of the thread that reads
};

}  // namespace qel::vorlane::config::access
