// Splits a configuration URI such as "tcp://127.0.0.1:43110".
#pragma once

#include <string>

#include "libconfig/base/Export.h"

namespace url {

struct URL {
  std::string scheme;
  std::string host;
  std::string port;
};

// Whatever follows the port, options included, is not returned. A URI of fewer than three parts
// gives empty strings, with a message.
LIBCONFIG_API URL parse(std::string& uri);

}  // namespace url
