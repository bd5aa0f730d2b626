// 12 Media state: whether there is something to record on.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kMediaStates[] = {
    {0, "No Media"},
    {1, "Loading"},
    {2, "Ready"},
    {3, "Unformatted", "Unformat"},
    {4, "Unsupported", "Unsupp"},
    {5, "Write Protected", "WrtProt"},
    {6, "Full"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(MediaState), "Media State", "Media", kMediaStates, 0)
        .Report()
        .Help("The state of the media in the selected slot. Only media that are ready can be "
              "recorded on. See: 123.13 Selected Slot."),
    Enum(PARAM(MediaStateDebounced), "Settled Media State", "Media St", kMediaStates, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kHidden)
        .Help("The media state once it has stayed the same for a moment, for programs that would "
              "otherwise follow every contact while media are put in. See: 12.1 Media State."),
};

}  // namespace

void CreateGroup_12(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
