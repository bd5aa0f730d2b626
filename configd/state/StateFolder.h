// The folder in which the daemon keeps what must survive it. No two daemons use the same one at a
// time.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "configd/state/Banks.h"
#include "libconfig/base/Mutex.h"

class StateFolder {
 public:
  static constexpr std::uint64_t kQuota = std::uint64_t{256} * 1024 * 1024;

  // `quota` is how many bytes the folder may come to hold, all files in it counted. A part of it is
  // for the device's own configuration.
  explicit StateFolder(std::uint64_t quota = kQuota) : _quota(quota) {}
  StateFolder(const StateFolder&) = delete;
  StateFolder& operator=(const StateFolder&) = delete;
  // Leaves it to the next daemon.
  ~StateFolder();

  // Makes the folder where there is none and takes hold of it. Where others than its owner may
  // write, that is put right and reported. False, with `why` for a person, when that cannot be, or
  // another daemon has it.
  bool Open(const std::string& path, std::string& why);

  const std::string& GetPath() const { return _path; }
  // Takes hold of the folder at the path, where another one has taken the place of the one that is
  // held. `number` then counts the folders that were held, which differ in what they hold. False,
  // with `why` for a person.
  bool Hold(unsigned& number, std::string& why) const;
  bool IsWritable() const;

  Banks SettingsOf(eConfigID_t configID) const;
  Banks PresetOf(eConfigID_t configID, unsigned int number) const;

  // Replaces the file at `path`, which is in this folder, of which the caller has taken hold:
  // whatever happens meanwhile, it holds either what it held before or all of `bytes`; once this
  // has returned true, the loss of power included. False, with `why` for a person. `own` is for the
  // device's own configuration.
  bool Replace(const std::string& path, const std::vector<char>& bytes, bool own,
               std::string& why) const;

  // The configurations whose settings it holds, damaged ones included.
  std::set<eConfigID_t> GetConfigurations() const;

 private:
  static bool MakeSafe(int fd, const std::string& path, std::string& why);
  bool HasRoom(std::size_t size, bool own, std::string& why) const;

  const std::uint64_t _quota;
  std::string _path;
  mutable qel::config::Mutex _mutex;
  mutable int _fd LIBCONFIG_GUARDED_BY(_mutex) = -1;  // locked
  mutable unsigned _number LIBCONFIG_GUARDED_BY(_mutex) = 0;
};

// Files of the state folder, read and replaced as a whole. Results are 0 or an errno.

// Of a regular file that is no link and not unreasonably large.
int ReadStateFile(const std::string& path, std::vector<char>& bytes);

// Makes `path` anew for the daemon's user alone, in a folder where others may have put something in
// its place: what is not a file of the daemon's own is an error and stays. A file that could not be
// written whole is removed.
int WriteNewFile(const std::string& path, const std::vector<char>& bytes);
