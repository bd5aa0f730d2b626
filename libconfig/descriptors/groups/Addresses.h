// What the wired and the wireless adapter's rows have in common. Internal.
#pragma once

#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {

// Of the choices of where an adapter gets its address.
constexpr unsigned kStaticAddress = 2;

// An IPv4 address in one 32-bit value, most significant byte first.
constexpr ParamRow Address(ParamName param, const char* name, const char* shortName,
                           unsigned factoryDefault) {
  return Integer(param, name, shortName, 0, 0xFFFFFFFF, factoryDefault)
      .Format("ipv4")
      .Keep(Keeping::kIdentity);
}

// A hardware address, such as "00:11:22:33:44:55".
constexpr ParamRow HardwareAddress(ParamName param, const char* name, const char* shortName,
                                   const char* factoryDefault) {
  return Text(param, name, shortName, 17, 17, factoryDefault)
      .Pattern("^([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}$")
      .Keep(Keeping::kState);
}

}  // namespace qel::config
