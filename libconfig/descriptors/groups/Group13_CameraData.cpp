// 13 Camera data: what a camera sends along with its picture.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(UseCameraData), "Use Camera Data", "Cam Data", kOffOn, kOff)
        .Help("On takes the reel, the clip's name and the record flag from the data that a camera "
              "sends with its picture. Turn it off for sources whose data are wrong or stale. "
              "See: 8.3 Arm Recording, 125.38 Camera Data."),
};

}  // namespace

void CreateGroup_13(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
