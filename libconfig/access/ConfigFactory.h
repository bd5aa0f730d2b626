// Hands out connections to configurations by URI, and takes them back.
#pragma once

#include <string>

#include "libconfig/access/Runnable.h"
#include "libconfig/base/Export.h"

class Config;

class LIBCONFIG_API ConfigFactory : public Runnable {
 public:
  // Null on failure. The caller owns the connection until it hands it back.
  virtual Config* Connect(std::string uri) = 0;
  virtual int Disconnect(Config* config) = 0;
};
