#include "configd/StoreKeeper.h"

#include <algorithm>
#include <new>
#include <set>

#include "configd/LineWriter.h"

using qel::config::MutexLock;

namespace {

// Configurations that are kept although nobody is connected.
constexpr std::size_t kKeptStores = 64;

}  // namespace

// Notices the changes of one store.
class StoreKeeper::Changes : public ConfigEventListener, public MissedEventListener {
 public:
  Changes(StoreKeeper& keeper, ConfigManager& store) : _keeper(keeper), _store(store) {}

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval) override {
    Note(param);
    try {
      _keeper._presets.Note(_store, param, value, _kept);
    } catch (const std::bad_alloc&) {
      // Who asked for the preset hears of no result; the store's other listeners hear of this.
    }
  }
  void ParamChanged(eParam_t param, std::string, timeval) override { Note(param); }
  void EventMissed(eParam_t param) noexcept override { Note(param); }

 private:
  void Note(eParam_t param) {
    if (!_noted) _kept = _keeper.Keep(_store);
    _noted = true;
    if (_kept && _keeper._saver != nullptr) _keeper._saver->Note(_store.GetConfigID(), param);
  }

  StoreKeeper& _keeper;
  ConfigManager& _store;
  bool _noted = false;
  bool _kept = false;
};

StoreKeeper::StoreKeeper(const StateFolder* folder, bool logChanges)
    : _logChanges(logChanges), _presets(folder) {
  if (folder != nullptr) {
    _saver = std::make_unique<StateSaver>(*folder);
    const std::set<eConfigID_t> saved = folder->GetConfigurations();
    _places.assign(saved.begin(), saved.end());
  }
  _places.reserve(_places.size() + kKeptStores + 1);
  // No peer takes the place of the device's own.
  if (!HasPlace(eConfigID_Default)) _places.push_back(eConfigID_Default);
}

bool StoreKeeper::HasPlace(eConfigID_t configID) const {
  return std::find(_places.begin(), _places.end(), configID) != _places.end();
}

StoreKeeper::~StoreKeeper() = default;

bool StoreKeeper::Stop() {
  _presets.Stop();
  return _saver == nullptr || _saver->Stop();
}

bool StoreKeeper::StoreOpened(ConfigManager& store) {
  if (_saver != nullptr && !_saver->Restore(store)) return false;
  try {
    AddListeners(store);
  } catch (...) {
    if (_saver != nullptr) _saver->Forget(store, store.GetConfigID());
    throw;
  }
  return true;
}

void StoreKeeper::AddListeners(ConfigManager& store) {
  Watch watch;
  watch.changes = std::make_unique<Changes>(*this, store);
  store.AddConfigEventListener(watch.changes.get());
  if (_logChanges) {
    watch.log = std::make_unique<ChangeLog>(store);
    store.AddConfigEventListener(watch.log.get());
  }
  MutexLock lock(_mutex);
  _watches[&store] = std::move(watch);
}

void StoreKeeper::StoreClosing(ConfigManager& store) {
  Watch watch;
  {
    MutexLock lock(_mutex);
    const auto found = _watches.find(&store);
    if (found == _watches.end()) return;
    watch = std::move(found->second);
    _watches.erase(found);
  }
  store.RemoveConfigEventListener(watch.changes.get());
  if (_saver != nullptr) _saver->Forget(store, store.GetConfigID());
  if (watch.log != nullptr) store.RemoveConfigEventListener(watch.log.get());
}

// The client that made the change is still connected, so the store exists.
bool StoreKeeper::Keep(ConfigManager& store) {
  const eConfigID_t configID = store.GetConfigID();
  bool warn;
  {
    MutexLock lock(_mutex);
    const bool hasPlace = HasPlace(configID);
    if (hasPlace || _places.size() < kKeptStores) {
      if (!hasPlace) _places.push_back(configID);
      store.IncrementUseCount();  // as one who connects and stays
      return true;
    }
    warn = !std::exchange(_warned, true);
  }
  if (warn) {
    try {
      LineWriter::Instance().Write(
          "configd: configuration " + std::to_string(configID) + " and those that follow are " +
          "forgotten when their last client leaves, as " + std::to_string(kKeptStores) +
          " are kept already; restart configd" +
          (_saver == nullptr ? "" : " after removing files of others from the state folder"));
    } catch (const std::bad_alloc&) {
      LineWriter::Instance().CountLost();
    }
  }
  return false;
}
