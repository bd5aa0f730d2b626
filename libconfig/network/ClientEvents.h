// What a client's events thread works on. The thread shares it with the client, which a listener
// may hand back from inside its call. Internal.
#pragma once

#include <atomic>

#include "libconfig/access/ListenerList.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::vorlane::config::access {

struct NetworkClient::Events {
  qel::config::ListenerList listeners;
  // The client was deleted on the events thread, which then touches nothing of it any more.
  std::atomic<bool> clientGone{false};
};

}  // namespace qel::vorlane::config::access
