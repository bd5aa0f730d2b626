#include "libconfig/serialization/ClassFactory.h"

#include <map>
#include <mutex>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/Serializable.h"

using qel::config::Report;

namespace {

// Recursive, because the first Create registers factories and a factory may itself create objects.
// Never destroyed: threads may still decode while the process ends.
struct Registry {
  std::recursive_mutex mutex;
  std::map<eClassID_t, ClassFactory*> factories;
  std::size_t unknown = 0;  // null entries that lookups left behind

  static Registry& Instance() {
    static auto* const registry = new Registry;
    return *registry;
  }

  // Null for a class that has no factory.
  ClassFactory* Find(eClassID_t id) {
    const auto entry = factories.find(id);
    return entry == factories.end() ? nullptr : entry->second;
  }

  void RememberUnknown(eClassID_t id) {
    if (unknown < qel::config::limits::kUnknownClasses && factories.emplace(id, nullptr).second) {
      ++unknown;
    }
  }
};

using Lock = std::lock_guard<std::recursive_mutex>;

}  // namespace

ClassFactory::~ClassFactory() = default;

eClassID_t ClassFactory::GetClassID() { return _classID; }

bool ClassFactory::IsShared() { return false; }

void ClassFactory::Register(ClassFactory* factory) {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  registry.factories[factory->GetClassID()] = factory;
}

Serializable* ClassFactory::Create(eClassID_t id) {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  InitFactories();
  ClassFactory* const factory = registry.Find(id);
  if (factory == nullptr) {
    registry.RememberUnknown(id);
    Report("Unable to find class factory for classID = %d\n", static_cast<int>(id));
    return nullptr;
  }
  Serializable* const object = factory->Create();
  if (object != nullptr) object->SetClassID(id);
  return object;
}

bool ClassFactory::IsShared(eClassID_t id) {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  ClassFactory* const factory = registry.Find(id);
  return factory != nullptr && factory->IsShared();
}

void ClassFactory::InitFactories() {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  if (registry.factories.empty()) RegisterLibraryFactories();
}

void ClassFactory::DestroyFactories() {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  for (auto& entry : registry.factories) {
    delete entry.second;
    entry.second = nullptr;
  }
}

std::size_t ClassFactory::GetRegistrySize() {
  Registry& registry = Registry::Instance();
  const Lock lock(registry.mutex);
  return registry.factories.size();
}
