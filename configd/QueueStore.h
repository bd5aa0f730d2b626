// One configuration as the queue service knows it: the store, and when each parameter changed.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "libconfig/libconfig.h"

class QueueStore : public ConfigEventListener {
 public:
  // Is told about each change on the thread that makes it, with the store's listeners held: a
  // record without a connection, and the bytes that follow it.
  using Announce = std::function<void(const XCONFIGMGR_RESPONSE_T&, const std::string&)>;

  // Takes the store over from the factory; it may be null.
  QueueStore(Config* store, Announce announce);
  ~QueueStore() override;
  QueueStore(const QueueStore&) = delete;
  QueueStore& operator=(const QueueStore&) = delete;

  // Each fills the rest of a response that repeats its request.
  void Get(XCONFIGMGR_RESPONSE_T& response);
  void Set(unsigned int value, XCONFIGMGR_RESPONSE_T& response);
  void GetText(XCONFIGMGR_RESPONSE_T& response, std::string& stream);
  void SetText(std::string stream, XCONFIGMGR_RESPONSE_T& response);

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;

 private:
  XCONFIGMGR_RESPONSE_T Note(uint32_t type, eParam_t param);
  void FillTime(XCONFIGMGR_RESPONSE_T& response);
  std::string Encode(eParam_t param, std::string text);

  Config* const _store;
  const Announce _announce;
  std::mutex _mutex;
  std::map<eParam_t, timeval> _times;  // of the last change, as this daemon saw it
};
