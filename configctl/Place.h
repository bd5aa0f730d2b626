// Where a configuration is to be found: what the user named with --uri and --config, understood and
// checked. The library takes dotted addresses only; Resolve finds the one that belongs to a name.
#pragma once

#include <chrono>
#include <string>

namespace configctl {

class Place {
 public:
  static constexpr int kDefaultPort = 43110;
  static constexpr int kNoConfig = -1;

  // Understands "tcp://HOST:PORT" or another transport's name, with "/configid=N" behind it or not;
  // the port may be left out. "multicast://HOST:PORT" is where changes made over UDP are announced;
  // whoever has a question asks over UDP at the port that "/ask=PORT" names. `config` overrides the
  // URI's configuration number unless it is kNoConfig. "mq:" is the message queue of this machine's
  // daemon, "mq:/NAME" that of another one. Throws Failure.
  Place(const std::string& uri, int config);

  // Finds the address, which may take long. Throws Failure.
  void Resolve();

  // As the user would write it.
  std::string GetURI() const;
  int GetConfig() const { return _config; }
  // The name of the daemon's message queue; empty for every other transport.
  const std::string& GetQueue() const { return _queue; }
  bool HasConnections() const;
  // Whether changes can be heard there.
  bool CanListen() const;
  // Whether it is on the machine that this program runs on, as far as addresses tell. REQUIRES:
  // Resolve.
  bool IsOnThisMachine() const;
  // What the library connects to. REQUIRES: Resolve.
  std::string GetLibraryURI() const;
  // What it connects to in order to listen, when that is another place; empty otherwise.
  std::string GetListeningURI() const;

  // Opens a connection and closes it again. Returns 0 when that worked within `limit`, else the
  // system's error number: ECONNREFUSED where a transport has no connections. REQUIRES: Resolve.
  int Probe(std::chrono::milliseconds limit) const;

 private:
  struct Scheme;
  static const Scheme kSchemes[];

  bool IsListeningPlace() const;
  std::string LibraryURI(const char* scheme, int port) const;
  void ReadQueue(const std::string& uri, const std::string& rest, int config);
  void ReadOptions(const std::string& uri, std::string options);

  const Scheme* _scheme = nullptr;
  std::string _queue;
  std::string _host;
  int _port = kDefaultPort;
  int _askPort = kDefaultPort;
  int _config = 0;
  std::string _address;  // dotted
};

}  // namespace configctl
