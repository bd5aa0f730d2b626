// A connection to a configuration, made through the library. Every exchange is bounded by the
// session's time-out; what happens then is the caller's choice: the program ends, which is right
// for a command that asks once, or the connection counts as lost. One thread uses a connection.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "configctl/Place.h"
#include "configctl/QueueLink.h"
#include "configctl/Session.h"
#include "configctl/Watchdog.h"
#include "libconfig/libconfig.h"
#include "programs/ValueText.h"

namespace configctl {

class Connection {
 public:
  enum class OnTimeout { kEndProgram, kLoseConnection };

  // Throws Failure when nobody is there, and for options that name no place. Making a connection
  // that may be lost takes as long as the library is patient.
  Connection(const Session& session, OnTimeout onTimeout);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void SetOnTimeout(OnTimeout choice) { _onTimeout = choice; }
  // What every failure says behind its own words from here on, such as "; look again".
  void SetAdvice(const std::string& advice) { _advice = advice; }
  // As far as this side knows; a transport without connections is alive until an exchange fails.
  bool IsAlive() const;
  bool IsOverQueues() const { return _queue != nullptr; }
  // As the user would write it.
  std::string GetURI() const { return _place.GetURI(); }
  int GetConfigNumber() const { return _place.GetConfig(); }

  // Throw Failure: kNoConnection or kTimeout when the connection is lost, kRefused when the other
  // side has no such value or cannot be sent this one.
  programs::Value Get(eParam_t id);
  void Set(eParam_t id, const programs::Value& value);
  // Whether the other side is of the model whose catalogue this process has, so that it has a value
  // for every parameter. Throws Failure as Get does, but not kRefused.
  bool IsOfThisModel();
  // What a proxy stands for now; any other parameter stands for itself. Throws Failure as Get does.
  eParam_t Resolve(eParam_t id);
  // `listener` is called until the connection is gone.
  void Listen(ConfigEventListener& listener);
  // Over queues another daemon may have come, that knows nothing of who listened to the one before.
  // Asks for changes anew; true where some may have been missed, which is for the caller to look
  // at.
  bool ListenAgain(ConfigEventListener& listener);
  // Changes that were announced and have not come, since the last call.
  unsigned int TakeMissed();

 private:
  void Connect();
  void ConnectQueue();
  void ConnectMapped(const std::string& uri, const std::string& listeningURI);
  Watchdog::Action EndProgram(const char* doing);
  Watchdog::Guard Watch(const char* doing);
  [[noreturn]] void ThrowLost(const char* doing) const;
  void NoteOutcome();
  [[noreturn]] void ThrowUnread(eParam_t id, Watchdog::Clock::time_point start);

  const Session& _session;
  OnTimeout _onTimeout;
  std::string _advice;
  Place _place;
  Watchdog _watchdog;
  Config* _config = nullptr;
  std::unique_ptr<QueueLink> _queue;  // what it belongs to, over message queues
  // What it consists of, where the transport is one that can break.
  std::vector<qel::vorlane::config::access::NetworkClient*> _clients;
  // Where changes are announced, when that is another place; a part of a mapped configuration.
  qel::vorlane::config::access::NetworkUDPClient* _announcements = nullptr;
  unsigned int _missed = 0;
  bool _isLost = false;                  // as an exchange told
  std::atomic<bool> _hasGivenUp{false};  // set by the watchdog
};

}  // namespace configctl
