// What a technician types for a value, understood and checked by the catalogue before anything is
// sent.
#pragma once

#include <string>
#include <vector>

#include "libconfig/descriptors/EnumDescriptor.h"
#include "programs/ValueText.h"

namespace configctl {

// A number, decimal or with 0x; for an enumeration also a label or short label, with line breaks as
// blanks and without regard to case; for an address also its dotted form; for a text, the text.
// Throws Failure.
programs::Value ParseValue(const ParamDescriptor& param, const std::string& text);

struct CatalogueCheck {
  // What a store that keeps to the catalogue makes of the value.
  programs::Value stored;
  // Why a text should not be stored, although a store would take it; empty when it fits.
  std::string objection;
};

// Throws Failure for a value that no store takes.
CatalogueCheck CheckValue(const ParamDescriptor& param, const programs::Value& value);

// The choices in display order, each once.
std::vector<EnumValueDescriptor> ChoicesOf(const EnumDescriptor& param);

// "1 to 120 frames".
std::string RangeText(const IntegerDescriptor& param);
// "Off (0), On (1)".
std::string ChoicesText(const EnumDescriptor& param);

}  // namespace configctl
