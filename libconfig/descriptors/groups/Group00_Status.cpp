// 0 Status: what the unit is doing, in words.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Text(PARAM(Status), "Status", "Status", 0, 64, "Ready")
        .Outcome()
        .Help("One line that says what the unit is doing and what keeps it from recording. Read it "
              "first when the unit does not do what it is told."),
};

}  // namespace

void CreateGroup_0(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
