// 93: how moving all presets at once ended.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Registers.h"

namespace qel::config {
namespace {

constexpr Choice kExportResults[] = {
    {kRegisterBusy, "Exporting...", "Exportng"},
    {kRegisterComplete, "Export Complete", "Complete"},
    {kRegisterEmpty, "Preset Empty", "Empty"},
    {kRegisterFailed, "Export Failed", "Failed"},
};

constexpr Choice kImportResults[] = {
    {kRegisterBusy, "Importing...", "Importng"},
    {kRegisterComplete, "Import Complete", "Complete"},
    {kRegisterFailed, "Import Failed", "Failed"},
};

constexpr ParamRow kRows[] = {
    RegisterResultOf(PARAM(RegisterExportResult), "Export Result", "ExptR", kExportResults,
                     kRegisterComplete)
        .Help("How the last export of presets ended, or that it is still going on."),
    RegisterResultOf(PARAM(RegisterImportResult), "Import Result", "ImptR", kImportResults,
                     kRegisterComplete)
        .Help("How the last import of presets ended, or that it is still going on."),
};

}  // namespace

void CreateParamDescriptor_RegisterImportExport(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
