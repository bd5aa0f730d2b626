#include "libconfig/serialization/ClassFactory.h"

#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/serialization/Serializable.h"

using qel::config::MutexLock;
using qel::config::Report;

namespace {

// No factory is called while the mutex is held: its constructor registers it, and its Create may
// ask for other objects. Never destroyed: threads may still decode while the process ends.
struct Registry {
  qel::config::Mutex mutex;
  std::map<eClassID_t, ClassFactory*> factories LIBCONFIG_GUARDED_BY(mutex);
  std::size_t unknown LIBCONFIG_GUARDED_BY(mutex) = 0;  // null entries that lookups left behind

  static Registry& Instance() {
    static auto* const registry = new Registry;
    return *registry;
  }

  // Null for a class that has no factory.
  ClassFactory* Find(eClassID_t id) {
    MutexLock lock(mutex);
    const auto entry = factories.find(id);
    return entry == factories.end() ? nullptr : entry->second;
  }

  void RememberUnknown(eClassID_t id) {
    MutexLock lock(mutex);
    if (unknown < qel::config::limits::kUnknownClasses && factories.emplace(id, nullptr).second) {
      ++unknown;
    }
  }
};

// With a message when there is none.
ClassFactory* FactoryOf(eClassID_t id) {
  ClassFactory::InitFactories();
  ClassFactory* const factory = Registry::Instance().Find(id);
  if (factory == nullptr) {
    Registry::Instance().RememberUnknown(id);
    Report("Unable to find class factory for classID = %d\n", static_cast<int>(id));
  }
  return factory;
}

Serializable* Named(eClassID_t id, Serializable* object) {
  if (object != nullptr) object->SetClassID(id);
  return object;
}

}  // namespace

ClassFactory::~ClassFactory() = default;

eClassID_t ClassFactory::GetClassID() { return _classID; }

bool ClassFactory::IsShared() {
  switch (GetClassID()) {
    case eClassID_IntegerValue:
    case eClassID_StringValue:
    case eClassID_SectorHeader:
    case eClassID_Checkpoint:
      return true;
    default:
      return false;
  }
}

void ClassFactory::Register(ClassFactory* factory) {
  const eClassID_t id = factory->GetClassID();
  Registry& registry = Registry::Instance();
  MutexLock lock(registry.mutex);
  registry.factories[id] = factory;
}

Serializable* ClassFactory::Create(eClassID_t id) {
  ClassFactory* const factory = FactoryOf(id);
  return factory == nullptr ? nullptr : Named(id, factory->Create());
}

Serializable* ClassFactory::CreateOwned(eClassID_t id) {
  ClassFactory* const factory = FactoryOf(id);
  if (factory == nullptr) return nullptr;
  Serializable* const object = factory->Create();
  return Named(id, object != nullptr && factory->IsShared() ? Copy(*object) : object);
}

bool ClassFactory::IsShared(eClassID_t id) {
  ClassFactory* const factory = Registry::Instance().Find(id);
  return factory != nullptr && factory->IsShared();
}

void ClassFactory::InitFactories() {
  // Once there is an entry, there always is one.
  static std::once_flag once;
  std::call_once(once, [] {
    if (GetRegistrySize() == 0) RegisterLibraryFactories();
  });
}

void ClassFactory::DestroyFactories() {
  Registry& registry = Registry::Instance();
  std::vector<ClassFactory*> factories;
  {
    MutexLock lock(registry.mutex);
    for (auto& entry : registry.factories) {
      factories.push_back(std::exchange(entry.second, nullptr));
    }
  }
  for (ClassFactory* const factory : factories) delete factory;
}

std::size_t ClassFactory::GetRegistrySize() {
  Registry& registry = Registry::Instance();
  MutexLock lock(registry.mutex);
  return registry.factories.size();
}
