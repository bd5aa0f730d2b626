#include "libconfig/access/PeerName.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace qel::config {
namespace {

constexpr std::size_t kLongestName = 64;

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

// A socket of this machine, as the kernel lists it.
struct OwnedSocket {
  bool found = false;
  std::string user;
  std::string link;  // as the descriptors of its processes read
};

// `address` is the socket's own.
OwnedSocket FindSocket(const std::string& address) {
  const std::size_t colon = address.rfind(':');
  in_addr host = {};
  unsigned int port = 0;
  if (colon == std::string::npos ||
      ::inet_pton(AF_INET, address.substr(0, colon).c_str(), &host) != 1 ||
      std::sscanf(address.c_str() + colon, ":%u", &port) != 1) {
    return {};
  }
  char wanted[16];
  std::snprintf(wanted, sizeof wanted, "%08X:%04X", host.s_addr, port);
  for (const char* const list : {"/proc/net/tcp", "/proc/net/udp"}) {
    std::ifstream file(list);
    for (std::string line; std::getline(file, line);) {
      std::istringstream words(line);
      std::string row;
      std::string local;
      std::string skipped;
      std::string inode;
      OwnedSocket socket;
      words >> row >> local;
      if (local != wanted) continue;
      // The peer's address, the state, the queues, the timer, retransmits; the user; a time-out.
      for (int i = 0; i < 5; ++i) words >> skipped;
      words >> socket.user >> skipped >> inode;
      socket.found = inode != "0" && !inode.empty();
      socket.link = "socket:[" + inode + "]";
      if (socket.found) return socket;
    }
  }
  return {};
}

enum class Holds { kYes, kNo, kUnknown };

Holds HoldsSocket(unsigned int pid, const OwnedSocket& socket) {
  const std::string folder = FolderOf(pid) + "/fd";
  const std::unique_ptr<DIR, int (*)(DIR*)> descriptors(::opendir(folder.c_str()), ::closedir);
  if (descriptors == nullptr) return Holds::kUnknown;
  while (const dirent* const entry = ::readdir(descriptors.get())) {
    if (LinkTarget(folder + "/" + entry->d_name) == socket.link) return Holds::kYes;
  }
  return Holds::kNo;
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

std::string DescribePeer(unsigned int lowBits, const std::string& address) {
  const bool here = address.empty() || address.compare(0, 4, "127.") == 0;
  const std::string place = address.empty() ? "a local socket" : address;
  if (!here) return place;
  const unsigned int pid = FindProcess(lowBits);
  const OwnedSocket socket = FindSocket(address);
  const std::string byUser = socket.found ? "user " + socket.user + " at " + place : place;
  const Holds holds = pid == 0 || !socket.found ? Holds::kUnknown : HoldsSocket(pid, socket);
  if (pid == 0 || holds == Holds::kNo) return byUser;
  const std::string process = ProgramOf(pid) + " (process " + std::to_string(pid);
  if (holds == Holds::kYes) return process + ") at " + place;
  return process + ", as it claims), " + byUser;
}

}  // namespace qel::config
