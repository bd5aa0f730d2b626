// 91 and 92 Preset menus: their entries come with the registers, as they are the same on all
// models.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {

void CreateGroup_91(CatalogueBuilder&) {}

void CreateGroup_92(CatalogueBuilder&) {}

}  // namespace qel::config
