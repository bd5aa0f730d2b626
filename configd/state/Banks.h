// One sector in a folder, in two files that are written in turn: whatever happens while one of them
// is replaced, the other is whole. One thread at a time.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "configd/state/Sector.h"

class Banks {
 public:
  // The files are FOLDER/NAME.a and FOLDER/NAME.b.
  Banks(const std::string& folder, const std::string& name);

  // The newest sector that is whole; none when there is none. A damaged file is moved aside and
  // reported.
  std::optional<Sector> Load();

  // Replaces the older of the two; the sector's odometer is set. REQUIRES: Load was called before.
  // False, with `why` for a person, when it could not be written; what was there before is then
  // there still.
  bool Save(Sector& sector, std::string& why);

  bool HasFile() const;

 private:
  struct Bank {
    std::string path;
    bool damaged = false;  // and could not be moved aside
    std::optional<unsigned int> odometer;
  };

  std::optional<Sector> LoadBank(Bank& bank);
  static bool MoveAside(const Bank& bank, std::string& newPath);
  Bank& Older();

  const std::string _folder;
  std::array<Bank, 2> _banks;
};
