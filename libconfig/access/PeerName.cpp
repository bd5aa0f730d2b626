#include "libconfig/access/PeerName.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include "libconfig/access/SocketTable.h"

namespace qel::config {
namespace {

constexpr std::size_t kLongestName = 64;
// That are looked at: a process with very many of them would hold up the thread that asks.
constexpr int kMostDescriptors = 4096;

std::string Escaped(const std::string& name) {
  std::string shown;
  for (const char c : name) {
    char text[8] = {c, '\0'};
    if (c < ' ' || c > '~' || c == '\\') {
      std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned char>(c));
    }
    if (shown.size() + std::strlen(text) > kLongestName) break;
    shown += text;
  }
  return shown;
}

std::string FolderOf(unsigned int pid) { return "/proc/" + std::to_string(pid); }

// Empty when there is none, or we may not see it.
std::string LinkTarget(const std::string& path) {
  char target[4096];
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

// The one process of this machine whose number ends in these 16 bits; 0 when there is none, or more
// than one.
unsigned int FindProcess(unsigned int lowBits) {
  unsigned int limit = 0;
  std::ifstream("/proc/sys/kernel/pid_max") >> limit;
  unsigned int found = 0;
  for (unsigned int pid = lowBits; pid <= limit; pid += 0x10000) {
    if (pid == 0 || ::access(FolderOf(pid).c_str(), F_OK) != 0) continue;
    if (found != 0) return 0;
    found = pid;
  }
  return found;
}

// The socket at `address`, which is the socket's own; null when there is none. Others may have the
// same address: those that are connected elsewhere, and the datagram ones beside the stream ones.
std::unique_ptr<OwnedSocket> FindSocket(const std::string& address, unsigned port) {
  const std::size_t colon = address.rfind(':');
  SocketEnd end;
  if (colon == std::string::npos ||
      ::inet_pton(AF_INET, address.substr(0, colon).c_str(), &end.host) != 1 ||
      std::sscanf(address.c_str() + colon, ":%u", &end.port) != 1) {
    return nullptr;
  }
  for (const OwnedSocket& socket : ReadSocketTable(port == 0 ? "udp" : "tcp")) {
    if (socket.own == end && (port == 0 || socket.peer.port == port)) {
      return std::make_unique<OwnedSocket>(socket);
    }
  }
  return nullptr;
}

enum class Holds { kYes, kNo, kUnknown };

Holds HoldsSocket(unsigned int pid, const OwnedSocket& socket) {
  const std::string folder = FolderOf(pid) + "/fd";
  const std::unique_ptr<DIR, int (*)(DIR*)> descriptors(::opendir(folder.c_str()), ::closedir);
  if (descriptors == nullptr) return Holds::kUnknown;
  const std::string link = "socket:[" + std::to_string(socket.inode) + "]";
  for (int i = 0; i < kMostDescriptors; ++i) {
    const dirent* const entry = ::readdir(descriptors.get());
    if (entry == nullptr) return Holds::kNo;
    if (LinkTarget(folder + "/" + entry->d_name) == link) return Holds::kYes;
  }
  return Holds::kUnknown;
}

}  // namespace

std::string ProgramOf(unsigned int pid) {
  constexpr char kDeleted[] = " (deleted)";
  // The file that runs cannot be forged; the name that the process gave itself is what others see.
  std::string name = LinkTarget(FolderOf(pid) + "/exe");
  const std::size_t deleted = name.rfind(kDeleted);
  if (deleted != std::string::npos && deleted + sizeof kDeleted - 1 == name.size()) {
    name.erase(deleted);
  }
  if (name.empty()) {
    std::ifstream file(FolderOf(pid) + "/comm");
    std::getline(file, name);
  }
  return Escaped(name.substr(name.rfind('/') + 1));
}

std::string DescribePeer(unsigned int lowBits, const std::string& address, int port) {
  const bool here = address.empty() || address.compare(0, 4, "127.") == 0;
  std::string place = address.empty() ? "a local socket" : address;
  if (!here) return place;
  const unsigned int pid = FindProcess(lowBits);
  const std::unique_ptr<OwnedSocket> socket = FindSocket(address, static_cast<unsigned>(port));
  std::string byUser =
      socket != nullptr ? "user " + std::to_string(socket->user) + " at " + place : place;
  const Holds holds = pid == 0 || socket == nullptr ? Holds::kUnknown : HoldsSocket(pid, *socket);
  if (pid == 0 || holds == Holds::kNo) return byUser;
  const std::string process = ProgramOf(pid) + " (process " + std::to_string(pid);
  if (holds == Holds::kYes) return process + ") at " + place;
  return process + ", as it claims), " + byUser;
}

}  // namespace qel::config
