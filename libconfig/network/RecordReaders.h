// How a network client reads records: off a TCP stream, each with the value that follows it, and
// out of datagrams, each with the value behind the record. Internal.
#pragma once

#include <memory>

#include "libconfig/access/RecordExchange.h"
#include "libconfig/network/StreamReader.h"

namespace qel::vorlane::config::access {

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
  // A socket that is not connected takes what anybody sends: datagrams of other hosts are dropped.
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
