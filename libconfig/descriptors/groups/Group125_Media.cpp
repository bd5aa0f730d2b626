// 125 Media: the signal that the lists of clips are out of date.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Integer(PARAM(MediaUpdated), "Media Updated", "MediaU", 0, 0xFFFFFFFF, 0)
        .Keep(Keeping::kState)
        .Tagged(kVolatile)
        .Help("Any change signals that media were updated: clients refresh their clip lists."),
};

}  // namespace

void CreateParamDescriptor_MediaParams(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
