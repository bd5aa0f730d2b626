#include "libconfig/network/NetworkEventListener.h"

#include <time.h>

#include <cerrno>
#include <utility>

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/LiveConfigs.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::vorlane::config::access {

using namespace qel::config;

namespace {

constexpr unsigned int kForEver = 0xFFFFFFFF;

}  // namespace

class NetworkEventListener::Lock {
 public:
  explicit Lock(pthread_mutex_t& mutex) : _mutex(mutex) { ::pthread_mutex_lock(&_mutex); }
  ~Lock() { ::pthread_mutex_unlock(&_mutex); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  pthread_mutex_t& _mutex;
};

NetworkEventListener::NetworkEventListener() = default;

NetworkEventListener::~NetworkEventListener() {
  Close();
  ::pthread_cond_destroy(&_left);
  ::pthread_cond_destroy(&_condition);
  ::pthread_mutex_destroy(&_mutex);
}

bool NetworkEventListener::Open(Config* config) {
  if (config == nullptr || !Begin(config, false)) return false;
  config->AddConfigEventListener(this);
  return true;
}

bool NetworkEventListener::Open(const std::string& uri) {
  {
    const Lock lock(_mutex);
    if (_config != nullptr || _closing) return false;
  }
  Config* const config = ConfigFactoryImpl::GetInstance()->Connect(uri);
  if (config == nullptr) return false;
  const bool isCache = dynamic_cast<ConfigCache*>(config) != nullptr;
  const bool begun = Begin(config, isCache);
  if (begun && config->AddConfigEventListener(this) != 0) return true;
  if (begun) {
    const Lock lock(_mutex);
    _config = nullptr;
  }
  Release(config, isCache);
  return false;
}

bool NetworkEventListener::Begin(Config* config, bool ownsCache) {
  const Lock lock(_mutex);
  if (_config != nullptr || _closing) return false;
  _config = config;
  _ownsCache = ownsCache;
  return true;
}

void NetworkEventListener::Close() {
  Config* config;
  bool ownsCache;
  {
    const Lock lock(_mutex);
    if (_config == nullptr) return;
    config = std::exchange(_config, nullptr);
    ownsCache = _ownsCache;
    _closing = true;
    ::pthread_cond_broadcast(&_condition);
    while (_waiters > 0) ::pthread_cond_wait(&_left, &_mutex);
  }
  // Without the mutex, which the notifying thread may be waiting for.
  if (!LiveConfigs<NetworkClient>::Instance().Contains(config) && !ownsCache) {
    config->RemoveConfigEventListener(this);
  }
  Release(config, ownsCache);
  const Lock lock(_mutex);
  _queue.clear();
  _closing = false;
}

// A cache goes with its connection; everything else goes back to the factory.
void NetworkEventListener::Release(Config* config, bool ownsCache) {
  if (ownsCache) {
    delete config;
  } else {
    ConfigFactoryImpl::GetInstance()->Disconnect(config);
  }
}

void NetworkEventListener::SetTimeoutInMS(unsigned int ms) {
  const Lock lock(_mutex);
  _timeoutMs = ms;
}

void NetworkEventListener::SetMaximumQueueSize(unsigned int count) {
  const Lock lock(_mutex);
  _maximum = count;
}

void NetworkEventListener::ParamChanged(eParam_t param, unsigned int value, timeval when) {
  ConfigEvent event = {param, eParamType_Enum, value, "", when};
  AddEvent(event);
}

void NetworkEventListener::ParamChanged(eParam_t param, std::string value, timeval when) {
  ConfigEvent event = {param, eParamType_String, 0, std::move(value), when};
  AddEvent(event);
}

void NetworkEventListener::AddEvent(ConfigEvent& event) {
  const Lock lock(_mutex);
  _queue.push_back(event);
  while (_queue.size() > _maximum) _queue.pop_front();
  ::pthread_cond_signal(&_condition);
}

bool NetworkEventListener::WaitForConfigEvent(ConfigEvent& event) {
  const Lock lock(_mutex);
  if (_config == nullptr) return false;
  if (_queue.empty()) {
    ++_waiters;
    const int error = WaitForSignal();
    --_waiters;
    if (_closing) {
      if (_waiters == 0) ::pthread_cond_signal(&_left);
      return false;
    }
    if (error == ETIMEDOUT) {
      Report("NetworkEventListener::WaitForConfigEvent - Timed out\n");
      return false;
    }
    if (error != 0) {
      Report("NetworkEventListener::WaitForConfigEvent - Error %d\n", error);
      return false;
    }
    if (_queue.empty()) return false;
  }
  event = std::move(_queue.front());
  _queue.pop_front();
  return true;
}

// Once, until somebody signals or the time is over. REQUIRES: the mutex.
int NetworkEventListener::WaitForSignal() {
  if (_timeoutMs == kForEver) return ::pthread_cond_wait(&_condition, &_mutex);
  timespec deadline;
  ::clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += _timeoutMs / 1000;
  deadline.tv_nsec = static_cast<long>(_timeoutMs % 1000) * 1000000;
  return ::pthread_cond_timedwait(&_condition, &_mutex, &deadline);
}

void NetworkEventListener::Signal() {
  const Lock lock(_mutex);
  const int error = ::pthread_cond_signal(&_condition);
  if (error != 0) Report("NetworkEventListener::Signal - Error %d\n", error);
}

}  // namespace qel::vorlane::config::access
