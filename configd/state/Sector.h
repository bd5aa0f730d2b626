// The values of one configuration as they are kept in a file or a preset:
//
//   sector     = SectorHeader Checkpoint Vector checksum
//   checksum   = CRC-32 of everything before it, as zlib computes it; big-endian
//
// each record behind its class header. The header's length counts the bytes between the header and
// the checksum, the checkpoint's offset those before the vector.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "libconfig/libconfig.h"

using StoredValues = std::vector<std::unique_ptr<ConfigValue>>;

struct Sector {
  unsigned int odometer = 0;  // how many times the file has been written
  eConfigID_t configID = eConfigID_Default;
  StoredValues values;
};

std::vector<char> EncodeSector(Sector sector);
// Of an encoded sector: counts another save of it.
void SetOdometer(std::vector<char>& bytes, unsigned int odometer);

enum class SectorFault { kDamaged, kNewer };

// None when the bytes are not a whole sector of this version; `why` then says what is wrong with
// them, as the end of "it ...". A whole one of a later version is no damage: another configd wrote
// it and may want it back.
std::optional<Sector> DecodeSector(std::vector<char> bytes, std::string& why,
                                   SectorFault* fault = nullptr);
