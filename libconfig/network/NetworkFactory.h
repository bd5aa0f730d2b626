// Connects to configurations by network URI: "tcp://HOST:PORT" or "udp://HOST:PORT", HOST a dotted
// address, with options such as "/configid=3" behind it. "multicast://HOST:PORT" makes a client
// that only hears the changes which a server of this device announces to that port. Any thread.
#pragma once

#include <string>

#include "libconfig/base/Export.h"

namespace qel::vorlane::config::access {

class NetworkClient;

class LIBCONFIG_API NetworkFactory {
 public:
  // Null, with a message, when the URI is invalid or no server answers.
  NetworkClient* Connect(std::string uri);

  // Disconnects from the server and deletes the client. Ignores a pointer that is no living client.
  void Disconnect(NetworkClient* client);
};

}  // namespace qel::vorlane::config::access
