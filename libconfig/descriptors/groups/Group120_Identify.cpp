// 120 Identification lamp: finding one unit in a rack of many.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(LED_Identify), "Identify", "Identify", kOffOn, kOff)
        .Keep(Keeping::kState)
        .Feature(eFeature_Panel)
        .Help("On flashes the lamps of the front panel, so that the unit behind a web page can be "
              "found in the rack. It does not disturb a recording."),
};

}  // namespace

void CreateGroup_120(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
