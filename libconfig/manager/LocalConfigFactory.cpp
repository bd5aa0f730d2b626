#include "libconfig/manager/LocalConfigFactory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <optional>

#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/manager/ConfigManager.h"

namespace qel::config::access {
namespace {

std::atomic<StoreObserver*> g_observer{nullptr};

}  // namespace

// The place of a store that is being opened, with all the memory that it takes. Unless it is filled
// it is removed again. Whoever waits for it goes on when this ends.
class LocalConfigFactory::Opening {
 public:
  // REQUIRES: the factory's lock is held, and the number has no place.
  Opening(LocalConfigFactory& factory, eConfigID_t id) LIBCONFIG_REQUIRES(factory._lock)
      : _factory(factory), _id(id), _opening(std::make_shared<Semaphore>()) {
    factory._stores[id].opening = _opening;
    SemaphoreHelper::Wait(_opening->Get());
  }
  ~Opening() {
    {
      SemaphoreHelper lock(_factory._lock);
      const auto place = _factory._stores.find(_id);
      if (place->second.store == nullptr) _factory._stores.erase(place);
    }
    SemaphoreHelper::Post(_opening->Get());
  }
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;

  // In use once.
  Config* Fill(std::shared_ptr<ConfigManager> store) {
    SemaphoreHelper lock(_factory._lock);
    Place& place = _factory._stores[_id];
    place.store = std::move(store);
    place.opening.reset();
    place.store->IncrementUseCount();
    return place.store.get();
  }

 private:
  LocalConfigFactory& _factory;
  const eConfigID_t _id;
  const std::shared_ptr<Semaphore> _opening;
};

// The list is made where memory may be wanting.
LocalConfigFactory::LocalConfigFactory() { UntrackedStores(); }

// Never destroyed.
LocalConfigFactory::Untracked& LocalConfigFactory::UntrackedStores() {
  static auto* const stores = new Untracked;
  return *stores;
}

LocalConfigFactory::~LocalConfigFactory() {
  SemaphoreHelper lock(_lock);
  // The remaining connections keep using their stores, which are never destroyed then.
  UntrackedStores().merge(_stores);
}

eConfigID_t LocalConfigFactory::GetConfigID(std::string address) {
  constexpr char kOption[] = "configid=";
  const std::size_t found = address.find(kOption);
  if (found == std::string::npos) return eConfigID_Default;
  // Without digits this is 0, and beyond its own range the nearer end of it.
  const long long number = std::strtoll(address.c_str() + found + sizeof kOption - 1, nullptr, 10);
  using Range = std::numeric_limits<int32_t>;
  return static_cast<eConfigID_t>(std::clamp<long long>(number, Range::min(), Range::max()));
}

Config* LocalConfigFactory::Connect(std::string address) {
  const eConfigID_t id = GetConfigID(std::move(address));
  std::shared_ptr<ConfigManager> store;
  std::optional<Opening> opening;
  while (!opening) {
    std::shared_ptr<Semaphore> another;
    {
      SemaphoreHelper lock(_lock);
      const auto found = _stores.find(id);
      if (found == _stores.end()) {
        store = std::make_shared<ConfigManager>(id);
        if (!store->Init()) {
          Report("LocalConfigFactory::Connect - Init() failed\n");
          return nullptr;
        }
        opening.emplace(*this, id);
        break;
      }
      if (found->second.store != nullptr) {
        found->second.store->IncrementUseCount();
        return found->second.store.get();
      }
      another = found->second.opening;
    }
    const SemaphoreHelper opened(*another);
  }
  StoreObserver* const observer = g_observer;
  if (observer != nullptr && !observer->StoreOpened(*store)) return nullptr;
  return opening->Fill(std::move(store));
}

Config* LocalConfigFactory::ConnectLiving(eConfigID_t id) {
  SemaphoreHelper lock(_lock);
  const auto found = _stores.find(id);
  if (found == _stores.end() || found->second.store == nullptr) return nullptr;
  found->second.store->IncrementUseCount();
  return found->second.store.get();
}

bool LocalConfigFactory::Disconnect(Config* config) {
  if (config == nullptr) return false;
  std::shared_ptr<ConfigManager> last;
  {
    SemaphoreHelper lock(_lock);
    const auto found = std::find_if(_stores.begin(), _stores.end(), [config](const auto& entry) {
      return entry.second.store.get() == config;
    });
    if (found == _stores.end()) {
      if (!LiveConfigs<ConfigManager>::Instance().Contains(config)) return false;
      Report("LocalConfigFactory::Disconnect - This instance not tracking configID %d\n",
             static_cast<int>(config->GetConfigID()));
      return false;
    }
    if (found->second.store->DecrementUseCount() > 0) return true;
    last = std::move(found->second.store);
    _stores.erase(found);
  }
  // Outside the lock: the store's destruction may wait for its running delivery.
  if (StoreObserver* const observer = g_observer) observer->StoreClosing(*last);
  return true;
}

void LocalConfigFactory::SetStoreObserver(StoreObserver* observer) { g_observer = observer; }

}  // namespace qel::config::access

namespace qel::config {
namespace {

class LocalTransport : public Transport {
 public:
  Config* Connect(const std::string& uri) override { return _factory.Connect(uri); }
  bool Disconnect(Config* config) override { return _factory.Disconnect(config); }
  Config* ConnectLiving(eConfigID_t id) override { return _factory.ConnectLiving(id); }

 private:
  access::LocalConfigFactory _factory;
};

}  // namespace

std::unique_ptr<Transport> MakeLocalTransport() { return std::make_unique<LocalTransport>(); }

}  // namespace qel::config
