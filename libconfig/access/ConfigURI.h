// The URIs of the device's own configuration service, for ConfigFactoryImpl::Connect. Options are
// appended, each behind a slash:
//
//   GetConfigURI("tcp") + "/caching=true/events=true"
//
// "configid=N" chooses another configuration of the service, "caching=true" keeps what was read in
// a cache, and "events=true" keeps that cache current. The URIs of "socket" name a transport that
// no factory of this library has.
#pragma once

#include <string>

#include "libconfig/base/Export.h"

// Where to reach the configuration by "socket", "udp" or "tcp", and where its events come from.
// "INVALID_URI" for any other keyword; case counts.
LIBCONFIG_API std::string GetConfigURI(const std::string& transport);
LIBCONFIG_API std::string GetEventsURI(const std::string& transport);
