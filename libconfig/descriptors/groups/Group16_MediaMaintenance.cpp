// 16 Media maintenance: what destroys clips.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kFormatCommands[] = {
    {0, "Idle"},
    {1, "Quick Format", "Quick\n  Format"},
    {2, "Full Format", "Full\n  Format"},
};

constexpr Choice kDeleteModes[] = {
    {0, "Disabled"},
    {1, "Last Clip", "LastClip"},
    {2, "Any Clip"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(FormatMedia), "Format Media", "Format", kFormatCommands, 0)
        .Command()
        .Help("Formats the media in the selected slot, which loses all clips on them. Full Format "
              "also tests every block; use it for media that dropped frames. "
              "See: 122.1 Progress, 123.13 Selected Slot."),
    Enum(PARAM(DeleteMode), "Delete Mode", "Del Mode", kDeleteModes, 1)
        .Help("Selects which clips an operator may delete: none, only the one recorded last, or "
              "any. Disable it on units that run unattended."),
};

}  // namespace

void CreateGroup_16(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
