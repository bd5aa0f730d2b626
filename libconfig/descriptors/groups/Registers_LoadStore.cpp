// 92 and 93: moving a preset out of the unit and into it, as a file.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Registers.h"

namespace qel::config {
namespace {

constexpr Choice kResults[] = {
    {kRegisterBusy, "Exporting...", "Exportng"},
    {kRegisterComplete, "Export Complete", "Complete"},
    {kRegisterFailed, "Export Failed", "Failed"},
    {kRegisterEmpty, "Preset Empty", "Empty"},
};

constexpr ParamRow kRows[] = {
    RegisterCommand(PARAM(RegisterLoad), "Load Preset", "LoadPre")
        .Help("Write the number of the preset that is to be handed out as a file. "
              "See: 93.5 Load Result."),
    RegisterResultOf(PARAM(RegisterLoadResult), "Load Result", "Load R", kResults,
                     kRegisterComplete)
        .Help("How handing out the preset ended, or that it is still going on. "
              "See: 92.4 Load Preset."),
    RegisterCommand(PARAM(RegisterStore), "Store Preset", "StorePre")
        .Help("Write the number of the preset that is to be taken in from a file. "
              "See: 93.4 Store Result."),
    RegisterResultOf(PARAM(RegisterStoreResult), "Store Result", "StoreRes", kResults,
                     kRegisterComplete)
        .Help("How taking in the preset ended, or that it is still going on. "
              "See: 92.3 Store Preset."),
};

}  // namespace

void CreateParamDescriptor_RegisterLoadStore(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
