#include "libconfig/manager/LocalConfigFactory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <vector>

#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/Transport.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/manager/ConfigManager.h"

namespace qel::config::access {
namespace {

std::atomic<StoreObserver*> g_observer{nullptr};

std::vector<std::shared_ptr<ConfigManager>>& UntrackedStores() {
  static auto* const stores = new std::vector<std::shared_ptr<ConfigManager>>;
  return *stores;
}

}  // namespace

LocalConfigFactory::LocalConfigFactory() = default;

LocalConfigFactory::~LocalConfigFactory() {
  SemaphoreHelper lock(_lock);
  // The remaining connections keep using their stores, which are never destroyed then.
  for (auto& entry : _stores) UntrackedStores().push_back(std::move(entry.second));
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
  SemaphoreHelper lock(_lock);
  const eConfigID_t id = GetConfigID(std::move(address));
  auto found = _stores.find(id);
  if (found == _stores.end()) {
    auto store = std::make_shared<ConfigManager>(id);
    if (!store->Init()) {
      Report("LocalConfigFactory::Connect - Init() failed\n");
      return nullptr;
    }
    StoreObserver* const observer = g_observer;
    if (observer != nullptr && !observer->StoreOpened(*store)) return nullptr;
    found = _stores.emplace(id, std::move(store)).first;
  }
  found->second->IncrementUseCount();
  return found->second.get();
}

Config* LocalConfigFactory::ConnectLiving(eConfigID_t id) {
  SemaphoreHelper lock(_lock);
  const auto found = _stores.find(id);
  if (found == _stores.end()) return nullptr;
  found->second->IncrementUseCount();
  return found->second.get();
}

bool LocalConfigFactory::Disconnect(Config* config) {
  if (config == nullptr) return false;
  std::shared_ptr<ConfigManager> last;
  {
    SemaphoreHelper lock(_lock);
    const auto found = std::find_if(_stores.begin(), _stores.end(), [config](const auto& entry) {
      return entry.second.get() == config;
    });
    if (found == _stores.end()) {
      if (!LiveConfigs<ConfigManager>::Instance().Contains(config)) return false;
      Report("LocalConfigFactory::Disconnect - This instance not tracking configID %d\n",
             static_cast<int>(config->GetConfigID()));
      return false;
    }
    if (found->second->DecrementUseCount() > 0) return true;
    last = std::move(found->second);
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
