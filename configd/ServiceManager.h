// Tells the service manager how the daemon is doing, by the datagram socket that it names in
// NOTIFY_SOCKET. Without one nothing is sent.
#pragma once

#include <chrono>

namespace service_manager {

// `state` is an assignment such as "READY=1".
void Notify(const char* state);

// How long the service manager waits to hear WATCHDOG=1 before it restarts the daemon; zero where
// it does not.
std::chrono::milliseconds GetWatchdogTime();

}  // namespace service_manager
