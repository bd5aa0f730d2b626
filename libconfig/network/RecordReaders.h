// How records are read: off a TCP stream, each with the value that follows it, and out of
// datagrams, each with the value behind the record. Internal.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "libconfig/access/RecordExchange.h"

class Socket;

namespace qel::vorlane::config::access {

// Waits until a socket may be received from: 1, 0 when `deadline` came first, or -1 with errno. A
// socket with a receive time-out of its own saves the call where that time is about to begin: its
// receive then waits.
int AwaitReadable(Socket& socket, qel::config::Deadline deadline,
                  std::chrono::milliseconds socketTimeout);

// Reads off a stream socket through a buffer of its own, so that one recv() serves many records,
// wherever the stream was cut. One thread at a time.
//
// A record begins with the first byte read after BeginRecord. The rest of it has to be there within
// the limit for half records.
class StreamReader {
 public:
  enum class Result {
    kWhole,
    kClosed,   // the peer closed before the first byte of the record
    kCut,      // the peer closed in the middle of it
    kTimeout,  // in time not all of it came
    kStalled,  // half a record came, and nothing more for too long
    kError,    // errno tells
  };

  // `beforeWait` runs whenever the reader is about to ask the system for more, and may be empty.
  // `socketTimeout` is the socket's own receive time-out, 0 where it has none.
  StreamReader(Socket& socket, std::function<void()> beforeWait,
               std::chrono::milliseconds socketTimeout = std::chrono::milliseconds(0));

  void BeginRecord();
  // Exactly `length` bytes. In the record's middle a failure is final: the stream has lost its
  // place.
  Result recv_exact(void* data, std::size_t length);
  // The same until `deadline`. `done` bytes of it are there already: after kTimeout the next call
  // goes on where this one ended.
  Result Read(void* data, std::size_t length, std::size_t& done, qel::config::Deadline deadline);
  // The same for what follows a record: `bytes` grows with what comes, not with what the peer
  // announced.
  Result ReadStream(std::vector<char>& bytes, std::size_t length, std::size_t& done,
                    qel::config::Deadline deadline);
  // Whether something is at hand that was received already.
  bool HasBuffered() const { return Buffered() > 0; }
  // Reads `length` bytes and drops them.
  Result Skip(std::size_t length);

 private:
  Result Fill(char* data, std::size_t room, std::size_t& got, qel::config::Deadline deadline);
  Result AwaitMore(qel::config::Deadline deadline);
  std::size_t Buffered() const { return _end - _begin; }
  void Take(void* data, std::size_t length);

  Socket& _socket;
  const std::function<void()> _beforeWait;
  const std::chrono::milliseconds _socketTimeout;
  const std::unique_ptr<char[]> _buffer;
  std::size_t _begin = 0;
  std::size_t _end = 0;
  bool _insideRecord = false;
  qel::config::Deadline _recordEnd = qel::config::kForever;  // once more has to be waited for
};

// Reads the records that come to a network client over TCP.
class StreamRecordReader : public qel::config::RecordReader {
 public:
  // `socketTimeout` is the socket's own receive time-out.
  StreamRecordReader(Socket& socket, std::chrono::milliseconds socketTimeout);

  qel::config::Received Read(qel::config::ReceivedRecord& record, qel::config::Deadline deadline,
                             qel::config::RecordExchange& exchange) override;
  void Interrupt(bool isReading) override;
  bool IsReliable() const override { return true; }

 private:
  using Result = StreamReader::Result;

  Result ReadHeader(qel::config::Deadline deadline, qel::config::RecordExchange& exchange);

  Socket& _socket;
  StreamReader _reader;
  // What is there of the record that comes.
  qel::config::ReceivedRecord _record;
  std::size_t _headerBytes = 0;
  std::size_t _streamBytes = 0;
  bool _streamFollows = false;
};

class DatagramRecordReader : public qel::config::RecordReader {
 public:
  // A socket that is not connected receives from everywhere: datagrams of other hosts are dropped.
  DatagramRecordReader(Socket& socket, std::chrono::milliseconds socketTimeout);

  qel::config::Received Read(qel::config::ReceivedRecord& record, qel::config::Deadline deadline,
                             qel::config::RecordExchange& exchange) override;
  void Interrupt(bool isReading) override;
  bool IsReliable() const override { return false; }

 private:
  Socket& _socket;
  const std::chrono::milliseconds _socketTimeout;
  const bool _connected;
  const std::unique_ptr<char[]> _buffer;
};

}  // namespace qel::vorlane::config::access
