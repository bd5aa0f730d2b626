// A read over a transport, from the caller and back, against the two messages alone.
#include <sys/socket.h>

#include <stdexcept>
#include <thread>

#include "bench/Machine.h"
#include "bench/NetworkGet.h"
#include "bench/Rounds.h"
#include "bench/Sockets.h"

namespace bench {
namespace {

constexpr int kRounds = 100;

// Requests and answers of the same sizes between two threads: a send and a receive on either side,
// which is what an exchange cannot do without.
class PingPong {
 public:
  PingPong(int type, int serverCore)
      : PingPong(type, type == SOCK_STREAM ? Stream::Pair() : Stream::DatagramPair(), serverCore) {}
  ~PingPong() {
    _server.Shut();
    _thread.join();
  }
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  void operator()() {
    char request[kRequestSize] = {};
    char answer[kRecordSize];
    _client.Send(request, sizeof request);
    _client.Receive(answer, sizeof answer);
  }

 private:
  PingPong(int type, std::pair<Stream, Stream> ends, int serverCore)
      : _datagrams(type == SOCK_DGRAM),
        _client(std::move(ends.first)),
        _server(std::move(ends.second)) {
    const Pinned pinned(serverCore);
    _thread = std::thread([this] { Serve(); });
  }

  void Serve() {
    char request[kRequestSize];
    char answer[kRecordSize] = {};
    try {
      for (;;) {
        if (_datagrams) {
          _server.Reply(request, sizeof request, answer, sizeof answer);
        } else {
          _server.Receive(request, sizeof request);
          _server.Send(answer, sizeof answer);
        }
      }
    } catch (const std::exception&) {
      // The client has closed.
    }
  }

  const bool _datagrams;
  Stream _client;
  Stream _server;
  std::thread _thread;
};

Measurement MeasureGet(int type, std::size_t coresWanted) {
  const std::vector<int> cores = Cores();
  if (cores.size() < coresWanted) throw std::runtime_error("there is one processor only");
  const int serverCore = cores[coresWanted - 1];
  const Pinned client(cores[0]);
  NetworkGet subject(type, serverCore);
  PingPong reference(type, serverCore);
  return TakeTurns(
      kRounds, [&] { return MedianRoundTrip(subject); },
      [&] { return MedianRoundTrip(reference); });
}

// Two clients of two servers, of which one has a listener.
Measurement MeasureGetWithListener(std::size_t coresWanted) {
  const std::vector<int> cores = Cores();
  if (cores.size() < coresWanted) throw std::runtime_error("there is one processor only");
  const int serverCore = cores[coresWanted - 1];
  const Pinned client(cores[0]);
  NetworkGet subject(SOCK_STREAM, serverCore);
  subject.Listen();
  NetworkGet reference(SOCK_STREAM, serverCore);
  return TakeTurns(
      kRounds, [&] { return MedianRoundTrip(subject); },
      [&] { return MedianRoundTrip(reference); });
}

}  // namespace

Measurement MeasureTcpGetWithListener() { return MeasureGetWithListener(2); }

Measurement MeasureTcpGetWithListenerOnOneCore() { return MeasureGetWithListener(1); }

Measurement MeasureTcpGetOnTwoCores() { return MeasureGet(SOCK_STREAM, 2); }

Measurement MeasureTcpGetOnOneCore() { return MeasureGet(SOCK_STREAM, 1); }

Measurement MeasureUdpGetOnTwoCores() { return MeasureGet(SOCK_DGRAM, 2); }

Measurement MeasureUdpGetOnOneCore() { return MeasureGet(SOCK_DGRAM, 1); }

}  // namespace bench
