// The headings of the menus, which the catalogue only knows by number.
#pragma once

#include <string>

namespace programs {

// "Network" for 50; "Group 77" for a menu that has no heading.
std::string MenuTitle(int group);

}  // namespace programs
