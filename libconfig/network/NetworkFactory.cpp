#include "libconfig/network/NetworkFactory.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/NetworkTCPClient.h"
#include "libconfig/network/NetworkUDPClient.h"
#include "libconfig/network/Socket.h"
#include "libconfig/network/Url.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

namespace {

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// A number beyond the range of its type is the nearer end of it, as in the process's own factory.
eConfigID_t ReadConfigID(const std::string& uri) {
  constexpr char kOption[] = "configid=";
  const std::size_t option = uri.find(kOption);
  if (option == std::string::npos) return eConfigID_Default;
  const char* const digits = uri.c_str() + option + sizeof kOption - 1;
  char* end = nullptr;
  const long long number = std::strtoll(digits, &end, 10);
  if (end != digits) {
    using Range = std::numeric_limits<int32_t>;
    return static_cast<eConfigID_t>(std::clamp<long long>(number, Range::min(), Range::max()));
  }
  Report("NetworkFactory::Connect - unable to read configid, matches = %d, uri = %s\n",
         *digits == '\0' ? -1 : 0, uri.c_str());
  return eConfigID_Default;
}

}  // namespace

NetworkClient* NetworkFactory::Connect(std::string uri) {
  const unsigned int connectionID = ConnectionUtilities::GetConnectionID();
  const url::URL url = url::parse(uri);
  if (url.port.empty()) return nullptr;
  const long number = std::strtol(url.port.c_str(), nullptr, 10);
  const eConfigID_t configID = ReadConfigID(uri);
  const bool stream = Contains(uri, "tcp");
  const bool multicast = Contains(uri, "multicast");
  if (!stream && !multicast && !Contains(uri, "udp")) {
    Report("NetworkFactory::Connect - The transport for %s is not supported\n", uri.c_str());
    return nullptr;
  }
  auto socket = std::make_unique<Socket>(AF_INET, stream ? SOCK_STREAM : SOCK_DGRAM);
  if (!socket->create()) {
    Report("NetworkFactory::Connect - failed to create socket\n");
    return nullptr;
  }
  const bool isPort = number >= 1 && number <= 65535;
  if (!isPort || (!multicast && !socket->connect(url.host, static_cast<int>(number)))) {
    Report("NetworkFactory::Connect - failed to connect to host %s, port %d\n", url.host.c_str(),
           static_cast<int>(number));
    return nullptr;
  }
  if (multicast) socket->bind(static_cast<int>(number));
  std::unique_ptr<NetworkClient> client;
  if (stream) {
    client = std::make_unique<NetworkTCPClient>(connectionID, socket.release(), configID);
  } else {
    client = std::make_unique<NetworkUDPClient>(connectionID, socket.release(), configID);
  }
  if (!multicast && !client->ConfirmConnection()) {
    Report("NetworkFactory::Connect - failed to confirm connection with host %s\n",
           url.host.c_str());
    return nullptr;
  }
  return client.release();
}

void NetworkFactory::Disconnect(NetworkClient* client) {
  if (client == nullptr || !qel::config::LiveConfigs<NetworkClient>::Instance().Contains(client)) {
    return;
  }
  // Drop the events that no listener was notified of yet.
  client->_events->listeners.Close();
  client->ConfirmDisconnect();
  client->StopEventsThread();
  delete client;
}

}  // namespace qel::vorlane::config::access

namespace qel::config {
namespace {

using vorlane::config::access::NetworkClient;

class NetworkTransport : public Transport {
 public:
  Config* Connect(const std::string& uri) override { return _factory.Connect(uri); }
  bool Disconnect(Config* config) override {
    if (!LiveConfigs<NetworkClient>::Instance().Contains(config)) return false;
    _factory.Disconnect(static_cast<NetworkClient*>(config));
    return true;
  }

 private:
  vorlane::config::access::NetworkFactory _factory;
};

}  // namespace

std::unique_ptr<Transport> MakeNetworkTransport() { return std::make_unique<NetworkTransport>(); }

}  // namespace qel::config
