// Changes on their way to a hundred watchers, against the same bytes on the same kind of sockets.
#include <sys/socket.h>

#include <stdexcept>

#include "bench/Machine.h"
#include "bench/Readers.h"
#include "bench/Rounds.h"
#include "bench/Sockets.h"
#include "libconfig/libconfig.h"

namespace bench {

using qel::vorlane::config::access::NetworkUDPConnection;

namespace {

constexpr std::size_t kWatchers = 100;
constexpr std::size_t kInFlight = 64;
constexpr int kRounds = 600;
constexpr int kConfigID = 9003;
constexpr char kGroup[] = "239.81.69.76";
constexpr int kGroupPort = 63110;
constexpr eParam_t kParam = eParamID_MediaUpdated;  // takes any number, and nothing depends on it

// A hundred connections, whose near ends are sent to one by one.
class BareSockets {
 public:
  explicit BareSockets(int readerCore) : BareSockets(Connect(), readerCore) {}

  void SendToEach(std::size_t records) {
    const std::vector<char> bytes(records * kRecordSize);
    for (Stream& stream : _near) stream.Send(bytes.data(), bytes.size());
  }
  void Await(std::size_t records) { _readers.Await(kWatchers * records * kRecordSize); }

 private:
  using Ends = std::pair<std::vector<Stream>, std::vector<Stream>>;

  static Ends Connect() {
    Ends ends;
    for (std::size_t i = 0; i < kWatchers; ++i) {
      std::pair<Stream, Stream> pair = Stream::Pair();
      // As a server does, it sends from the ends that it accepted.
      ends.first.push_back(std::move(pair.second));
      ends.second.push_back(std::move(pair.first));
    }
    return ends;
  }
  BareSockets(Ends ends, int readerCore)
      : _near(std::move(ends.first)), _readers(std::move(ends.second), readerCore) {}

  std::vector<Stream> _near;
  Readers _readers;
};

// A hundred watchers of one configuration of a server.
class Watchers {
 public:
  explicit Watchers(int readerCore) : _readers(Dial(_server), readerCore) {}

  const Server& server() const { return _server; }
  void Await(std::size_t records) { _readers.Await(kWatchers * records * kRecordSize); }

 private:
  static std::vector<Stream> Dial(const Server& server) {
    std::vector<Stream> streams;
    for (std::size_t i = 0; i < kWatchers; ++i) streams.push_back(DialWatcher(server, kConfigID));
    return streams;
  }

  Server _server{SOCK_STREAM};
  Readers _readers;
};

struct Setting {
  // Whoever changes, and the server with it, on the first processor, readers on the last.
  Setting() : changer(cores.at(0)), watchers(cores.back()), bare(cores.back()) {}

  const std::vector<int> cores = Cores();
  const Pinned changer;
  Watchers watchers;
  BareSockets bare;
};

}  // namespace

// From the change in the store's own process until all events are with the system. The next change
// waits until the readers have them.
Measurement MeasureChangeToTcpWatchers() {
  Setting setting;
  Config* const store =
      ConfigFactoryImpl::GetInstance()->Connect("local:configid=" + std::to_string(kConfigID));
  unsigned int value = 0;
  const Measurement result = TakeTurns(
      kRounds,
      [&] {
        const double time = Time([&] { store->Set(kParam, ++value); });
        setting.watchers.Await(1);
        return time;
      },
      [&] {
        const double time = Time([&] { setting.bare.SendToEach(1); });
        setting.bare.Await(1);
        return time;
      });
  ConfigFactoryImpl::GetInstance()->Disconnect(store);
  return result;
}

// From the first of the changes that a peer sends at once until the readers have all events. The
// reference sends what is waiting for a socket together.
Measurement MeasureEventsToTcpWatchers() {
  Setting setting;
  Stream changer = DialConfiguration(setting.watchers.server(), kConfigID);
  std::vector<char> changes;
  for (std::size_t i = 0; i < kInFlight; ++i) {
    const std::vector<char> change = SetRequest(kParam, static_cast<uint32_t>(i));
    changes.insert(changes.end(), change.begin(), change.end());
  }
  const Measurement times = TakeTurns(
      kRounds,
      [&] {
        return Time([&] {
          changer.Send(changes.data(), changes.size());
          setting.watchers.Await(kInFlight);
        });
      },
      [&] {
        return Time([&] {
          setting.bare.SendToEach(kInFlight);
          setting.bare.Await(kInFlight);
        });
      });
  constexpr double kEvents = kWatchers * kInFlight;
  return {kEvents * 1e9 / times.value, kEvents * 1e9 / times.reference};
}

// From the request's arrival at the connection that serves all datagram peers until it is answered
// and announced. The same listeners take the reference's datagram.
Measurement MeasureChangeToMulticastListeners() {
  const std::vector<int> cores = Cores();
  const Pinned changer(cores.at(0));
  std::vector<Stream> members;
  for (std::size_t i = 0; i < kWatchers; ++i) members.push_back(Stream::Member(kGroup, kGroupPort));
  Readers readers(std::move(members), cores.back());
  Stream bare = Stream::Sender(kGroup, kGroupPort);

  Socket server(AF_INET, SOCK_DGRAM);
  if (!server.create() || !server.bind("127.0.0.1", 0)) throw std::runtime_error("no socket");
  NetworkUDPConnection connection(&server);
  Stream peer = Stream::Sender("127.0.0.1", server.get_bound_port());
  sockaddr_in from = {};
  socklen_t size = sizeof from;
  ::getsockname(peer.fd(), reinterpret_cast<sockaddr*>(&from), &size);
  std::vector<char> connect = ConnectRequest(kConfigID);
  connection.ProcessMessages(connect.data(), static_cast<int>(connect.size()), from);
  char answer[kRecordSize];
  peer.Receive(answer, sizeof answer);

  const char event[kRecordSize] = {};
  uint32_t value = 0;
  return TakeTurns(
      kRounds,
      [&] {
        std::vector<char> set = SetRequest(kParam, ++value, kConfigID);
        const double time = Time(
            [&] { connection.ProcessMessages(set.data(), static_cast<int>(set.size()), from); });
        peer.Receive(answer, sizeof answer);
        readers.Await(kWatchers * kRecordSize);
        return time;
      },
      [&] {
        const double time = Time([&] { bare.Send(event, sizeof event); });
        readers.Await(kWatchers * kRecordSize);
        return time;
      });
}

}  // namespace bench
