// Where changes made over UDP are announced. The group is used on the loopback interface only, so
// that the traffic stays on the device. Internal.
#pragma once

namespace qel::vorlane::config::access::multicast {

constexpr char kGroup[] = "239.81.69.76";
constexpr char kInterface[] = "127.0.0.1";
constexpr int kPort = 63110;

}  // namespace qel::vorlane::config::access::multicast
