// The parameters of the catalogue for people and scripts: their menus' headings, and the order in
// which to give values to several of them.
#pragma once

#include <string>
#include <vector>

#include "libconfig/libconfig.h"

namespace programs {

// "Network" for 50; "Group 77" for a menu that has no heading.
std::string MenuTitle(int group);

// `ids` so that each comes behind those that select its meaning or enable it; as they stand where
// there is nothing between them.
std::vector<eParam_t> SelectorsFirst(const std::vector<eParam_t>& ids);

}  // namespace programs
