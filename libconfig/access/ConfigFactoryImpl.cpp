#include "libconfig/access/ConfigFactoryImpl.h"

#include <shared_mutex>

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/StoreAccess.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "libconfig/network/NetworkClient.h"
#include "libconfig/network/NetworkFactory.h"

using qel::config::LiveConfigs;
using qel::config::Report;
using qel::config::access::LocalConfigFactory;
using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkFactory;

namespace {

// Guards the making and ending of the factory, and keeps it while one of the process's own servers
// is inside it. Never destroyed: connections outlive everything.
std::shared_mutex& InstanceMutex() {
  static auto* const mutex = new std::shared_mutex;
  return *mutex;
}

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

ConfigFactoryImpl* ConfigFactoryImpl::s_theSingleton = nullptr;

ConfigFactoryImpl* ConfigFactoryImpl::GetInstance() {
  {
    const std::shared_lock<std::shared_mutex> lock(InstanceMutex());
    if (s_theSingleton != nullptr) return s_theSingleton;
  }
  const std::unique_lock<std::shared_mutex> lock(InstanceMutex());
  if (s_theSingleton == nullptr) s_theSingleton = new ConfigFactoryImpl;
  return s_theSingleton;
}

void ConfigFactoryImpl::DestroyInstance() {
  const std::unique_lock<std::shared_mutex> lock(InstanceMutex());
  delete s_theSingleton;
  s_theSingleton = nullptr;
}

ConfigFactoryImpl::ConfigFactoryImpl()
    : _network_factory(std::make_unique<NetworkFactory>()),
      _local_factory(std::make_unique<LocalConfigFactory>()) {
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
  if (Contains(uri, "caching=true")) return new ConfigCache(_network_factory->Connect(uri));
  Config* const client = _network_factory->Connect(uri);
  if (client == nullptr) {
    Report("ConfigFactoryImpl::Connect - _network_factory->Connect() failed\n");
  }
  return client;
}

int ConfigFactoryImpl::Disconnect(Config* config) {
  if (LiveConfigs<NetworkClient>::Instance().Contains(config)) {
    _network_factory->Disconnect(static_cast<NetworkClient*>(config));
    return 1;
  }
  return _local_factory->Disconnect(config);
}

namespace qel::config {

Config* ConnectStore(eConfigID_t id) {
  for (;;) {
    {
      const std::shared_lock<std::shared_mutex> lock(InstanceMutex());
      ConfigFactoryImpl* const factory = ConfigFactoryImpl::s_theSingleton;
      if (factory != nullptr) return factory->Connect("local:configid=" + std::to_string(id));
    }
    ConfigFactoryImpl::GetInstance();
  }
}

Config* ConnectLivingStore(eConfigID_t id) {
  const std::shared_lock<std::shared_mutex> lock(InstanceMutex());
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::s_theSingleton;
  return factory == nullptr ? nullptr : factory->_local_factory->ConnectLiving(id);
}

void DisconnectStore(Config* store) {
  const std::shared_lock<std::shared_mutex> lock(InstanceMutex());
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::s_theSingleton;
  if (factory != nullptr) factory->Disconnect(store);
}

}  // namespace qel::config
