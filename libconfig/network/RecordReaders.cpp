#include "libconfig/network/RecordReaders.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "libconfig/base/Limits.h"
#include "libconfig/network/NetworkRecordTable.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using namespace qel::config;
using limits::kDatagram;
using limits::kStreamPayload;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t kBufferSize = std::size_t{16} * 1024;

// By how much the socket's own time-out may exceed a deadline.
constexpr milliseconds kSlack(50);

// The row of a type that a server sends; null for any other word.
const RecordType* FindSent(uint32_t type) {
  return IsRequest(type) ? nullptr : FindNetworkRecord(type);
}

// A Set String is only answered when it was refused. Ignore that: no exchange waits for it.
Received Sorted(const ReceivedRecord& record) {
  return record.GetType() == XCFG_SET_STREAM_PARAM_RESPONSE ? Received::kIgnored
                                                            : Received::kRecord;
}

bool IsOfThisDevice(const sockaddr_in& from) {
  return from.sin_family == AF_INET && Socket::IsLoopback(from);
}

}  // namespace

int AwaitReadable(Socket& socket, Deadline deadline, milliseconds socketTimeout) {
  if (deadline == kForever) return socketTimeout.count() == 0 ? 1 : socket.wait_readable(-1);
  const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
  if (left.count() <= 0) return 0;
  const bool begins = left <= socketTimeout && left + kSlack > socketTimeout;
  return begins ? 1
                : socket.wait_readable(
                      static_cast<int>(std::min<milliseconds::rep>(left.count(), INT_MAX)));
}

StreamReader::StreamReader(Socket& socket, std::function<void()> beforeWait,
                           milliseconds socketTimeout)
    : _socket(socket),
      _beforeWait(std::move(beforeWait)),
      _socketTimeout(socketTimeout),
      _buffer(new char[kBufferSize]) {}

void StreamReader::BeginRecord() {
  _insideRecord = false;
  _recordEnd = kForever;
}

void StreamReader::Take(void* data, std::size_t length) {
  std::memcpy(data, _buffer.get() + _begin, length);
  _begin += length;
  if (length > 0) _insideRecord = true;
}

// The clock for the rest of a record starts the first time that more has to be waited for.
StreamReader::Result StreamReader::AwaitMore(Deadline deadline) {
  if (_insideRecord && _recordEnd == kForever) {
    _recordEnd = After(milliseconds(limits::kHalfRecordMs));
  }
  const int ready = AwaitReadable(_socket, std::min(deadline, _recordEnd), _socketTimeout);
  if (ready != 0) return ready < 0 ? Result::kError : Result::kWhole;
  return deadline < _recordEnd ? Result::kTimeout : Result::kStalled;
}

// One receive of at most `room` bytes.
StreamReader::Result StreamReader::Fill(char* data, std::size_t room, std::size_t& got,
                                        Deadline deadline) {
  if (_beforeWait) _beforeWait();
  ssize_t count;
  do {
    const Result waited = AwaitMore(deadline);
    if (waited != Result::kWhole) return waited;
    count = _socket.recv_once(data, room, nullptr);
  } while (count < 0 && errno == EINTR);
  if (count < 0) return errno == EAGAIN ? Result::kTimeout : Result::kError;
  if (count == 0) return _insideRecord ? Result::kCut : Result::kClosed;
  got = static_cast<std::size_t>(count);
  return Result::kWhole;
}

StreamReader::Result StreamReader::recv_exact(void* data, std::size_t length) {
  std::size_t done = 0;
  return Read(data, length, done, kForever);
}

StreamReader::Result StreamReader::Read(void* data, std::size_t length, std::size_t& done,
                                        Deadline deadline) {
  char* const out = static_cast<char*>(data);
  while (done < length) {
    const std::size_t ready = std::min(length - done, Buffered());
    Take(out + done, ready);
    done += ready;
    if (done == length) break;

    // The buffer is empty. What is larger than it goes straight to its place.
    std::size_t got = 0;
    const std::size_t left = length - done;
    const bool direct = left >= kBufferSize;
    const Result filled = direct ? Fill(out + done, left, got, deadline)
                                 : Fill(_buffer.get(), kBufferSize, got, deadline);
    if (filled != Result::kWhole) return filled;
    if (direct) {
      done += got;
      _insideRecord = true;
    } else {
      _begin = 0;
      _end = got;
    }
  }
  return Result::kWhole;
}

StreamReader::Result StreamReader::ReadStream(std::vector<char>& bytes, std::size_t length,
                                              std::size_t& done, Deadline deadline) {
  constexpr std::size_t kPiece = std::size_t{64} * 1024;
  Result read = Result::kWhole;
  while (read == Result::kWhole && done < length) {
    const std::size_t piece = std::min(length, done + kPiece);
    bytes.resize(piece);
    read = Read(bytes.data(), piece, done, deadline);
  }
  return read;
}

StreamReader::Result StreamReader::Skip(std::size_t length) {
  char scrap[4096];
  while (length > 0) {
    const std::size_t piece = std::min(length, sizeof scrap);
    const Result result = recv_exact(scrap, piece);
    if (result != Result::kWhole) return result;
    length -= piece;
  }
  return Result::kWhole;
}

StreamRecordReader::StreamRecordReader(Socket& socket, milliseconds socketTimeout)
    : _socket(socket), _reader(socket, nullptr, socketTimeout) {}

void StreamRecordReader::Interrupt(bool) { _socket.close(); }

Received StreamRecordReader::Read(ReceivedRecord& record, Deadline deadline,
                                  RecordExchange& exchange) {
  Result read = ReadHeader(deadline, exchange);
  const bool inStream = read == Result::kWhole && _streamFollows;
  if (inStream) {
    const uint32_t length = _record.As<XCONFIGMGR_RESPONSE_T>().streamLength;
    if (length > kStreamPayload) return Received::kTooLong;
    read = _reader.ReadStream(_record.stream, length, _streamBytes, deadline);
  }
  if (read == Result::kTimeout) {
    errno = ETIMEDOUT;
    return Received::kTimeout;
  }
  if (read != Result::kWhole) {
    if (read == Result::kClosed || read == Result::kCut) errno = 0;
    if (read == Result::kStalled) errno = ETIMEDOUT;
    return inStream ? Received::kStreamCut : Received::kEnded;
  }
  record = std::move(_record);
  _record = {};
  _headerBytes = 0;
  _streamBytes = 0;
  return Sorted(record);
}

StreamReader::Result StreamRecordReader::ReadHeader(Deadline deadline, RecordExchange& exchange) {
  constexpr std::size_t kType = sizeof(uint32_t);
  if (_headerBytes == 0) _reader.BeginRecord();
  if (_headerBytes < kType) {
    const Result type = _reader.Read(_record.GetBytes(), kType, _headerBytes, deadline);
    if (type != Result::kWhole) return type;
  }
  ExpectedAnswer expected;
  if (_record.size == 0) {
    if (const auto* const row = FindSent(_record.GetType())) {
      _record.size = row->size;
    } else {
      _record.size = exchange.GetExpected(expected) ? expected.size : sizeof(XCONFIGMGR_RESPONSE_T);
    }
  }
  if (_headerBytes == _record.size) return Result::kWhole;
  const Result rest = _reader.Read(_record.GetBytes(), _record.size, _headerBytes, deadline);
  if (rest != Result::kWhole) return rest;
  const auto header = _record.As<XCONFIGMGR_RESPONSE_T>();
  _streamFollows = header.error == 0 && header.streamLength > 0;
  const auto* const row = FindSent(header.msgtype);
  if (_streamFollows && (row == nullptr || !row->hasStream)) {
    _streamFollows = !_record.IsEvent() && exchange.GetExpected(expected) && expected.withStream;
  }
  return Result::kWhole;
}

DatagramRecordReader::DatagramRecordReader(Socket& socket, milliseconds socketTimeout)
    : _socket(socket),
      _socketTimeout(socketTimeout),
      _connected(!socket.get_peer_name().empty()),
      _buffer(new char[kDatagram]) {}

void DatagramRecordReader::Interrupt(bool) { _socket.close(); }

Received DatagramRecordReader::Read(ReceivedRecord& record, Deadline deadline, RecordExchange&) {
  sockaddr_in from = {};
  int ready;
  ssize_t count;
  do {
    ready = AwaitReadable(_socket, deadline, _socketTimeout);
    count = ready > 0 ? _socket.recv_once(_buffer.get(), kDatagram, &from) : -1;
  } while (ready > 0 && count < 0 && errno == EINTR);
  if (count <= 0 && !_socket.is_open()) {
    if (count == 0) errno = 0;
    return Received::kEnded;
  }
  if (ready == 0 || (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))) {
    errno = ETIMEDOUT;
    return Received::kTimeout;
  }
  // No server at the other end, for one. The next request may find one.
  if (count < 0) return Received::kFailed;
  const auto length = static_cast<std::size_t>(count);
  if (length < sizeof(uint32_t) || (!_connected && !IsOfThisDevice(from))) {
    return Received::kIgnored;
  }
  record.sender = static_cast<uint64_t>(from.sin_addr.s_addr) << 16 | from.sin_port;
  record.size = std::min(length, sizeof(XCONFIGMGR_RESPONSE_T));
  std::memcpy(record.GetBytes(), _buffer.get(), record.size);
  record.stream.assign(_buffer.get() + record.size, _buffer.get() + length);
  if (record.IsEvent() && record.size < sizeof(XCONFIGMGR_RESPONSE_T)) return Received::kIgnored;
  return Sorted(record);
}

}  // namespace qel::vorlane::config::access
