// The server's end of one TCP peer: a detached thread that answers the peer's requests from a store
// of this process and, once the peer has asked for events, forwards every change of the store to
// it.
//
// The connection owns its socket and, once Start has succeeded, itself: its thread deletes it.
//
// Threads. Requests are worked on by the connection's thread. ParamChanged is called by whoever
// changes the store. `_lock` guards what both use, and is never held while the store's listeners
// are waited for, but for the first registration, when no change can be on its way here yet. All
// that is sent goes through the outbox, record by record, so that answers and events never mix; a
// peer that does not read fills it and is given up.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkConnection.h"
#include "libconfig/network/NetworkRecords.h"
#include "libconfig/values/SemaphoreHelper.h"

class Socket;

namespace qel::vorlane::config::access {

class Outbox;
class StreamReader;

class LIBCONFIG_API NetworkTCPConnection : public NetworkConnection {
 public:
  // Takes over `socket`, which is connected to the peer.
  explicit NetworkTCPConnection(Socket* socket);
  ~NetworkTCPConnection() override;

  // `slot` is let go of when the connection has ended.
  bool Start(std::shared_ptr<void> slot = nullptr);
  // Whether the peer has sent a Connect Request. Any thread.
  bool HasConnected() const { return _connected; }
  // Ends the message loop. Any thread; the connection may be gone when it returns.
  void Stop();
  void Run();

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;

  std::string GetPeerName() override;

 private:
  union Request;

  static void* pthread_start(void* connection);

  bool ProcessMessages();
  bool ReceiveRequest(Request& request);
  void Handle(Request& request);
  void ProcessConnectRequest(Request& request);
  void ProcessDisconnectRequest(Request& request);
  void ProcessAddConfigEventListenerRequest(Request& request);
  void ProcessRemoveConfigEventListenerRequest(Request& request);
  void ProcessGetRequest(Request& request);
  void ProcessSetRequest(Request& request);
  void ProcessGetStreamRequest(Request& request);
  void ProcessSetStreamRequest(Request& request);
  bool ReceiveAndSet(uint32_t streamLength);

  bool SendStreamResponse(const XCONFIGMGR_REQUEST_T& request);
  bool SendErrorResponse(XCONFIGMGR_CONNECTION_RESPONSE_T& response);
  bool SendErrorResponse(XCONFIGMGR_RESPONSE_T& response);
  bool PutEvent(const void* record, std::size_t length);
  void LeaveStore(Config* store);

  const std::unique_ptr<Socket> _socket;
  const std::shared_ptr<Outbox> _outbox;
  std::shared_ptr<void> _slot;
  std::atomic<bool> _stop{false};

  // Of the connection's thread alone.
  StreamReader* _reader = nullptr;
  std::string _peerName;

  // Written by the connection's thread alone, under _lock; it may read them without.
  Semaphore _lock;
  std::list<eParam_t> _params;           // what the peer asked for; empty means all
  Config* _config = nullptr;             // the store, from the Connect Request on
  unsigned int _connectionID = 0;        // the peer's own
  bool _listening = false;               // this is among the store's listeners
  std::atomic<bool> _registered{false};  // changes are forwarded
  std::atomic<bool> _connected{false};
};

}  // namespace qel::vorlane::config::access
