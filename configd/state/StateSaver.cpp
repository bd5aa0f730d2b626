#include "configd/state/StateSaver.h"

#include <algorithm>

#include "configd/LineWriter.h"

namespace {

// Changes that belong together come together.
constexpr std::chrono::milliseconds kGather(200);
constexpr std::chrono::milliseconds kFirstPause(1000);
constexpr std::chrono::milliseconds kLongestPause(60000);

}  // namespace

StateSaver::StateSaver(const StateFolder& folder) : _folder(folder), _thread([this] { Run(); }) {}

StateSaver::~StateSaver() { Stop(); }

std::shared_ptr<StoredConfig> StateSaver::Restore(ConfigManager& store) {
  auto config = std::make_shared<StoredConfig>(store, _folder.SettingsOf(store.GetConfigID()));
  std::string why;
  if (config->Restore(why)) return config;
  LineWriter::Instance().Write("configd: configuration " + std::to_string(store.GetConfigID()) +
                               " is not served now, as " + why +
                               "; see to this, and connect again");
  return nullptr;
}

void StateSaver::Note(const std::shared_ptr<StoredConfig>& config, eParam_t param) {
  if (!config->Note(param)) return;
  const std::lock_guard<std::mutex> lock(_mutex);
  _unsaved.insert(config);
  _changed.notify_all();
}

bool StateSaver::Stop() {
  {
    const std::lock_guard<std::mutex> lock(_mutex);
    _stopping = true;
    _changed.notify_all();
  }
  if (_thread.joinable()) _thread.join();
  const std::lock_guard<std::mutex> lock(_mutex);
  return _unsaved.empty();
}

// Answers with those that could not be saved.
StateSaver::Configs StateSaver::Save(const Configs& configs) {
  Configs failed;
  std::string why;
  for (const auto& config : configs) {
    if (!config->Save(why)) failed.insert(config);
  }
  if (!failed.empty()) {
    ReportFailure(why);
  } else if (_failing) {
    _failing = false;
    LineWriter::Instance().Write("configd: settings are saved again");
  }
  return failed;
}

void StateSaver::ReportFailure(const std::string& why) {
  if (_failing) return;
  _failing = true;
  LineWriter::Instance().Write("configd: settings cannot be saved: " + why +
                               "; see to this, they are served and saving is tried again until it "
                               "works");
}

void StateSaver::Run() {
  std::chrono::milliseconds pause = kGather;
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _changed.wait(lock, [this] { return _stopping || !_unsaved.empty(); });
    _changed.wait_for(lock, pause, [this] { return _stopping; });
    const bool last = _stopping;
    Configs configs;
    configs.swap(_unsaved);
    lock.unlock();
    const Configs failed = Save(configs);
    lock.lock();
    _unsaved.insert(failed.begin(), failed.end());
    if (last) return;
    pause = failed.empty() ? kGather : std::min(std::max(2 * pause, kFirstPause), kLongestPause);
  }
}
