// The server's end of a connection, given whatever a peer may send: the first byte tells whether
// the peer has connected to a configuration beforehand, and whether the rest is the stream as it
// stands or records of the table.
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <memory>
#include <thread>

#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/network/NetworkTCPConnection.h"
#include "libconfig/network/Socket.h"

namespace {

using qel::vorlane::config::access::NetworkTCPConnection;

std::vector<char> Stream(const uint8_t* data, size_t size) {
  const uint8_t kind = data[0];
  ++data;
  --size;
  if (kind & 2) return {data, data + size};
  std::vector<char> stream;
  while (size > 0) {
    const auto record = NextRecord(&qel::config::MessageType::network, data, size);
    stream.insert(stream.end(), record.begin(), record.end());
  }
  return stream;
}

// Local sockets leave no ports behind that the system would have to wait for.
struct Listener {
  Listener() {
    unlink();
    socket.create();
    Require(socket.bind(::getpid()) != 0 && socket.listen() != 0);
  }
  ~Listener() { unlink(); }
  void unlink() const { ::unlink(("/tmp/qel_" + std::to_string(::getpid())).c_str()); }
  Socket socket{AF_UNIX, SOCK_STREAM};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Listener listener;
  // Keeps the store of configuration 0 while peers come and go.
  static Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
  Require(store != nullptr);
  if (size == 0) return 0;

  Socket peer(AF_UNIX, SOCK_STREAM);
  auto server = std::make_unique<Socket>(AF_UNIX, SOCK_STREAM);
  peer.create();
  Require(peer.connect("127.0.0.1", ::getpid()) != 0);
  Require(listener.socket.accept(server.get()) != 0);
  std::thread reader([&peer] {
    char answers[4096];
    while (peer.recv_some(answers, sizeof answers) > 0) {
    }
  });
  std::thread writer([&] {
    const std::array<uint32_t, 6> connect = {16, 0x00077777, 0, 0, 0, 4096};
    if (data[0] % 2 == 1) peer.send_some(connect.data(), sizeof connect, true);
    const std::vector<char> stream = Stream(data, size);
    for (size_t sent = 0; sent < stream.size();) {
      const ssize_t count = peer.send_some(stream.data() + sent, stream.size() - sent, true);
      if (count <= 0) break;
      sent += static_cast<size_t>(count);
    }
    ::shutdown(peer.descriptor(), SHUT_WR);
  });
  NetworkTCPConnection(server.release()).Run();
  writer.join();
  reader.join();
  return 0;
}
