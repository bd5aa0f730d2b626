#include "libconfig/network/DatagramRouter.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/base/Limits.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using qel::config::limits::kDatagram;

namespace {

bool IsOfThisDevice(const sockaddr_in& from) {
  return from.sin_family == AF_INET && ntohl(from.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

}  // namespace

DatagramRouter::DatagramRouter(Socket& socket)
    : RecordRouter(socket),
      _connected(!socket.get_peer_name().empty()),
      _buffer(new char[kDatagram]) {}

RecordRouter::Reading DatagramRouter::ReadRecord(ReceivedRecord& record, Received& failure,
                                                 int& result) {
  record = {};
  failure = Received::kFailed;
  sockaddr_in from = {};
  const ssize_t count = GetSocket().recvfrom_some(_buffer.get(), kDatagram, from);
  const int error = errno;
  result = static_cast<int>(count);
  if (count <= 0 && !GetSocket().is_open()) return Reading::kEnd;
  if (count < 0 && (error == EAGAIN || error == EWOULDBLOCK)) {
    failure = Received::kTimeout;
    return Reading::kTimeout;
  }
  // Nobody at the other end, for one. The next request may find somebody.
  if (count < 0) return Reading::kTrouble;
  const auto length = static_cast<std::size_t>(count);
  if (length < sizeof record.header.msgtype || (!_connected && !IsOfThisDevice(from))) {
    return Reading::kSkipped;
  }
  record.sender = static_cast<uint64_t>(from.sin_addr.s_addr) << 16 | from.sin_port;
  record.size = std::min(length, sizeof record.header);
  std::memcpy(&record.header, _buffer.get(), record.size);
  record.stream.assign(_buffer.get() + record.size, _buffer.get() + length);
  return Reading::kRecord;
}

}  // namespace qel::vorlane::config::access
