#include "libconfig/access/ConfigFactoryImpl.h"

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigURI.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/Catalogue.h"

using namespace qel::config;

namespace {

// The process's own servers share the factory while they are inside it. Never destroyed, as
// connections outlive everything.
struct Shared {
  static Shared& Instance() {
    static auto* const shared = new Shared;
    return *shared;
  }

  Mutex mutex;
  std::shared_ptr<ConfigFactoryImpl> factory LIBCONFIG_GUARDED_BY(mutex);
};

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// What is read afterwards comes behind the registration on the same connection, and an event for
// every change that came later.
void KeepCurrent(ConfigCache& cache, const std::string& uri) {
  SetOutcome(Outcome::kUnknown);
  // A datagram client that asks hears nothing; its server's events are multicast.
  const bool canHear = Contains(uri, "tcp") || Contains(uri, "multicast");
  if (canHear && cache.AddConfigEventListener(&cache) != 0) {
    SetOutcome(Outcome::kDone);
    return;
  }
  if (qel::config::LastOutcome() == Outcome::kUnknown) SetOutcome(Outcome::kRefused);
  Report("ConfigFactoryImpl::Connect - the cache hears no events, uri = %s\n", uri.c_str());
}

struct TransportURIs {
  const char* transport;
  const char* config;
  const char* events;
};

constexpr TransportURIs kTransports[] = {
    {"socket", "socket://127.0.0.1:43110/caching=true", "socket://127.0.0.1:43110"},
    {"udp", "udp://127.0.0.1:43110", "multicast://127.0.0.1:63110"},
    {"tcp", "tcp://127.0.0.1:43110", "tcp://127.0.0.1:43110"},
};

constexpr TransportURIs kInvalid = {"", "INVALID_URI", "INVALID_URI"};

const TransportURIs& Lookup(const std::string& transport) {
  for (const TransportURIs& row : kTransports) {
    if (transport == row.transport) return row;
  }
  return kInvalid;
}

}  // namespace

std::string GetConfigURI(const std::string& transport) { return Lookup(transport).config; }

std::string GetEventsURI(const std::string& transport) { return Lookup(transport).events; }

ConfigFactoryImpl* ConfigFactoryImpl::s_theSingleton = nullptr;

std::shared_ptr<ConfigFactoryImpl> ConfigFactoryImpl::Share() {
  Shared& shared = Shared::Instance();
  MutexLock lock(shared.mutex);
  return shared.factory;
}

std::shared_ptr<ConfigFactoryImpl> ConfigFactoryImpl::MakeAndShare() {
  Shared& shared = Shared::Instance();
  MutexLock lock(shared.mutex);
  if (shared.factory == nullptr) shared.factory.reset(s_theSingleton = new ConfigFactoryImpl);
  return shared.factory;
}

ConfigFactoryImpl* ConfigFactoryImpl::GetInstance() { return MakeAndShare().get(); }

void ConfigFactoryImpl::DestroyInstance() {
  std::shared_ptr<ConfigFactoryImpl> last;
  Shared& shared = Shared::Instance();
  MutexLock lock(shared.mutex);
  last.swap(shared.factory);
  s_theSingleton = nullptr;
}

ConfigFactoryImpl::ConfigFactoryImpl()
    : _network_factory(qel::config::MakeNetworkTransport()),
      _local_factory(qel::config::MakeLocalTransport()) {
  CreateDescriptors();
}

ConfigFactoryImpl::~ConfigFactoryImpl() {
  _network_factory.reset();
  _local_factory.reset();
}

void ConfigFactoryImpl::Run() {}

Config* ConfigFactoryImpl::Connect(std::string uri) {
  if (!Contains(uri, "tcp:") && !Contains(uri, "udp:") && !Contains(uri, "multicast:")) {
    if (!Contains(uri, "local:")) return nullptr;
    Config* const store = _local_factory->Connect(uri);
    if (store == nullptr) {
      Report("ConfigFactoryImpl::Connect - local factory return NULL Config* for uri = %s\n",
             uri.c_str());
    }
    return store;
  }
  if (Contains(uri, "caching=true")) {
    auto* const cache = new ConfigCache(_network_factory->Connect(uri));
    if (Contains(uri, "events=true")) KeepCurrent(*cache, uri);
    return cache;
  }
  Config* const client = _network_factory->Connect(uri);
  if (client == nullptr) {
    Report("ConfigFactoryImpl::Connect - _network_factory->Connect() failed\n");
  }
  return client;
}

int ConfigFactoryImpl::Disconnect(Config* config) {
  return _network_factory->Disconnect(config) || _local_factory->Disconnect(config) ? 1 : 0;
}

namespace qel::config {

Config* ConnectStore(eConfigID_t id) {
  return ConfigFactoryImpl::MakeAndShare()->Connect("local:configid=" + std::to_string(id));
}

Config* ConnectLivingStore(eConfigID_t id) {
  const auto factory = ConfigFactoryImpl::Share();
  return factory == nullptr ? nullptr : factory->_local_factory->ConnectLiving(id);
}

void DisconnectStore(Config* store) {
  const auto factory = ConfigFactoryImpl::Share();
  if (factory != nullptr) factory->Disconnect(store);
}

}  // namespace qel::config
