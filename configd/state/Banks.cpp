#include "configd/state/Banks.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "configd/LineWriter.h"
#include "configd/state/StateFolder.h"

namespace {

// Odometers are compared as they count, so that they may wrap around.
bool IsNewer(unsigned int odometer, unsigned int other) {
  return static_cast<int>(odometer - other) > 0;
}

// Whether what is there can never be read, rather than not now.
bool IsDamage(int error) {
  return error == EINVAL || error == ELOOP || error == EFBIG || error == EIO;
}

}  // namespace

Banks::Banks(const StateFolder& folder, const std::string& name, eConfigID_t configID)
    : _folder(folder), _configID(configID) {
  _banks[0].path = folder.GetPath() + "/" + name + ".a";
  _banks[1].path = folder.GetPath() + "/" + name + ".b";
}

bool Banks::HasFile() const {
  return std::any_of(_banks.begin(), _banks.end(),
                     [](const Bank& bank) { return ::access(bank.path.c_str(), F_OK) == 0; });
}

bool Banks::MoveAside(const Bank& bank, std::string& newPath) {
  for (int i = 1;; ++i) {
    newPath = bank.path + ".damaged-" + std::to_string(i);
    if (::access(newPath.c_str(), F_OK) != 0) break;
  }
  return ::rename(bank.path.c_str(), newPath.c_str()) == 0;
}

std::optional<Sector> Banks::LoadBank(Bank& bank) {
  bank.damaged = false;
  bank.inTheWay = false;
  bank.odometer.reset();
  std::vector<char> bytes;
  std::string why;
  const int error = ReadStateFile(bank.path, bytes);
  if (error == ENOENT) return std::nullopt;
  if (error != 0 && !IsDamage(error)) {
    _unreadable = bank.path + " cannot be read: " + std::strerror(error);
    return std::nullopt;
  }
  std::optional<Sector> sector;
  if (error != 0) {
    why = error == EINVAL ? "is no file" : std::string("cannot be read: ") + std::strerror(error);
  } else {
    SectorFault fault;
    sector = DecodeSector(std::move(bytes), why, &fault);
    if (!sector && fault == SectorFault::kNewer) {
      _unreadable = bank.path + " " + why + ": start the configd that wrote it, or move it away";
      return std::nullopt;
    }
    if (sector && sector->configID != _configID) {
      why = "is of configuration " + std::to_string(sector->configID);
      sector.reset();
    }
  }
  if (sector) {
    bank.odometer = sector->odometer;
    return sector;
  }
  bank.damaged = true;
  std::string aside;
  std::string line = "configd: " + bank.path + " " + why;
  if (MoveAside(bank, aside)) {
    line += "; it is kept as " + aside + ", look into it or delete it";
  } else {
    bank.inTheWay = true;
    line += std::string(", and cannot be moved aside: ") + std::strerror(errno) +
            "; move it away by hand";
  }
  LineWriter::Instance().WriteLimited(line);
  return std::nullopt;
}

std::optional<Sector> Banks::Load() {
  _unreadable.clear();
  _loadedFrom = 0;
  unsigned folder = 0;
  if (!_folder.Hold(folder, _unreadable)) return std::nullopt;
  std::optional<Sector> first = LoadBank(_banks[0]);
  std::optional<Sector> second = LoadBank(_banks[1]);
  _loadedFrom = folder;
  // The other one may be older.
  if (!_unreadable.empty()) return std::nullopt;
  if (first && second) {
    return IsNewer(second->odometer, first->odometer) ? std::move(second) : std::move(first);
  }
  std::optional<Sector>& whole = first ? first : second;
  if (_banks[0].damaged || _banks[1].damaged) {
    const std::string& path = _banks[first ? 0 : 1].path;
    LineWriter::Instance().WriteLimited(
        whole ? "configd: " + path + " is used instead; what was set last may be missing from it"
              : "configd: there is no other copy; what was saved there begins anew");
  }
  return std::move(whole);
}

Banks::Bank& Banks::Older() {
  Bank& first = _banks[0];
  Bank& second = _banks[1];
  if (!first.odometer) return first;
  if (!second.odometer) return second;
  return IsNewer(*first.odometer, *second.odometer) ? second : first;
}

bool Banks::Save(std::vector<char> sector, std::string& why) {
  why = _unreadable;
  if (!why.empty()) return false;
  unsigned folder = 0;
  if (!_folder.Hold(folder, why)) return false;
  if (folder != _loadedFrom) {
    Load();
    why = std::exchange(_unreadable, {});
    if (!why.empty()) {
      _loadedFrom = 0;  // read it again the next time
      return false;
    }
  }
  Bank& bank = Older();
  const Bank& other = &bank == &_banks[0] ? _banks[1] : _banks[0];
  if (bank.inTheWay) {
    std::string aside;
    if (!MoveAside(bank, aside)) {
      why = bank.path + " is damaged and cannot be moved aside: " + std::strerror(errno);
      return false;
    }
    bank.inTheWay = false;
  }
  const unsigned int odometer = other.odometer.value_or(0) + 1;
  SetOdometer(sector, odometer);
  if (!_folder.Replace(bank.path, sector, _configID == eConfigID_Default, why)) return false;
  bank.odometer = odometer;
  return true;
}
