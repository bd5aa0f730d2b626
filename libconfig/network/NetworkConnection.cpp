#include "libconfig/network/NetworkConnection.h"

#include "libconfig/access/ParamRequest.h"

namespace qel::vorlane::config::access {

namespace {

thread_local NetworkConnection* t_current = nullptr;

}  // namespace

NetworkConnection::~NetworkConnection() = default;

bool NetworkConnection::DoSetRequest(Config* config, ConfigValue* value) {
  return qel::config::SetByClass(*config, *value);
}

std::string NetworkConnection::GetPeerName() { return "a network client"; }

NetworkConnection* NetworkConnection::Current() { return t_current; }

NetworkConnection::Working::Working(NetworkConnection* connection) { t_current = connection; }

NetworkConnection::Working::~Working() { t_current = nullptr; }

}  // namespace qel::vorlane::config::access
