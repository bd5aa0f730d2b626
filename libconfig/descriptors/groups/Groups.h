// The catalogue's builders, one for each file of this folder, in the order in which they run.
// Internal.
#pragma once

#include "libconfig/descriptors/groups/CatalogueBuilder.h"

namespace qel::config {

void CreateGroup_0(CatalogueBuilder& builder);
void CreateGroup_1(CatalogueBuilder& builder);
void CreateGroup_2(CatalogueBuilder& builder);
void CreateGroup_3(CatalogueBuilder& builder);
void CreateGroup_4(CatalogueBuilder& builder);
void CreateGroup_5(CatalogueBuilder& builder);
void CreateGroup_6(CatalogueBuilder& builder);
void CreateGroup_8(CatalogueBuilder& builder);
void CreateGroup_9(CatalogueBuilder& builder);
void CreateGroup_12(CatalogueBuilder& builder);
void CreateGroup_13(CatalogueBuilder& builder);
void CreateGroup_14(CatalogueBuilder& builder);
void CreateGroup_15(CatalogueBuilder& builder);
void CreateGroup_16(CatalogueBuilder& builder);
void CreateGroup_17(CatalogueBuilder& builder);
void CreateGroup_19(CatalogueBuilder& builder);
void CreateGroup_22(CatalogueBuilder& builder);
void CreateGroup_32(CatalogueBuilder& builder);
void CreateGroup_35(CatalogueBuilder& builder);
void CreateGroup_41(CatalogueBuilder& builder);
void CreateGroup_50(CatalogueBuilder& builder);
void CreateGroup_53(CatalogueBuilder& builder);
void CreateGroup_54(CatalogueBuilder& builder);
void CreateGroup_55(CatalogueBuilder& builder);
void CreateGroup_AlarmSuppress(CatalogueBuilder& builder);
void CreateGroup_70(CatalogueBuilder& builder);
void CreateGroup_80(CatalogueBuilder& builder);
void CreateGroup_91(CatalogueBuilder& builder);
void CreateGroup_92(CatalogueBuilder& builder);
void CreateGroup_99(CatalogueBuilder& builder);
void CreateGroup_100(CatalogueBuilder& builder);
void CreateGroup_120(CatalogueBuilder& builder);
void CreateGroup_121(CatalogueBuilder& builder);
void CreateGroup_122(CatalogueBuilder& builder);
void CreateGroup_123(CatalogueBuilder& builder);
void CreateGroup_125(CatalogueBuilder& builder);
void CreateGroup_127(CatalogueBuilder& builder);
void CreateGroup_Alarm(CatalogueBuilder& builder);
void CreateGroup_System(CatalogueBuilder& builder);
void CreateGroup_BeerThirty(CatalogueBuilder& builder);
void CreateGroup_Discovery(CatalogueBuilder& builder);
void CreateParamDescriptor_RegisterSaveRecall(CatalogueBuilder& builder);
void CreateParamDescriptor_RegisterLoadStore(CatalogueBuilder& builder);
void CreateParamDescriptor_RegisterImportExport(CatalogueBuilder& builder);
void CreateParamDescriptor_PresetNames(CatalogueBuilder& builder);
void CreateParamDescriptor_MediaParams(CatalogueBuilder& builder);

namespace generic {
void CreateGroup_0(CatalogueBuilder& builder);
void CreateGroup_1(CatalogueBuilder& builder);
}  // namespace generic

}  // namespace qel::config
