// A configuration behind message queues: the Config whose operations travel as records to the main
// daemon's request queue, with the answers and the events on a response queue of the client's own.
// PosixMQFactory makes the clients and takes them back.
//
// Any thread may call. Exchanges are one at a time in all clients of one factory; one that gets no
// answer ends after 60 seconds, or as long as the factory's SetPatience said, its waiting for
// others included. A record and what follows it have to fit into one message of 512 bytes, which
// leaves a text some 450. Listeners are called on threads that the system starts for them, one
// after the other, with the time that the daemon gave the change.
//
// From inside a listener's call everything is allowed but waiting for an event: reading and setting
// on this client, adding and removing listeners, handing the client back.
#pragma once

#include <mqueue.h>
#include <semaphore.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/access/MessageRecords.h"
#include "libconfig/access/Runnable.h"
#include "libconfig/base/Export.h"
#include "libconfig/base/Mutex.h"

namespace qel::config {
struct ReceivedRecord;
}

class PosixMQClients;

class LIBCONFIG_API PosixMQClient : public Config, public Runnable {
 public:
  // The queues stay the caller's, and so do the semaphore, which is held for an exchange, and the
  // counter, which the clients of a factory share; all of them outlive the client. Ends the process
  // with a message when the response queue has no attributes to be read.
  PosixMQClient(unsigned int connectionID, unsigned int priority, int requestQueue,
                int responseQueue, sem_t* connectionSemaphore, int& requestCounter,
                eConfigID_t configID);
  // Ends the calls that other threads are inside of, and waits for them.
  ~PosixMQClient() override;

  using Config::AddConfigEventListener;
  using Config::GetParamDescriptor;
  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  eConfigID_t GetConfigID() override;
  // The time in the last answer; zero before the first.
  timeval GetLastConfigUpdate() override;
  // Descriptors and identifiers are those of this process's catalogue.
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;
  // Returns the value, not whether it could be read: 0 is either. `value` is 0 on failure. TryGet
  // tells.
  int Get(eParam_t param, unsigned int& value) override;
  bool TryGet(eParam_t param, unsigned int& value);
  int Set(eParam_t param, std::string value) override;
  int Get(eParam_t param, std::string& value) override;
  // A listener that is added twice is called twice.
  int AddConfigEventListener(ConfigEventListener* listener) override;
  // 1 also for a listener that is not there, when the daemon has no others to send events to.
  int RemoveConfigEventListener(ConfigEventListener* listener) override;
  // Waits for the next change, as long as it takes: the times are not looked at. Listeners hear of
  // it, too. On failure `event` is as it was.
  int WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds) override;

  // The order of the virtual operations is binary interface: append only.
  virtual int ResetToFactory(eParam_t param);
  void Run() override;
  virtual int IsDirty(eParam_t param, eConfigID_t configID);

  // Starts and ends the notifications of the response queue. It does not block once they have been
  // started.
  int EnableMQEvents(bool enable);
  // What a notification calls, on a thread of the system's, with the client as its value. That
  // thread has every signal blocked; one that calls this itself keeps its mask.
  static void MQNotifyHandler(sigval value);
  // Tells the listeners of all that has come in. 1 when nothing is left.
  int ProcessEvents();
  // Tell the listeners of a change, and fill `event` when it is given. The second is followed by
  // the bytes of the value. 0, and nothing done, for the event of another connection.
  int ProcessConfigParamEvent(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event);
  int ProcessConfigStreamParamEvent(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event);

 private:
  friend class PosixMQClients;
  friend class PosixMQFactory;
  class Exchange;
  struct State;

  struct Operation;
  static const Operation kGet, kSet, kGetText, kSetText, kAdd, kRemove, kAddToWait;

  unsigned int NextRequestID();
  XCONFIGMGR_REQUEST_T MakeRequest(const Operation& operation, eParam_t param) const;
  bool Perform(const Operation& operation, XCONFIGMGR_REQUEST_T& request, std::size_t length,
               qel::config::ReceivedRecord& answer);
  bool ChangeRegistration(const Operation& operation);
  void NoteUpdate(const XCONFIGMGR_RESPONSE_T& response);
  int Process(XCONFIGMGR_RESPONSE_T* response, ConfigEvent* event, bool isText);
  bool DrainOnAThread();
  // Ends events and waiting for good; see the destructor.
  void Leave();

  const unsigned int _connectionID;
  const unsigned int _priority;
  const mqd_t _requestQueue;
  const mqd_t _responseQueue;
  const long _messageSize;
  sem_t* const _connectionSemaphore;
  int& _requestCounter;
  const eConfigID_t _configID;
  std::chrono::milliseconds _patience;  // the factory's, once it has made the client

  qel::config::Mutex _updateMutex;
  timeval _lastUpdate LIBCONFIG_GUARDED_BY(_updateMutex) = {};

  // What a notification's thread works on: the listeners, and what has come in. A listener may hand
  // the client back from inside its call.
  const std::shared_ptr<State> _state;
};
