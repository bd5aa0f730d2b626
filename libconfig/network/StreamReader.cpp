#include "libconfig/network/StreamReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/base/Limits.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {
namespace {

constexpr std::size_t kBufferSize = std::size_t{16} * 1024;

using Clock = std::chrono::steady_clock;

}  // namespace

StreamReader::StreamReader(Socket& socket, std::function<void()> beforeWait)
    : _socket(socket), _beforeWait(std::move(beforeWait)), _buffer(new char[kBufferSize]) {}

void StreamReader::BeginRecord() {
  _insideRecord = false;
  _limited = false;
}

void StreamReader::Take(void* data, std::size_t length) {
  std::memcpy(data, _buffer.get() + _begin, length);
  _begin += length;
  if (length > 0) _insideRecord = true;
}

// Half a record is in. The clock starts the first time that more has to be waited for.
StreamReader::Result StreamReader::WaitInsideRecord() {
  const auto now = Clock::now();
  if (!_limited) {
    _limited = true;
    _deadline = now + std::chrono::milliseconds(qel::config::limits::kHalfRecordMs);
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(_deadline - now).count();
  if (left <= 0) return Result::kStalled;
  const int ready = _socket.wait_readable(static_cast<int>(left));
  if (ready < 0) return Result::kError;
  return ready == 0 ? Result::kStalled : Result::kWhole;
}

// One receive of at most `room` bytes.
StreamReader::Result StreamReader::Fill(char* data, std::size_t room, std::size_t& got) {
  if (_beforeWait) _beforeWait();
  if (_insideRecord) {
    const Result waited = WaitInsideRecord();
    if (waited != Result::kWhole) return waited;
  }
  const ssize_t count = _socket.recv_some(data, room);
  if (count < 0) return errno == EAGAIN ? Result::kTimeout : Result::kError;
  if (count == 0) return _insideRecord ? Result::kCut : Result::kClosed;
  got = static_cast<std::size_t>(count);
  return Result::kWhole;
}

StreamReader::Result StreamReader::recv_exact(void* data, std::size_t length) {
  char* out = static_cast<char*>(data);
  while (length > 0) {
    const std::size_t ready = std::min(length, Buffered());
    Take(out, ready);
    out += ready;
    length -= ready;
    if (length == 0) break;

    // The buffer is empty. What is larger than it goes straight to its place.
    std::size_t got = 0;
    const bool direct = length >= kBufferSize;
    const Result filled = direct ? Fill(out, length, got) : Fill(_buffer.get(), kBufferSize, got);
    if (filled != Result::kWhole) return filled;
    if (direct) {
      out += got;
      length -= got;
      _insideRecord = true;
    } else {
      _begin = 0;
      _end = got;
    }
  }
  return Result::kWhole;
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
