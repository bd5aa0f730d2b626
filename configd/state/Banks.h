// One sector in a folder, in two files that are written in turn: whatever happens while one of them
// is replaced, the other is whole. One thread at a time.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "configd/state/Sector.h"

class StateFolder;

class Banks {
 public:
  // The files are FOLDER/NAME.a and FOLDER/NAME.b, of configuration `configID`.
  Banks(const StateFolder& folder, const std::string& name, eConfigID_t configID);

  // The newest sector that is whole; none when there is none. A damaged file, or one of another
  // configuration, is moved aside and reported. None either when a file cannot be read at present,
  // for want of descriptors, memory or permission, or as a later configd wrote it: GetUnreadable
  // then says why.
  std::optional<Sector> Load();
  // For a person; empty when the last Load has read all there is.
  const std::string& GetUnreadable() const { return _unreadable; }

  // Replaces the older of the two by an encoded sector, whose odometer is set; where another folder
  // has taken the place of the first, the older one there. REQUIRES: Load was called before. False,
  // with `why` for a person, when it could not be written, or a file is there that could not be
  // read. What was there before is then there still, unless only the folder could not be brought to
  // the disk.
  bool Save(std::vector<char> sector, std::string& why);

  bool HasFile() const;

 private:
  struct Bank {
    std::string path;
    bool damaged = false;
    bool inTheWay = false;  // as it could not be moved aside
    std::optional<unsigned int> odometer;
  };

  std::optional<Sector> LoadBank(Bank& bank);
  static bool MoveAside(const Bank& bank, std::string& newPath);
  Bank& Older();

  const StateFolder& _folder;
  const eConfigID_t _configID;
  std::string _unreadable;
  unsigned _loadedFrom = 0;  // the folder's number
  std::array<Bank, 2> _banks;
};
