#include "libconfig/network/NetworkConnection.h"

#include <exception>

#include "libconfig/access/ParamRequest.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/network/ConnectionUtilities.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

struct NetworkPeer::State {
  const unsigned int connectionID;
  const std::string address;
  const int port;
  qel::config::Mutex mutex;
  std::string name LIBCONFIG_GUARDED_BY(mutex);
};

NetworkPeer::NetworkPeer(unsigned int connectionID, std::string address, int port)
    : _state(new State{connectionID, std::move(address), port, {}, {}}) {}

NetworkPeer::~NetworkPeer() = default;

std::string NetworkPeer::Describe() {
  MutexLock lock(_state->mutex);
  if (_state->name.empty()) {
    _state->name =
        ConnectionUtilities::DescribePeer(_state->connectionID, _state->address, _state->port);
  }
  return _state->name;
}

NetworkConnection::~NetworkConnection() = default;

bool NetworkConnection::DoSetRequest(Config* config, ConfigValue* value) {
  return qel::config::SetByClass(*config, *value);
}

std::string NetworkConnection::GetPeerName() {
  const std::shared_ptr<NetworkPeer> peer = GetPeer();
  return peer == nullptr ? "a network client" : peer->Describe();
}

std::shared_ptr<NetworkPeer> NetworkConnection::GetPeer() { return nullptr; }

NetworkConnection::Working*& NetworkConnection::ThreadsOwn() {
  static thread_local Working* working = nullptr;
  return working;
}

NetworkConnection* NetworkConnection::Current() {
  const Working* const working = ThreadsOwn();
  return working == nullptr ? nullptr : working->_connection;
}

std::shared_ptr<NetworkPeer> NetworkConnection::CurrentPeer() {
  Working* const working = ThreadsOwn();
  if (working == nullptr) return nullptr;
  return working->_asked = working->_connection->GetPeer();
}

NetworkConnection::Working::Working(NetworkConnection* connection) : _connection(connection) {
  ThreadsOwn() = this;
}

NetworkConnection::Working::~Working() {
  NameCurrentPeer();
  ThreadsOwn() = nullptr;
}

void NetworkConnection::NameCurrentPeer() {
  Working* const working = ThreadsOwn();
  if (working == nullptr || working->_asked == nullptr) return;
  try {
    working->_asked->Describe();
  } catch (const std::exception&) {
    // Whoever needs it finds it, or does without.
  }
  working->_asked.reset();
}

}  // namespace qel::vorlane::config::access
