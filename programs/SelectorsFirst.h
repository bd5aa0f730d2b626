// The order in which to give values to several parameters.
#pragma once

#include <vector>

#include "libconfig/libconfig.h"

namespace programs {

// `ids` so that each comes behind those that select its meaning or enable it; as they stand where
// there is nothing between them.
std::vector<eParam_t> SelectorsFirst(const std::vector<eParam_t>& ids);

}  // namespace programs
