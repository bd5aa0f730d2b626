// Reads records from a stream socket through a buffer of its own, so that a peer's requests are
// taken from the system by the dozen and handed on one by one, wherever the stream was cut. One
// thread at a time. Internal.
//
// A record begins with the first byte read after BeginRecord. Waiting for that byte takes as long
// as the socket's own time-out says; the rest of the record has to be there within the limit for
// half records.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

class Socket;

namespace qel::vorlane::config::access {

class StreamReader {
 public:
  enum class Result {
    kWhole,
    kClosed,   // the peer closed before the first byte of the record
    kCut,      // the peer closed in the middle of it
    kTimeout,  // nothing came within the socket's time-out
    kStalled,  // half a record came, and nothing more for too long
    kError,    // errno tells
  };

  // `beforeWait` runs whenever the reader is about to ask the system for more, and may be empty.
  StreamReader(Socket& socket, std::function<void()> beforeWait);

  void BeginRecord();
  // Exactly `length` bytes. In the record's middle a failure is final: the stream has lost its
  // place.
  Result recv_exact(void* data, std::size_t length);
  // Whether something is at hand that was received already.
  bool HasBuffered() const { return Buffered() > 0; }
  // Reads `length` bytes and drops them.
  Result Skip(std::size_t length);

 private:
  Result Fill(char* data, std::size_t room, std::size_t& got);
  Result WaitInsideRecord();
  std::size_t Buffered() const { return _end - _begin; }
  void Take(void* data, std::size_t length);

  Socket& _socket;
  const std::function<void()> _beforeWait;
  const std::unique_ptr<char[]> _buffer;
  std::size_t _begin = 0;
  std::size_t _end = 0;
  bool _insideRecord = false;
  bool _limited = false;  // _deadline is set
  std::chrono::steady_clock::time_point _deadline;
};

}  // namespace qel::vorlane::config::access
