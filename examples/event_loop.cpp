// Prints every change of a device until it is ended, and connects again when the device went away.
#include <chrono>
#include <cstdio>
#include <thread>

#include "libconfig/libconfig.h"

using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkEventListener;
using qel::vorlane::config::access::NetworkFactory;

namespace {

void Print(const ConfigEvent& event) {
  const std::string name = GetDescriptor(event.param)->GetName();
  if (event.type == eParamType_String) {
    std::printf("%s: %s\n", name.c_str(), event.stringValue.c_str());
  } else {
    std::printf("%s: %u\n", name.c_str(), event.value);
  }
}

// Returns when the connection has ended.
void Follow(NetworkClient* client) {
  NetworkEventListener listener;
  listener.SetTimeoutInMS(2000);  // whole seconds, see SetTimeoutInMS
  // From here on the client is the listener's, which ends it.
  if (!listener.Open(client)) return;
  // Read after subscribing: a change between the two comes as an event.
  std::printf("connected, IP Config is %u\n", client->Get(eParamID_IPConfig));
  ConfigEvent event;
  while (listener.WaitForConfigEvent(event) || client->IsConnected()) {
    if (event.param != eParamID_None) Print(event);
    event = {};
  }
  std::printf("disconnected\n");
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  qel::config::SilenceMessages();  // this program says itself what matters
  CreateDescriptors();
  NetworkFactory factory;
  for (;;) {
    NetworkClient* const client = factory.Connect(argc > 1 ? argv[1] : "tcp://127.0.0.1:43110");
    if (client != nullptr) Follow(client);
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
}
