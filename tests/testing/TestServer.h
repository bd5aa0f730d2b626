// Servers and stores of this process.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <string>
#include <thread>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/network/NetworkServer.h"

namespace testing_support {

// Serves a port that the system chose, for as long as the object lives.
class TestServer {
 public:
  // `type` is SOCK_STREAM or SOCK_DGRAM.
  explicit TestServer(int type = SOCK_STREAM, const std::string& address = "127.0.0.1")
      : _server(new Server(AF_INET, type, 0, address)),
        _scheme(type == SOCK_STREAM ? "tcp" : "udp") {
    ConfigFactoryImpl::GetInstance();
    EXPECT_TRUE(_server->Init());
    _port = _server->GetPort();
    // On a thread that can be joined, so that the server's last words are not the next test's.
    _thread = std::thread(Server::pthread_start, _server);
  }
  ~TestServer() {
    _server->Stop();
    _thread.join();
  }
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  int GetPort() const { return _port; }
  std::chrono::milliseconds GetBusyTime() const { return _server->GetBusyTime(); }
  std::string GetURI() const { return _scheme + "://127.0.0.1:" + std::to_string(_port); }

 private:
  using Server = qel::vorlane::config::access::NetworkServer;
  Server* const _server;
  const std::string _scheme;
  int _port = 0;
  std::thread _thread;
};

// A store of the test's own, held open so that its state can be looked at.
class Store {
 public:
  explicit Store(uint32_t number)
      : _config(ConfigFactoryImpl::GetInstance()->Connect("local:configid=" +
                                                          std::to_string(number))) {}
  ~Store() { ConfigFactoryImpl::GetInstance()->Disconnect(_config); }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ConfigManager* operator->() { return static_cast<ConfigManager*>(_config); }

 private:
  Config* const _config;
};

}  // namespace testing_support
