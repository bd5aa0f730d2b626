// 99 Factory settings: starting afresh.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kCommands[] = {
    {0, "Idle"},
    {1, "Restore"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(FactorySettings), "Factory Settings", "Factory", kCommands, 0)
        .Command()
        .Help("Restore gives every setting its factory value; the network's settings, passwords "
              "and presets stay. Save a preset first if the present settings are worth keeping. "
              "See: 91.2 Save Preset."),
};

}  // namespace

void CreateGroup_99(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
