// Takes records in from a datagram socket: one in a datagram, the value that belongs to it behind
// the record. Internal.
#pragma once

#include <memory>

#include "libconfig/network/RecordRouter.h"

namespace qel::vorlane::config::access {

class DatagramRouter : public RecordRouter {
 public:
  // A socket that is not connected takes what anybody sends: datagrams of other hosts are dropped.
  explicit DatagramRouter(Socket& socket);

 private:
  Reading ReadRecord(ReceivedRecord& record, Received& failure, int& result) override;

  const bool _connected;
  const std::unique_ptr<char[]> _buffer;
};

}  // namespace qel::vorlane::config::access
