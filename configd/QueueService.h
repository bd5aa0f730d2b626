// The daemon's message queue.
#pragma once

#include <memory>
#include <string>

#include "libconfig/libconfig.h"

// The queue that is served as `name`, to be started. Null where it cannot be had, after one line on
// standard error that says what to do; `isTaken` tells whether another daemon has it.
std::unique_ptr<PosixMQServer> OpenQueue(const std::string& name, bool& isTaken);
