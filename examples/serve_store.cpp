// Serves a store of this process over TCP until SIGTERM or SIGINT. What is set is forgotten then.
#include <signal.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

#include "libconfig/libconfig.h"

using qel::vorlane::config::access::NetworkServer;

int main(int argc, char** argv) {
  // Ahead of all threads, so that the signals wait for this one.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGINT);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  qel::config::SilenceMessages();

  // A store lives while somebody is connected to it: this program is, whoever else comes and goes.
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  Config* const store = factory->Connect("local:configid=0");
  if (store == nullptr) return 1;

  const int port = argc > 1 ? std::atoi(argv[1]) : 43110;
  auto* const server = new NetworkServer(AF_INET, SOCK_STREAM, port, "127.0.0.1");
  if (!server->Init()) {
    std::perror("cannot serve the port");
    delete server;
    return 1;
  }
  const int served = server->GetPort();
  if (!server->Start()) {
    delete server;
    return 1;
  }
  // From here on the server belongs to its thread.
  std::printf("serving tcp://127.0.0.1:%d\n", served);
  std::fflush(stdout);

  int signal = 0;
  sigwait(&ending, &signal);
  server->Stop();
  factory->Disconnect(store);
  return 0;
}
