// The folder in which the daemon keeps what must survive it. No two daemons use the same one at a
// time.
#pragma once

#include <set>
#include <string>
#include <vector>

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

// Files of the state folder, read and replaced as a whole. Results are 0 or an errno.

// Of a regular file that is no link and not unreasonably large.
int ReadStateFile(const std::string& path, std::vector<char>& bytes);

// Whatever happens meanwhile, `path` holds either what it held before or all of `bytes`; once this
// has returned 0, the loss of power included.
int ReplaceStateFile(const std::string& folder, const std::string& path,
                     const std::vector<char>& bytes);

// Makes `path` anew for the daemon's user alone, in a folder where others may have put something in
// its place. A file that could not be written whole is removed.
int WriteNewFile(const std::string& path, const std::vector<char>& bytes);
