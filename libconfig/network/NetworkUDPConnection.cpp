#include "libconfig/network/NetworkUDPConnection.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "libconfig/access/Config.h"
#include "libconfig/access/ParamRequest.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/network/AnswerBudget.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/Holder.h"
#include "libconfig/network/NetworkRecordTable.h"
#include "libconfig/network/Socket.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

namespace {

constexpr int kSendBuffer = 786432;

constexpr ParamFraming kFraming = {eSerializationFormat_Network, false,
                                   sizeof(XCONFIGMGR_RESPONSE_T), limits::kDatagram,
                                   eMessageError_NoValue};

// Null for what is no request, or not served: a listener joins the multicast group instead.
const RecordType* FindRequest(uint32_t type) {
  const auto* const record = FindNetworkRequest(type);
  const bool isListener =
      record != nullptr && record->size == sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T);
  return isListener ? nullptr : record;
}

std::unique_ptr<Socket> OpenMulticastSocket() {
  auto socket = std::make_unique<Socket>(AF_INET, SOCK_DGRAM);
  if (!socket->create()) {
    Report("NetworkUDPConnection - failed to create multicast Socket\n");
    return nullptr;
  }
  if (!socket->bind(multicast::kInterface, 0)) {
    ReportErrno("SocketConnect multicast");
    Report("NetworkUDPConnection - failed to bind multicast Socket\n");
    return nullptr;
  }
  socket->set_buffer_size(SO_SNDBUF, kSendBuffer);
  return socket;
}

}  // namespace

NetworkUDPConnection::NetworkUDPConnection(Socket* serverSocket)
    : _multicastSocket(OpenMulticastSocket()),
      _serverSocket(serverSocket),
      _budget(std::make_unique<AnswerBudget>()) {
  _multicastAddress.sin_family = AF_INET;
  _multicastAddress.sin_port = htons(multicast::kPort);
  ::inet_pton(AF_INET, multicast::kGroup, &_multicastAddress.sin_addr);
}

NetworkUDPConnection::~NetworkUDPConnection() {
  for (auto& entry : _instances) DisconnectStore(entry.second.store);
}

void NetworkUDPConnection::ProcessMessages(char* data, int length, sockaddr_in& from) {
  const Working working(this);
  const auto received = static_cast<std::size_t>(length < 0 ? 0 : length);
  NetworkRequest request = {};
  std::size_t size = sizeof request.msgtype;
  if (received >= size) {
    std::memcpy(&request.msgtype, data, sizeof request.msgtype);
    const RecordType* const record = FindRequest(request.msgtype);
    if (record == nullptr) {
      Report(
          "NetworkUDPConnection::ProcessDatagramMessages - Unknown message type \"%s\" (0x%X )\n",
          ConnectionUtilities::GetMessageName(request.msgtype).c_str(), request.msgtype);
      return;
    }
    size = record->size;
  }
  if (received < size) {
    Report("NetworkUDPConnection::ProcessDatagramMessages - insufficient message length\n");
    return;
  }
  std::memcpy(&request, data, size);
  _peer = from;
  _connectionID = request.connection.connectionID;
  _received = received;
  switch (request.msgtype) {
    case XCFG_CONNECT_REQUEST:
      return ProcessConnectRequest(request.connection);
    case XCFG_DISCONNECT_REQUEST:
      return ProcessDisconnectRequest(request.connection);
    default:
      break;
  }
  ConnectionUtilities::Dump(&request.param);
  if (request.msgtype == XCFG_SET_STREAM_PARAM_REQUEST) {
    const uint32_t announced = request.param.streamLength;
    ProcessSetStreamRequest(request.param.configID, data + size,
                            announced <= received - size ? announced : 0);
  } else {
    ProcessParamRequest(request.param);
  }
}

NetworkUDPConnection::User NetworkUDPConnection::CurrentUser() const {
  return {_peer.sin_addr.s_addr, _peer.sin_port, _connectionID};
}

// Evicts an entry. The default configuration, which most peers want, is evicted last; before it,
// what has not been used lately, then what belongs to whoever has too much, then the newcomer's
// own. The newcomer's come first where he has too much, and of these what he alone uses. False when
// all belong to others.
bool NetworkUDPConnection::MakeRoom(const Holder& newcomer) {
  std::map<Holder, std::size_t> counts;
  for (const auto& entry : _instances) ++counts[*entry.second.holder];
  constexpr std::size_t kShare = limits::kUdpConfigurations / 2;
  const bool hasTooMuch = counts[newcomer] >= kShare;
  const auto usedSince =
      std::chrono::steady_clock::now() - std::chrono::milliseconds(limits::kUdpInUseMs);
  enum Order { kOwn, kUnused, kOfTheGreedy, kOwnInNeed, kSpared };
  const auto order = [&](const Instance& instance) {
    const bool isOwn = *instance.holder == newcomer;
    if (hasTooMuch) return isOwn ? kOwn : kSpared;
    if (instance.lastUse < usedSince) return kUnused;
    if (counts[*instance.holder] > kShare) return kOfTheGreedy;
    return isOwn ? kOwnInNeed : kSpared;
  };
  const auto isOfAnotherSender = [&](const User& user) {
    return std::get<0>(user) != _peer.sin_addr.s_addr || std::get<1>(user) != _peer.sin_port;
  };
  const auto isShared = [&](const Instance& instance) {
    return std::any_of(instance.users.begin(), instance.users.end(), isOfAnotherSender);
  };
  const auto rank = [&](const auto& entry) {
    const Instance& instance = entry.second;
    const bool isSpared = order(instance) == kSpared;
    return std::make_tuple(isSpared, entry.first == static_cast<uint32_t>(eConfigID_Default),
                           order(instance), isShared(instance), instance.store != nullptr,
                           instance.lastUse);
  };
  const auto victim = std::min_element(
      _instances.begin(), _instances.end(),
      [&](const auto& left, const auto& right) { return rank(left) < rank(right); });
  if (order(victim->second) == kSpared) return false;
  DisconnectStore(victim->second.store);
  _instances.erase(victim);
  return true;
}

// Null when there is no room.
NetworkUDPConnection::Instance* NetworkUDPConnection::FindOrAdd(uint32_t configID) {
  const auto found = _instances.find(configID);
  if (found != _instances.end()) return &found->second;
  const auto holder = std::make_shared<Holder>(_peer);
  // Looking users up takes milliseconds; later the peers may have left.
  if (_serverSocket != nullptr && _instances.size() >= limits::kUdpConfigurations / 4) {
    std::vector<Holder*> holders = {holder.get()};
    for (const auto& entry : _instances) holders.push_back(entry.second.holder.get());
    Holder::NameUsers("udp", _serverSocket->get_bound_port(), holders);
  }
  if (_instances.size() >= limits::kUdpConfigurations && !MakeRoom(*holder)) return nullptr;
  Instance& instance = _instances[configID];
  instance.holder = holder;
  return &instance;
}

bool NetworkUDPConnection::AddUser(uint32_t configID) {
  Instance* const added = FindOrAdd(configID);
  if (added == nullptr) return false;
  Instance& instance = *added;
  instance.lastUse = std::chrono::steady_clock::now();
  if (instance.store == nullptr) {
    instance.store = ConnectStore(static_cast<eConfigID_t>(configID));
  }
  if (instance.store == nullptr) {
    _instances.erase(configID);
    return false;
  }
  std::vector<User>& users = instance.users;
  const User user = CurrentUser();
  if (std::find(users.begin(), users.end(), user) != users.end()) return true;
  if (users.size() >= limits::kUdpUsers) {
    users.erase(users.begin());
    instance.hasForgotten = true;
  }
  users.push_back(user);
  return true;
}

void NetworkUDPConnection::ProcessConnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  if (!AddUser(request.configID)) {
    Report("NetworkUDPConnection::ProcessConnectRequest - unable to connect to the config\n");
    return;
  }
  // A client reads the first 28 bytes of this, where the error has another place: both are zero.
  const auto response =
      ResponseTo<XCONFIGMGR_RESPONSE_T>(request, XCFG_CONNECT_RESPONSE, kResultWord);
  SendTo(&response, sizeof response);
}

void NetworkUDPConnection::ProcessDisconnectRequest(
    const XCONFIGMGR_CONNECTION_REQUEST_T& request) {
  const auto found = _instances.find(request.configID);
  if (found == _instances.end()) {
    Report("NetworkUDPConnection::ProcessDisconnectRequest - Unable to find instance to %s\n",
           ("local:configid=" + std::to_string(static_cast<int>(request.configID))).c_str());
  } else {
    Instance& instance = found->second;
    const auto user = std::find(instance.users.begin(), instance.users.end(), CurrentUser());
    const bool wasThere = user != instance.users.end();
    if (wasThere) instance.users.erase(user);
    if (wasThere && instance.users.empty() && !instance.hasForgotten) {
      auto* const store = dynamic_cast<ConfigManager*>(instance.store);
      const bool lastUse = store != nullptr && store->GetUseCount() == 1;
      if (store == nullptr) {
        Report(
            "NetworkUDPConnection::ProcessDisconnectRequest - Unable to get ConfigManger for "
            "ConfigID %d\n",
            static_cast<int>(request.configID));
      }
      DisconnectStore(instance.store);
      instance.store = nullptr;
      if (lastUse) _instances.erase(found);
    }
  }
  const auto response =
      ResponseTo<XCONFIGMGR_CONNECTION_RESPONSE_T>(request, XCFG_DISCONNECT_RESPONSE, kResultWord);
  if (!SendTo(&response, sizeof response)) {
    ReportErrno("NetworkUDPConnection::ProcessDisconnectRequest - unable to send response");
    Report("NetworkUDPConnection::ProcessDisconnectRequest: unable to send response\n");
  }
}

NetworkUDPConnection::UsedStore NetworkUDPConnection::UseStore(uint32_t configID) {
  UsedStore store(nullptr, [](Config*) {});
  const auto found = _instances.find(configID);
  if (found != _instances.end()) {
    found->second.lastUse = std::chrono::steady_clock::now();
    store.reset(found->second.store);
    if (store == nullptr) {
      store = UsedStore(ConnectLivingStore(static_cast<eConfigID_t>(configID)), DisconnectStore);
    }
    if (store == nullptr) _instances.erase(found);
  }
  if (store == nullptr) {
    Report("NetworkUDPConnection::GetConfig - ConfigID %d instance not present\n",
           static_cast<int>(configID));
  }
  return store;
}

void NetworkUDPConnection::ProcessParamRequest(const XCONFIGMGR_REQUEST_T& request) {
  const UsedStore store = UseStore(request.configID);
  if (store == nullptr) return;
  const auto param = static_cast<eParam_t>(request.paramID);
  ParamAnswer answer =
      AnswerParamRequest(*store, {request.msgtype, param, request.value, nullptr, 0}, kFraming);
  const bool getsStream = request.msgtype == XCFG_GET_STREAM_PARAM_REQUEST;
  // The type of a value's answer is the request's own; clients have always been answered so.
  auto response = ParamResponseTo(
      request, getsStream ? request.msgtype : AnswerType(request.msgtype), kResultWord);
  response.value = answer.value;
  // A number that cannot be read is 0.
  if (request.msgtype != XCFG_GET_PARAM_REQUEST) response.error = answer.error;
  if (answer.record.empty()) {
    SendTo(&response, sizeof response);
  } else {
    PutAhead(response, answer.record);
    if (!SendTo(answer.record.data(), answer.record.size())) {
      Report("NetworkUDPConnection::ProcessGetStreamRequest - sendto failed\n");
    }
  }
  if (request.msgtype == XCFG_SET_PARAM_REQUEST && answer.error == 0) {
    ParamChanged(param, request.configID, store->Get(param));
  }
}

bool NetworkUDPConnection::ProcessSetStreamRequest(unsigned int configID, char* data,
                                                   unsigned int length) {
  if (length == 0) {
    Report("NetworkUDPConnection::ProcessSetStreamMessage - invalid streamLength\n");
    return false;
  }
  const UsedStore store = UseStore(configID);
  if (store == nullptr) return false;
  const ParamAnswer answer = AnswerParamRequest(
      *store, {XCFG_SET_STREAM_PARAM_REQUEST, eParamID_None, 0, data, length}, kFraming);
  if (answer.error != 0) return false;
  ParamChanged(answer.param, configID, data, length);
  return true;
}

// Nobody elsewhere can take the address of a peer of this machine.
bool NetworkUDPConnection::SendTo(const void* record, std::size_t length) {
  if (_serverSocket == nullptr) return false;
  if (!Socket::IsLoopback(_peer) &&
      !_budget->Spend(_peer.sin_addr.s_addr, _received, length, std::chrono::steady_clock::now())) {
    errno = EDQUOT;
    return false;
  }
  return _serverSocket->sendto(const_cast<void*>(record), static_cast<unsigned>(length), _peer) !=
         0;
}

void NetworkUDPConnection::Multicast(void* event, std::size_t length) {
  if (_multicastSocket == nullptr) return;
  if (!_multicastSocket->sendto(event, static_cast<unsigned>(length), _multicastAddress)) {
    ReportErrno("NetworkUDPConnection::ParamChanged");
  }
}

void NetworkUDPConnection::ParamChanged(eParam_t param, unsigned int configID, unsigned int value) {
  auto event = MakeEvent<XCONFIGMGR_RESPONSE_T>(XCFG_PARAM_CHANGED_EVENT, configID, param);
  event.requestID = _sequence++;
  event.value = value;
  Multicast(&event, sizeof event);
}

void NetworkUDPConnection::ParamChanged(eParam_t param, unsigned int configID, char* data,
                                        unsigned int length) {
  auto event = MakeEvent<XCONFIGMGR_RESPONSE_T>(XCFG_PARAM_STREAM_CHANGED_EVENT, configID, param);
  std::vector<char> datagram(sizeof event);
  datagram.insert(datagram.end(), data, data + length);
  PutAhead(event, datagram);
  Multicast(datagram.data(), datagram.size());
}

std::string NetworkUDPConnection::GetPeerName() { return NetworkConnection::GetPeerName(); }

std::shared_ptr<NetworkPeer> NetworkUDPConnection::GetPeer() {
  if (_named == nullptr || _namedUser != CurrentUser()) {
    _namedUser = CurrentUser();
    _named = std::make_shared<NetworkPeer>(_connectionID, Socket::NameAddress(_peer), 0);
  }
  return _named;
}

}  // namespace qel::vorlane::config::access
