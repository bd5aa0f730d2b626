// 94: what the operator calls the presets.
#include <string>

#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr unsigned kPresets = 20;

constexpr eParam_t NameOfPreset(unsigned number) {
  return static_cast<eParam_t>(eParamID_PresetName_1 + ((number - 1) << 16));
}
static_assert(NameOfPreset(kPresets) == eParamID_PresetName_20, "the names' identifiers are a run");

}  // namespace

void CreateParamDescriptor_PresetNames(CatalogueBuilder& builder) {
  for (unsigned i = 1; i <= kPresets; ++i) {
    const std::string number = std::to_string(i);
    const std::string idName = "eParamID_PresetName_" + number;
    const std::string name = "Preset " + number;
    const std::string shortName = "Preset" + number;
    const std::string menu = "94." + number;
    // The builder copies the texts.
    builder.Add(
        Text({NameOfPreset(i), idName.c_str()}, name.c_str(), shortName.c_str(), 0, 24,
             name.c_str())
            .Keep(Keeping::kIdentity)
            .Tagged(kPanelHidden)
            .Group(2)
            .Menu(menu.c_str())
            .Help("What the operator calls this preset. Name it after the job or the format that "
                  "it sets the unit up for. See: 91.1 Recall Preset, 91.2 Save Preset."));
  }
}

}  // namespace qel::config
