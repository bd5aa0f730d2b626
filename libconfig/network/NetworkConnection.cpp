#include "libconfig/network/NetworkConnection.h"

#include <exception>

#include "libconfig/access/ParamRequest.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/network/ConnectionUtilities.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

namespace {

thread_local NetworkConnection* t_current = nullptr;
// Who was asked for while the thread worked on a request.
thread_local std::shared_ptr<NetworkPeer> t_asked;

}  // namespace

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

NetworkConnection* NetworkConnection::Current() { return t_current; }

std::shared_ptr<NetworkPeer> NetworkConnection::CurrentPeer() {
  if (t_current == nullptr) return nullptr;
  t_asked = t_current->GetPeer();
  return t_asked;
}

NetworkConnection::Working::Working(NetworkConnection* connection) { t_current = connection; }

NetworkConnection::Working::~Working() {
  NameCurrentPeer();
  t_current = nullptr;
}

void NetworkConnection::NameCurrentPeer() {
  if (t_asked == nullptr) return;
  try {
    t_asked->Describe();
  } catch (const std::exception&) {
    // Whoever needs it finds it, or does without.
  }
  t_asked.reset();
}

}  // namespace qel::vorlane::config::access
