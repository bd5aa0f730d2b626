#include "libconfig/access/ConfigURI.h"

namespace {

struct TransportURIs {
  const char* transport;
  const char* config;
  const char* events;
};

constexpr TransportURIs kTransports[] = {
    {"socket", "socket://127.0.0.1:43110/caching=true", "socket://127.0.0.1:43110"},
    {"udp", "udp://127.0.0.1:43110", "multicast://127.0.0.1:63110"},
    {"tcp", "tcp://127.0.0.1:43110", "tcp://127.0.0.1:43110"},
};

constexpr TransportURIs kInvalid = {"", "INVALID_URI", "INVALID_URI"};

const TransportURIs& Lookup(const std::string& transport) {
  for (const TransportURIs& row : kTransports) {
    if (transport == row.transport) return row;
  }
  return kInvalid;
}

}  // namespace

std::string GetConfigURI(const std::string& transport) { return Lookup(transport).config; }

std::string GetEventsURI(const std::string& transport) { return Lookup(transport).events; }
