// The server's end of one TCP peer: a detached thread that answers the peer's requests from a store
// of this process and, once the peer has subscribed, forwards every change of the store to it.
//
//   auto* const connection = new NetworkTCPConnection(accepted);
//   if (!connection->Start()) delete connection;
//
// The connection owns its socket and, once Start has succeeded, itself: its thread deletes it.
//
// Threads. Requests are processed on the connection's thread, or before Start by whoever owns the
// connection. ParamChanged is called by whoever changes the store. `_lock` guards what both use; no
// listener of the store is waited for while it is held, except for the first registration, when no
// change can be on its way here yet. Everything is sent through the outbox, record by record, so
// that answers and events never mix; a peer that does not read fills it and is dropped.
#pragma once

#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/MissedEventListener.h"
#include "libconfig/base/Export.h"
#include "libconfig/network/NetworkConnection.h"
#include "libconfig/network/NetworkRecords.h"
#include "libconfig/values/SemaphoreHelper.h"

class Socket;

namespace qel::vorlane::config::access {

class Holder;
class Outbox;
class StreamReader;
union NetworkRequest;

class LIBCONFIG_API NetworkTCPConnection : public NetworkConnection, public MissedEventListener {
 public:
  // Takes ownership of `socket`, which is connected to the peer.
  explicit NetworkTCPConnection(Socket* socket);
  ~NetworkTCPConnection() override;

  // `slot` is released when the connection has ended.
  bool Start(std::shared_ptr<void> slot = nullptr);
  // Whether the peer has sent a Connect Request. Any thread.
  bool HasConnected() const { return _connected; }
  bool IsListening() const { return _registered; }
  // Since its last request; since it was accepted, before the first. Any thread.
  std::chrono::milliseconds GetIdleTime() const;
  Holder GetHolder() const;
  // Ends the message loop. Any thread; the connection may be gone when it returns.
  void Stop();
  // Processes requests until the connection ends, then leaves the store.
  void Run();
  // Runs the connection and deletes it.
  static void* pthread_start(void* connection);

  // Requests one after the other. False when the peer ended the connection, true after Stop.
  bool ProcessMessages();

  // One request each: whether it was done, and answered where it has an answer. Of a Set String
  // only the record; the value is read from the socket.
  bool ProcessConnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request);
  bool ProcessDisconnectRequest(const XCONFIGMGR_CONNECTION_REQUEST_T& request);
  bool ProcessAddConfigEventListenerRequest(const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request);
  bool ProcessRemoveConfigEventListenerRequest(const XCONFIGMGR_EVENT_HANDLER_REQUEST_T& request);
  bool ProcessGetRequest(const XCONFIGMGR_REQUEST_T& request);
  bool ProcessSetRequest(const XCONFIGMGR_REQUEST_T& request);
  bool ProcessGetStreamRequest(const XCONFIGMGR_REQUEST_T& request);
  bool ProcessSetStreamRequest(const XCONFIGMGR_REQUEST_T& request);

  // Sends the parameter's current value with the type that answers `request`, a Get String or Set
  // String, or as the event that `request` is.
  bool SendStreamResponse(const XCONFIGMGR_REQUEST_T& request);
  bool SendErrorResponse(XCONFIGMGR_CONNECTION_RESPONSE_T& response);
  // Clears the response's streamLength and streamFormat.
  bool SendErrorResponse(XCONFIGMGR_RESPONSE_T& response);

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;

  // Drops the peer, which would hold stale values.
  void EventMissed(eParam_t param) noexcept override;

  std::string GetPeerName() override;

 protected:
  std::shared_ptr<NetworkPeer> GetPeer() override;

 private:
  template <typename Record>
  struct Handler {
    uint32_t type;
    bool (NetworkTCPConnection::*process)(const Record&);
  };

  bool ReceiveRequest(NetworkRequest& request);
  void Process(NetworkRequest& request);
  bool ReceiveStream(uint32_t length, std::vector<char>& bytes);
  void FlushBeforeSet();
  template <typename Response>
  bool Answer(const Response& response, const char* failure);
  template <typename Response>
  bool SendError(const Response& response);
  template <typename Record>
  Record MakeEvent(uint32_t type, eParam_t param) const;
  bool PutEvent(const void* record, std::size_t length);
  void DropListening() noexcept;
  void LeaveStore();
  void Leave(Config* store);

  const std::unique_ptr<Socket> _socket;
  const std::shared_ptr<Outbox> _outbox;
  std::shared_ptr<void> _slot;
  std::atomic<bool> _stop{false};

  // Of the connection's thread alone.
  const std::unique_ptr<StreamReader> _reader;
  std::shared_ptr<NetworkPeer> _peer;  // once it was asked for

  // Written by the connection's thread alone, under _lock; it may read them without.
  Semaphore _lock;
  std::list<eParam_t> _params;           // what the peer asked for; empty means all
  Config* _config = nullptr;             // the store, from the Connect Request on
  unsigned int _connectionID = 0;        // the peer's own
  bool _listening = false;               // this is among the store's listeners
  std::atomic<bool> _registered{false};  // changes are forwarded
  std::atomic<bool> _connected{false};
  std::atomic<uint32_t> _lastRequest;  // in coarse milliseconds
};

}  // namespace qel::vorlane::config::access
