// The URIs of the device's own configuration service.
#pragma once

#include <string>

#include "libconfig/base/Export.h"

// Where to reach the configuration by "socket", "udp" or "tcp", and where its events come from.
// "INVALID_URI" for any other keyword; case counts.
LIBCONFIG_API std::string GetConfigURI(const std::string& transport);
LIBCONFIG_API std::string GetEventsURI(const std::string& transport);
