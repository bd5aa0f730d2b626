// 6 Genlock: what the outputs are timed to.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kReferences[] = {
    {0, "Reference Input", "Ref In"},
    {1, "Video Input", "Video In"},
    {2, "Free Run"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(GenLock), "Genlock", "Genlock", kReferences, 0)
        .Dependents(eParamID_DetectReferenceFormat)
        .Help("Selects what the outputs are timed to: the signal at the reference connector, the "
              "selected video input, or the unit's own clock. Use Free Run only when nothing else "
              "in the chain is locked. See: 121.2 Reference Format."),
};

}  // namespace

void CreateGroup_6(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
