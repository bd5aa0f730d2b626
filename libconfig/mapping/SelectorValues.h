// The values of the selectors, that is of the parameters that choose what a proxy stands for. The
// numbers are those of the selectors' values in the catalogue: do not renumber.
#pragma once

#include <cstdint>

// Where an adapter gets its address.
enum eIPConfig_t : uint32_t {
  eIPConfig_Default = 0,
  eIPConfig_DHCP = 1,
  eIPConfig_Static = 2,
};

// Who works the transport.
enum eRS422_t : uint32_t {
  eRS422_Local = 0,
  eRS422_Remote = 1,
  eRS422_FireWire = 2,
};

enum eVideoInputSelect_t : uint32_t {
  eVideoInputSelect_SDI = 0,
  eVideoInputSelect_Component = 1,
  eVideoInputSelect_HDMI = 2,
  eVideoInputSelect_Generator = 3,
};

// Numbered by the product.
enum eMediaSlot_t : uint32_t {};
enum eOutputFrameRate_t : uint32_t {};
enum eHWOutputFormat_t : uint32_t {};
