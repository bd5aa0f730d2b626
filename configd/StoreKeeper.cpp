#include "configd/StoreKeeper.h"

#include "configd/LineWriter.h"

using qel::config::MutexLock;

namespace {

// Configurations that are kept although nobody is connected.
constexpr std::size_t kKeptStores = 64;

}  // namespace

// Notices the changes of one store.
class StoreKeeper::Changes : public ConfigEventListener {
 public:
  Changes(StoreKeeper& keeper, ConfigManager& store, std::shared_ptr<StoredConfig> stored)
      : _keeper(keeper), _store(store), _stored(std::move(stored)) {}

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval) override {
    Note(param);
    _keeper._presets.Note(_store, param, value, _kept);
  }
  void ParamChanged(eParam_t param, std::string, timeval) override { Note(param); }

 private:
  void Note(eParam_t param) {
    if (!_noted) {
      _noted = true;
      _kept = _keeper.Keep(_store.GetConfigID());
    }
    if (_kept && _stored != nullptr) _keeper._saver->Note(_stored, param);
  }

  StoreKeeper& _keeper;
  ConfigManager& _store;
  const std::shared_ptr<StoredConfig> _stored;
  bool _noted = false;
  bool _kept = false;
};

StoreKeeper::StoreKeeper(const StateFolder* folder, bool logChanges)
    : _logChanges(logChanges), _presets(folder) {
  if (folder != nullptr) {
    _saver = std::make_unique<StateSaver>(*folder);
    _places = folder->GetConfigurations();
  }
  // No peer takes the place of the device's own.
  _places.insert(eConfigID_Default);
}

StoreKeeper::~StoreKeeper() = default;

bool StoreKeeper::Stop() {
  _presets.Stop();
  return _saver == nullptr || _saver->Stop();
}

bool StoreKeeper::StoreOpened(ConfigManager& store) {
  std::shared_ptr<StoredConfig> stored;
  if (_saver != nullptr) {
    stored = _saver->Restore(store);
    if (stored == nullptr) return false;
  }
  Watch watch;
  watch.changes = std::make_unique<Changes>(*this, store, std::move(stored));
  store.AddConfigEventListener(watch.changes.get());
  if (_logChanges) {
    watch.log = std::make_unique<ChangeLog>(store);
    store.AddConfigEventListener(watch.log.get());
  }
  MutexLock lock(_mutex);
  _watches[&store] = std::move(watch);
  return true;
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
  if (watch.log != nullptr) store.RemoveConfigEventListener(watch.log.get());
}

// The client that made the change is still connected, so the store exists.
bool StoreKeeper::Keep(eConfigID_t configID) {
  {
    MutexLock lock(_mutex);
    if (_kept.count(configID) != 0) return true;
    if (_places.count(configID) == 0 && _places.size() >= kKeptStores) {
      if (!_warned) {
        LineWriter::Instance().Write(
            "configd: configuration " + std::to_string(configID) + " and those that follow are " +
            "forgotten when their last client leaves, as " + std::to_string(kKeptStores) +
            " are kept already; restart configd" +
            (_saver == nullptr ? "" : " after removing files of others from the state folder"));
      }
      _warned = true;
      return false;
    }
    _places.insert(configID);
    _kept.insert(configID);
  }
  return ConfigFactoryImpl::GetInstance()->Connect("local:configid=" + std::to_string(configID)) !=
         nullptr;
}
