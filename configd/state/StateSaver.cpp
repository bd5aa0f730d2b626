#include "configd/state/StateSaver.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "configd/LineWriter.h"

using qel::config::MutexLock;

namespace {

// Changes that belong together come together.
constexpr std::chrono::milliseconds kGather(200);
constexpr std::chrono::milliseconds kFirstPause(1000);
constexpr std::chrono::milliseconds kLongestPause(60000);

}  // namespace

StateSaver::StateSaver(const StateFolder& folder) : _folder(folder) {}

bool StateSaver::Restore(ConfigManager& store) {
  const eConfigID_t configID = store.GetConfigID();
  auto config = std::make_unique<StoredConfig>(store, _folder.SettingsOf(configID));
  std::string why;
  if (!config->Restore(why)) {
    LineWriter::Instance().WriteLimited("configd: configuration " + std::to_string(configID) +
                                        " is not served now, as " + why +
                                        "; fix this and connect again");
    return false;
  }
  MutexLock lock(_mutex);
  _entries[configID].config = std::move(config);
  return true;
}

void StateSaver::Forget(const ConfigManager& store, eConfigID_t configID) {
  MutexLock lock(_mutex);
  const auto found = _entries.find(configID);
  if (found != _entries.end() && found->second.config->IsOf(store)) _entries.erase(found);
}

void StateSaver::Note(eConfigID_t configID, eParam_t param) {
  MutexLock lock(_mutex);
  const auto found = _entries.find(configID);
  if (found == _entries.end()) return;
  Entry& entry = found->second;
  if (!entry.config->Note(param) || entry.unsaved) return;
  entry.unsaved = true;
  entry.due = std::max(entry.due, Worker::Clock::now() + kGather);
  _worker.WakeAt(entry.due);
}

bool StateSaver::Stop() {
  _worker.Stop();
  MutexLock lock(_mutex);
  return std::none_of(_entries.begin(), _entries.end(),
                      [](const auto& entry) { return entry.second.unsaved; });
}

bool StateSaver::Save(eConfigID_t configID, Entry& entry) {
  bool saved = false;
  try {
    std::string why;
    try {
      saved = entry.config->Save(why);
    } catch (const std::exception& problem) {
      why = problem.what();
    }
    ReportOutcome(configID, saved ? std::string() : why);
  } catch (const std::exception&) {
    // Said with the next outcome.
  }
  return saved;
}

void StateSaver::SaveUnsaved() {
  const bool isLast = _worker.IsStopping();
  const auto begin = Worker::Clock::now();
  auto next = Worker::Clock::time_point::max();
  _mutex.lock();
  // What is unsaved is not forgotten, so that the place in the map stays while it is being saved.
  for (auto place = _entries.begin(); place != _entries.end(); ++place) {
    Entry& entry = place->second;
    if (entry.unsaved && (isLast || entry.due <= begin)) {
      entry.unsaved = false;
      _mutex.unlock();
      const bool saved = Save(place->first, entry);
      _mutex.lock();
      entry.pause =
          saved ? Worker::Clock::duration::zero()
                : std::clamp<Worker::Clock::duration>(2 * entry.pause, kFirstPause, kLongestPause);
      entry.unsaved = entry.unsaved || !saved;
      if (!saved) entry.due = Worker::Clock::now() + entry.pause;
    }
    if (entry.unsaved) next = std::min(next, entry.due);
  }
  _mutex.unlock();
  if (next != Worker::Clock::time_point::max()) _worker.WakeAt(next);
}

void StateSaver::ReportOutcome(eConfigID_t configID, const std::string& why) {
  if (why.empty()) {
    if (_failing.erase(configID) == 0 || !_failing.empty()) return;
    LineWriter::Instance().Write("configd: settings are saved again");
  } else if (_failing.insert(configID).second) {
    LineWriter::Instance().Write("configd: settings cannot be saved: " + why +
                                 "; fix this; until then they are served, and saving is retried");
  }
}
