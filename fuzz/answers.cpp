// What the clients take from a server and the daemon: answers to one request of each kind, in the
// order of tests/golden/records.txt, and events.
#include <sys/socket.h>

#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/IPCDeSerializer.h"
#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/NetworkTCPClient.h"
#include "libconfig/network/NetworkUDPClient.h"
#include "libconfig/network/Socket.h"
#include "libconfig/serialization/Serializable.h"

namespace {

using namespace qel::vorlane::config::access;
using fuzz::Peer;

// As in the seeds.
constexpr unsigned kConnectionID = 1;
constexpr auto kNumber = static_cast<eParam_t>(0x7d06000a);
constexpr auto kText = static_cast<eParam_t>(0x32050000);

class Listener : public ConfigEventListener {
 public:
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t, unsigned, timeval) override {}
  void ParamChanged(eParam_t, std::string, timeval) override {}
};

Socket* MakeSocket(int family, int type) {
  auto* const socket = new Socket(family, type);
  fuzz::Require(socket->create() != 0);
  return socket;
}

class TcpClient : public NetworkTCPClient {
 public:
  TcpClient()
      : NetworkTCPClient(kConnectionID, MakeSocket(AF_UNIX, SOCK_STREAM), eConfigID_Default) {}
};

class UdpClient : public NetworkUDPClient {
 public:
  UdpClient()
      : NetworkUDPClient(kConnectionID, MakeSocket(AF_INET, SOCK_DGRAM), eConfigID_Default) {}

  // Until the last datagram, on this thread.
  void Listen(ConfigEventListener& listener) {
    GetEvents()->listeners.Add(&listener, qel::config::ListenerList::Duplicates::kIgnore);
    Peer::Instance().onEnd = [this] { GetSocket().close(); };
    ProcessEvents();
  }
};

}  // namespace

void TcpAnswers(const uint8_t* data, size_t size) {
  Peer::Instance().messages = fuzz::Split(data, size);
  TcpClient client;
  unsigned number = 0;
  std::string text;
  client.ConfirmConnection();
  client.Get(kNumber, number);
  client.Set(kNumber, 1U);
  client.Set(kText, std::string("Edit 7"));
  client.Get(kText, text);
  client.ConfirmDisconnect();
  client.UnregisterForEvents();
  client.ProcessEvents();
}

void UdpAnswers(const uint8_t* data, size_t size) {
  Peer::Instance().messages = fuzz::Split(data, size);
  UdpClient client;
  unsigned number = 0;
  std::string text;
  client.ConfirmConnection();
  client.Set(kNumber, 1U);
  client.Get(kNumber, number);
  client.Set(kText, std::string("Edit 7"));
  client.Get(kText, text);
  client.Get(kText, text);
  client.ConfirmDisconnect();
}

void MulticastEvents(const uint8_t* data, size_t size) {
  Peer::Instance().messages = fuzz::Split(data, size);
  Listener listener;
  UdpClient().Listen(listener);
}

void QueueAnswers(const uint8_t* data, size_t size) {
  Peer::Instance().messages = fuzz::Split(data, size);
  PosixMQFactory factory;
  const int queue = ::mq_open("", 0);
  int requests = 1;
  unsigned number = 0;
  std::string text;
  ConfigEvent event;
  Listener listener;
  factory.ConfirmConnection(queue, queue, kConnectionID, 10);
  PosixMQClient client(kConnectionID, 10, queue, queue, nullptr, requests, eConfigID_Default);
  client.Get(kNumber, number);
  client.Set(kText, std::string("Edit 7"));
  client.Get(kText, text);
  client.AddConfigEventListener(&listener);
  client.Set(kNumber, 1U);
  client.RemoveConfigEventListener(&listener);
  factory.ConfirmDisconnect(&client);
  client.WaitForConfigEvent(event, 0, 0);
  client.ProcessEvents();
}

void SystemV(const uint8_t* data, size_t size) {
  Peer::Instance().messages = fuzz::Split(data, size);
  for (const auto format : {eSerializationFormat_Network, eSerializationFormat_Queue}) {
    IPCDeSerializer stream(format, 0);
    CONFIGMGR_STREAM_HEADER_T header = {};
    header.mtype = 1;
    delete stream.Read(header, true);
  }
}
