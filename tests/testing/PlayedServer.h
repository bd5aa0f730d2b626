// A server whose part a test plays: it takes its peers in one after the other, answers their
// Connect Request, and leaves the rest to the test.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/testing/Wire.h"

namespace testing_support {

// The server's end of a connection, over TCP or of datagrams.
class PlayedPeer : public Wire {
 public:
  using Wire::Wire;

  // The next request for a parameter; empty when the peer has gone.
  WordList Request() { return Record(10); }

  // With the type that belongs to the request's, unless another one is given.
  void Answer(const WordList& request, uint32_t value = 0, uint32_t error = 0, uint32_t type = 0) {
    Send(AnswerBytes(request, type, value, error, 0));
  }
  void AnswerText(const WordList& request, const std::string& text, uint32_t type = 0) {
    const Bytes value = StringValueBytes(request[6], text);
    Send(AnswerBytes(request, type, 0, 0, static_cast<uint32_t>(value.size())) + value);
  }
  void Event(uint32_t param, uint32_t value) { Send(EventBytes(param, value)); }

  static Bytes AnswerBytes(const WordList& request, uint32_t type, uint32_t value, uint32_t error,
                           uint32_t streamLength) {
    return Words({type == 0 ? request[0] + 16 : type, request[1], request[2], request[3],
                  request[4], request[5], request[6], error, value, streamLength,
                  streamLength == 0 ? 0U : 3072U});
  }
  static Bytes EventBytes(uint32_t param, uint32_t value) {
    return Words({144, 0, 0xFFFFFFFF, 0, 0, 4096, param, 0, value, 0, 3072});
  }
};

class PlayedServer {
 public:
  using Play = std::function<void(PlayedPeer&)>;

  // `type` is SOCK_STREAM or SOCK_DGRAM. A connection ends when `play` returns.
  explicit PlayedServer(Play play, int connections = 1, int type = SOCK_STREAM)
      : _listener(type), _thread([this, play = std::move(play), connections, type] {
          for (int i = 0; i < connections; ++i) {
            PlayedPeer peer(_listener.Accept());
            const auto request = peer.Record(6);
            if (request.size() != 6) return;
            Bytes answer =
                Words({32, request[1], request[2], request[3], request[4], request[5], 0});
            if (type == SOCK_DGRAM) answer.resize(44);
            peer.Send(answer);
            play(peer);
          }
        }) {}
  ~PlayedServer() { WaitUntilPlayed(); }
  PlayedServer(const PlayedServer&) = delete;
  PlayedServer& operator=(const PlayedServer&) = delete;

  std::string GetURI() const { return _listener.GetURI(); }
  void WaitUntilPlayed() {
    if (_thread.joinable()) _thread.join();
  }

 private:
  WireListener _listener;
  std::thread _thread;
};

}  // namespace testing_support
