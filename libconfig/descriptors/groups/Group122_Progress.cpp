// 122 Progress: how far a long operation is.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Integer(PARAM(Progress), "Progress", "Progress", 0, 100, 0)
        .Outcome()
        .Unit("%")
        .Help("How much of the present format, certification or update is done. Leave the media "
              "in and the power on until it is 100."),
};

}  // namespace

void CreateGroup_122(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
