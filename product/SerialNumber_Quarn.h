// The unit's identity as its board stores it. The device brings its own implementation of this
// class; the one in this folder stands in for it on any other host.
#pragma once

#include <string>

class SerialNumber_Quarn {
 public:
  std::string GetSerialNumber() const;
  // The serial number as printed on the unit's label.
  std::string GetFormattedSerialNumber() const;
  unsigned int GetBoardID() const;
  // Of the wired adapter, as "00:11:22:33:44:55".
  std::string GetMacAddress() const;
};
