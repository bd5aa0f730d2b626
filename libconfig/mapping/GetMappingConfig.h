// The way to a configuration in which the recorder's proxies are what they stand for.
//
//   std::unique_ptr<Config> config(GetMappingConfig("tcp", false, true));
//   config->Get(eParamID_IPAddress);  // the address in force, by DHCP or not
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/mapping/MappingConfig.h"

// `uri` is a transport keyword, for the device's own service (see ConfigURI.h), or a full URI for
// both connections; over UDP, events come from this device's multicast group. The flags are those
// of MappingConfig::Create. The caller owns the result, and deletes it to give the connections
// back; null, with a message, on failure. Any thread.
LIBCONFIG_API qel::vorlane::config::access::MappingConfig* GetMappingConfig(const std::string& uri,
                                                                            bool priority,
                                                                            bool caching);
