#include "configd/StoreKeeper.h"

#include "configd/LineWriter.h"

namespace {

// Configurations that are kept although nobody is connected.
constexpr std::size_t kKeptStores = 64;

}  // namespace

// Notices the first change of a store.
class StoreKeeper::Changes : public ConfigEventListener {
 public:
  Changes(StoreKeeper& keeper, eConfigID_t configID) : _keeper(keeper), _configID(configID) {}

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t, unsigned int, timeval) override { Note(); }
  void ParamChanged(eParam_t, std::string, timeval) override { Note(); }

 private:
  void Note() {
    if (_noted) return;
    _noted = true;
    _keeper.Keep(_configID);
  }

  StoreKeeper& _keeper;
  const eConfigID_t _configID;
  bool _noted = false;
};

StoreKeeper::StoreKeeper(bool logChanges) : _logChanges(logChanges) {}

StoreKeeper::~StoreKeeper() = default;

void StoreKeeper::StoreOpened(ConfigManager& store) {
  Watch watch;
  watch.changes = std::make_unique<Changes>(*this, store.GetConfigID());
  store.AddConfigEventListener(watch.changes.get());
  if (_logChanges) {
    watch.log = std::make_unique<ChangeLog>(store);
    store.AddConfigEventListener(watch.log.get());
  }
  const std::lock_guard<std::mutex> lock(_mutex);
  _watches[&store] = std::move(watch);
}

void StoreKeeper::StoreClosing(ConfigManager& store) {
  Watch watch;
  {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _watches.find(&store);
    if (found == _watches.end()) return;
    watch = std::move(found->second);
    _watches.erase(found);
  }
  store.RemoveConfigEventListener(watch.changes.get());
  if (watch.log != nullptr) store.RemoveConfigEventListener(watch.log.get());
}

// Whoever made the change is connected, so that the store is there to be held on to.
void StoreKeeper::Keep(eConfigID_t configID) {
  {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_kept.count(configID) != 0) return;
    if (_kept.size() >= kKeptStores) {
      if (!_warned) {
        LineWriter::Instance().Write(
            "configd: configuration " + std::to_string(configID) + " and those that follow are " +
            "forgotten when their last client leaves, as " + std::to_string(kKeptStores) +
            " are kept already; restart configd to start over");
      }
      _warned = true;
      return;
    }
    _kept.insert(configID);
  }
  ConfigFactoryImpl::GetInstance()->Connect("local:configid=" + std::to_string(configID));
}
