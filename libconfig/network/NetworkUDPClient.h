// A client over datagrams. One made from a "udp:" URI is connected to a server and asks it; one
// made from a "multicast:" URI hears the changes that are made through that server over UDP, and no
// others, and cannot ask. An application that needs both has one of each. Lost datagrams are not
// sent again: an exchange without an answer ends with its time-out.
//
// Listeners hear of numbers on the response thread and of texts on the events thread, one call at a
// time, so that the order between a number and a text is not kept. A multicast listener takes the
// events of this device only, and those of its own configuration number.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::config {
struct ReceivedRecord;
}

namespace qel::vorlane::config::access {

class LIBCONFIG_API NetworkUDPClient : public NetworkClient {
 public:
  NetworkUDPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID);
  ~NetworkUDPClient() override;

  using NetworkClient::Get;
  using NetworkClient::RegisterForEvents;
  using NetworkClient::Set;
  // Waits for the server's answer, at most 6 seconds: 1 says that the store took the value.
  int Set(eParam_t param, unsigned int value) override;
  int Get(eParam_t param, std::string& value) override;
  // A multicast listener has no server to disconnect from, and succeeds.
  bool ConfirmDisconnect() override;
  // Join and leave the multicast group on the loopback interface.
  bool RegisterForEvents() override;
  bool UnregisterForEvents() override;
  void ProcessEvents() override;

  // The numbers of the events that came have had gaps: how many events are missing. Only changes of
  // numbers are counted by servers, and those of all configurations together.
  unsigned int GetMissedEvents() const { return _missedEvents; }

  // Receives the answer to the text that was asked for; fails at once when none was. `value` is
  // left alone on failure.
  virtual int Get(std::string& value);

 private:
  struct Responses;

  static const Operation kGetText;

  void ProcessEvent(qel::config::ReceivedRecord& record);
  void NoteSequence(uint64_t sender, uint32_t number);
  static void* ResponseThreadHandler(void* client);
  void ResponseQueueHandler();

  // Shared with the response thread, which may outlive the client by a moment.
  const std::shared_ptr<Responses> _responses;
  std::atomic<unsigned int> _missedEvents{0};
  std::map<uint64_t, uint32_t> _nextEvents;  // by sender; of the events thread
};

}  // namespace qel::vorlane::config::access
