#include "libconfig/network/StreamReader.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "libconfig/base/Limits.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {
namespace {

using qel::config::Deadline;
using qel::config::kForever;
using std::chrono::milliseconds;

constexpr std::size_t kBufferSize = std::size_t{16} * 1024;

// By how much the socket's own time-out may exceed a deadline.
constexpr milliseconds kSlack(50);

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
    _recordEnd = qel::config::After(milliseconds(qel::config::limits::kHalfRecordMs));
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

}  // namespace qel::vorlane::config::access
