// The lists of choices that several parameters offer. Internal.
#pragma once

#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {

constexpr unsigned kOff = 0;
constexpr unsigned kOn = 1;

constexpr Choice kOffOn[] = {{kOff, "Off"}, {kOn, "On"}};
constexpr Choice kNoYes[] = {{0, "No"}, {1, "Yes"}};
constexpr Choice kDisableEnable[] = {{0, "Disable"}, {1, "Enable"}};

// Where an adapter gets its address.
constexpr Choice kAddressModes[] = {
    {0, "Default Addr", "Default"}, {1, "DHCP"}, {2, "Static Addr", "Static"}};

struct VideoFormatList {
  Choice rows[25];
};

// The video formats of the product, numbered alike wherever one is told or chosen, after what 0
// stands for with that parameter.
constexpr VideoFormatList VideoFormatsOr(const char* name, const char* shortName) {
  return {{
      {0, name, shortName},
      {1, "525i 29.97", "525i\n  29.97"},
      {2, "625i 25", "625i 25"},
      {3, "720p 23.98", "720p\n  23.98"},
      {4, "720p 25", "720p 25"},
      {5, "720p 29.97", "720p\n  29.97"},
      {6, "720p 50", "720p 50"},
      {7, "720p 59.94", "720p\n  59.94"},
      {8, "720p 60", "720p 60"},
      {9, "1080i 25", "1080i 25"},
      {10, "1080i 29.97", "1080i\n  29.97"},
      {11, "1080i 30", "1080i 30"},
      {12, "1080PsF 23.98", "1080PsF\n  23.98"},
      {13, "1080PsF 24", "1080PsF\n  24"},
      {14, "1080PsF 25", "1080PsF\n  25"},
      {15, "1080PsF 29.97", "1080PsF\n  29.97"},
      {16, "1080PsF 30", "1080PsF\n  30"},
      {17, "1080p 23.98", "1080p\n  23.98"},
      {18, "1080p 24", "1080p 24"},
      {19, "1080p 25", "1080p 25"},
      {20, "1080p 29.97", "1080p\n  29.97"},
      {21, "1080p 30", "1080p 30"},
      {22, "1080p 50", "1080p 50"},
      {23, "1080p 59.94", "1080p\n  59.94"},
      {24, "1080p 60", "1080p 60"},
  }};
}

constexpr unsigned k1080i2997 = 10;

}  // namespace qel::config
