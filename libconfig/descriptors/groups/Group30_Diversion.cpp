// 30 Diversion: for the end of a long day.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(BeerGoggles), "Beer Goggles", "Goggles", kOffOn, kOff)
        .Keep(Keeping::kState)
        .Tagged(kHidden)
        .Help("On makes the front panel show its text doubled. It changes nothing that is recorded "
              "or played."),
};

}  // namespace

void CreateGroup_BeerThirty(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
