// The folder in which the daemon keeps what must survive it. No two daemons use the same one at a
// time.
#pragma once

#include <set>
#include <string>

#include "configd/state/Banks.h"

class StateFolder {
 public:
  StateFolder() = default;
  StateFolder(const StateFolder&) = delete;
  StateFolder& operator=(const StateFolder&) = delete;
  // Leaves it to the next daemon.
  ~StateFolder();

  // Makes the folder where there is none and takes hold of it. False, with `why` for a person, when
  // that cannot be, or another daemon has it.
  bool Open(const std::string& path, std::string& why);

  const std::string& GetPath() const { return _path; }
  bool IsWritable() const;

  Banks SettingsOf(eConfigID_t configID) const;
  Banks PresetOf(eConfigID_t configID, unsigned int number) const;

  // The configurations whose settings it holds, damaged ones included.
  std::set<eConfigID_t> GetConfigurations() const;

 private:
  std::string _path;
  int _fd = -1;
};
