// Tells the service manager how the daemon is doing, by the datagram socket that it names in
// NOTIFY_SOCKET. Without one nothing is sent.
#pragma once

namespace service_manager {

// `state` is an assignment such as "READY=1".
void Notify(const char* state);

}  // namespace service_manager
