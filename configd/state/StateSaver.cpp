#include "configd/state/StateSaver.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>

#include "configd/LineWriter.h"

using qel::config::MutexLock;

namespace {

// Changes that belong together come together.
constexpr std::chrono::milliseconds kGather(200);
constexpr std::chrono::milliseconds kFirstPause(1000);
constexpr std::chrono::milliseconds kLongestPause(60000);

}  // namespace

StateSaver::StateSaver(const StateFolder& folder) : _folder(folder) {}

std::shared_ptr<StoredConfig> StateSaver::Restore(ConfigManager& store) {
  auto config = std::make_shared<StoredConfig>(store, _folder.SettingsOf(store.GetConfigID()));
  std::string why;
  if (config->Restore(why)) return config;
  LineWriter::Instance().Write("configd: configuration " + std::to_string(store.GetConfigID()) +
                               " is not served now, as " + why + "; fix this and connect again");
  return nullptr;
}

void StateSaver::Note(const std::shared_ptr<StoredConfig>& config, eParam_t param) {
  if (!config->Note(param)) return;
  MutexLock lock(_mutex);
  _unsaved.insert(config);
  _worker.WakeAt(std::max(Worker::Clock::now() + kGather, _retry));
}

bool StateSaver::Stop() {
  _worker.Stop();
  MutexLock lock(_mutex);
  return _unsaved.empty();
}

void StateSaver::SaveUnsaved() {
  Configs configs;
  {
    MutexLock lock(_mutex);
    configs.swap(_unsaved);
  }
  std::string why;
  for (auto next = configs.begin(); next != configs.end();) {
    bool saved = false;
    try {
      saved = (*next)->Save(why);
    } catch (const std::bad_alloc&) {
      why = std::strerror(ENOMEM);
    }
    next = saved ? configs.erase(next) : std::next(next);
  }
  {
    MutexLock lock(_mutex);
    if (configs.empty()) {
      _pause = {};
      _retry = {};
    } else {
      // Without an allocation, which could lose them.
      _unsaved.merge(configs);
      _pause = std::clamp<Worker::Clock::duration>(2 * _pause, kFirstPause, kLongestPause);
      _retry = Worker::Clock::now() + _pause;
      _worker.WakeAt(_retry);
    }
  }
  ReportOutcome(why);
}

void StateSaver::ReportOutcome(const std::string& why) {
  if (_failing == !why.empty()) return;
  _failing = !why.empty();
  LineWriter::Instance().Write(_failing
                                   ? "configd: settings cannot be saved: " + why +
                                         "; fix this; until then they are served, and saving is "
                                         "retried"
                                   : "configd: settings are saved again");
}
