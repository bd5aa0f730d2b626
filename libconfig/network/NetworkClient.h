// A configuration behind a network: the Config whose operations travel as records to a
// NetworkServer. NetworkFactory makes the clients and takes them back.
//
// Any thread may call. Exchanges are one at a time; a call without an answer ends after 12 seconds,
// the wait for its turn included. A change is sent without waiting for an answer: a later read on
// the same client sees it, unless the store refused it. The first listener starts the events
// thread, on which all listeners are called; removing the last one ends it, and with it the
// connection.
//
//   NetworkFactory factory;
//   NetworkClient* const client = factory.Connect("tcp://127.0.0.1:43110");
//   if (client != nullptr) client->Set(eParamID_IPConfig, 1U);
//   factory.Disconnect(client);
//
// From inside a listener's call everything is allowed: reading and setting on this client, adding
// and removing listeners, handing the client back. A read returns after the listeners have
// heard of what came before its answer; a listener that blocks holds it up for a tenth of a second
// only. Once the client is being handed back no listener is called any more,
// but for the call that goes on; handing back waits for that, and ends what other threads do.
#pragma once

#include <pthread.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/base/Export.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/network/NetworkRecords.h"

class Socket;

namespace qel::config {
class RecordReader;
struct ReceivedRecord;
}  // namespace qel::config

namespace qel::vorlane::config::access {

class LIBCONFIG_API NetworkClient : public Config {
 public:
  ~NetworkClient() override;

  using Config::AddConfigEventListener;
  using Config::GetParamDescriptor;
  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  eConfigID_t GetConfigID() override;
  // When the last event came in, by this machine's clock.
  timeval GetLastConfigUpdate() override;
  // Descriptors and identifiers are those of this process's catalogue.
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;
  int Get(eParam_t param, unsigned int& value) override;
  // A text whose record would exceed 8192 bytes is not sent.
  int Set(eParam_t param, std::string value) override;
  int Get(eParam_t param, std::string& value) override;
  // Each listener is kept once. 0 for null, and when the connection has ended.
  int AddConfigEventListener(ConfigEventListener* listener) override;
  int RemoveConfigEventListener(ConfigEventListener* listener) override;

  // The order of the virtual operations is binary interface: append only.
  virtual bool ConfirmConnection();
  virtual bool ConfirmDisconnect();
  virtual bool RegisterForEvents(eParam_t param);
  virtual bool RegisterForEvents();
  virtual bool UnregisterForEvents();
  // The body of the events thread.
  virtual void ProcessEvents();
  virtual int IsDirty(eParam_t param, eConfigID_t configID);

  // Whether the connection still lives, as far as this side knows.
  virtual bool IsConnected();

  // A thread that runs ProcessEvents, and its end: closes the socket and waits for the thread,
  // unless called by it. AddConfigEventListener and RemoveConfigEventListener call them. False when
  // there is such a thread already, or can be none.
  bool StartEventsThread();
  void StopEventsThread();
  // `client` is a NetworkClient. Runs its ProcessEvents.
  static void* thread_start(void* client);

  // Tells the listeners of a change, or fills `event` instead when it is given.
  int ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* record, ConfigEvent* event);
  int ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T& record);
  int ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* record, ConfigEvent* event);
  int ProcessConfigStreamParamEvent(eParam_t param, char* data, unsigned int length);

 protected:
  class Exchange;
  struct Events;
  struct Operation;
  friend class NetworkFactory;

  // Takes over `socket`. `reader` reads it.
  NetworkClient(unsigned int connectionID, Socket* socket, eConfigID_t configID,
                std::unique_ptr<qel::config::RecordReader> reader);

  // The bytes behind the record that ProcessEvents is working on; none unless overridden.
  virtual bool ReceiveStream(unsigned int length, std::vector<char>& stream);

  // For the destructor of each derived class, whose operations the events thread uses: from now on
  // no listener is called, the connection has ended, and no other thread is inside this client.
  void Leave();

  bool SendRequest(const void* record, std::size_t length);
  XCONFIGMGR_REQUEST_T MakeRequest(uint32_t type, eParam_t param);
  XCONFIGMGR_CONNECTION_REQUEST_T MakeConnectionRequest(uint32_t type, uint32_t requestID) const;

  // Whether the server did what it was asked for. Says so, and sets the Outcome, when it did not.
  static bool IsDone(const Operation& operation, const XCONFIGMGR_RESPONSE_T& answer);
  // The halves of reading a text.
  bool RequestText(Exchange& exchange, const Operation& operation, eParam_t param);
  int ReceiveText(const Operation& operation, std::string& value);

  // The loop of the events thread: `tell` tells the listeners of one event. `reportUnknown` gets
  // the type of a record that is for nobody.
  enum class Ended { kHere, kWithError, kClientGone };
  Ended TellEvents(const std::function<void(int type)>& reportUnknown,
                   const std::function<void(qel::config::ReceivedRecord& event)>& tell);

  Socket& GetSocket() { return *_socket; }
  const std::shared_ptr<Events>& GetEvents() const { return _events; }

 private:
  bool StartThread() LIBCONFIG_REQUIRES(_registrationMutex);
  template <typename Tell>
  int Deliver(Tell tell);
  int DeliverNumber(eParam_t param, unsigned int value, const char* form);
  int DeliverStream(eParam_t param, char* data, unsigned int length, ConfigEvent* event);
  timeval NoteUpdate();

  const std::unique_ptr<Socket> _socket;
  const unsigned int _connectionID;
  const eConfigID_t _configID;
  const std::shared_ptr<Events> _events;
  uint32_t _requestCounter = 1;  // of whose turn it is

  // Guards the coming and going of the events thread. Never held while a listener is waited for.
  qel::config::Mutex _registrationMutex;
  bool _registered LIBCONFIG_GUARDED_BY(_registrationMutex) = false;
  bool _ending LIBCONFIG_GUARDED_BY(_registrationMutex) = false;
  bool _hasThread LIBCONFIG_GUARDED_BY(_registrationMutex) = false;
  bool _joining LIBCONFIG_GUARDED_BY(_registrationMutex) = false;  // somebody waits for its end
  qel::config::Condition _joined;
  pthread_t _eventsThread LIBCONFIG_GUARDED_BY(_registrationMutex) = {};

  qel::config::Mutex _updateMutex;
  timeval _lastUpdate LIBCONFIG_GUARDED_BY(_updateMutex) = {};
};

}  // namespace qel::vorlane::config::access
