// 22 Gang clip names: one name for what several units record together.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(UseGangClipName), "Gang Clip Name", "GangName", kOffOn, kOn)
        .EnabledBy(eParamID_GangEnable, kOn)
        .Help("On names the clips of a gang recording alike on all units, by the name that the "
              "gang's master sends. Off lets this unit name its own. See: 35.3 Gang Enable."),
};

}  // namespace

void CreateGroup_22(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
