// Reads from the library's own server, without a listener on the client and with one, and how long
// such exchanges take.
#pragma once

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bench/Machine.h"
#include "bench/Rounds.h"
#include "bench/Sockets.h"
#include "libconfig/libconfig.h"

namespace bench {

// The configuration that is read from.
constexpr int kReadConfigID = 9002;

struct IdleListener : ConfigEventListener {
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t, unsigned int, timeval) override {}
  void ParamChanged(eParam_t, std::string, timeval) override {}
};

// The library's client and server, with the server's threads on `serverCore`.
class NetworkGet {
 public:
  NetworkGet(int type, int serverCore) {
    {
      const Pinned pinned(serverCore);
      _server = std::make_unique<Server>(type);
    }
    _config = ConfigFactoryImpl::GetInstance()->Connect(_server->Uri(kReadConfigID));
    if (_config == nullptr) throw std::runtime_error("no connection to the server");
  }
  ~NetworkGet() { ConfigFactoryImpl::GetInstance()->Disconnect(_config); }
  NetworkGet(const NetworkGet&) = delete;
  NetworkGet& operator=(const NetworkGet&) = delete;

  NetworkGet& Listen() {
    if (_config->AddConfigEventListener(&_listener) == 0) throw std::runtime_error("no listening");
    return *this;
  }

  void operator()() {
    unsigned int value;
    if (_config->Get(eParamID_IPConfig, value) != 1) throw std::runtime_error("a Get failed");
  }

 private:
  IdleListener _listener;
  std::unique_ptr<Server> _server;
  Config* _config;
};

// How long an exchange takes: the median of many.
template <typename Exchange>
double MedianRoundTrip(Exchange& exchange) {
  std::vector<double> times(200);
  for (double& time : times) time = Time([&exchange] { exchange(); });
  return Median(std::move(times));
}

}  // namespace bench
