// 91 to 94: the presets, which the unit keeps in numbered registers. Commands, results and names.
#include <string>

#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {
namespace {

// The states that all results count in, whatever labels they show.
enum RegisterResult : unsigned {
  kRegisterBusy = 1,
  kRegisterComplete = 2,
  kRegisterFailed = 3,
  kRegisterEmpty = 4,
};

// A command takes the number of a preset. The range is open: a number that was clamped would
// overwrite somebody else's preset.
constexpr ParamRow RegisterCommand(ParamName param, const char* name, const char* shortName) {
  return Integer(param, name, shortName, 0, 0xFFFFFFFF, 0).Keep(Keeping::kState).Tagged(kVolatile);
}

constexpr ParamRow RegisterResultOf(ParamName param, const char* name, const char* shortName,
                                    Choices choices, unsigned factoryDefault) {
  return Enum(param, name, shortName, choices, factoryDefault)
      .Keep(Keeping::kState)
      .Tagged(kReadOnly | kVolatile);
}

// Saving the current settings as a numbered preset, and recalling one.

constexpr Choice kRecallResults[] = {
    {kRegisterBusy, "Recalling...", "Recallng"},
    {kRegisterComplete, "Complete"},
    {kRegisterEmpty, "Preset Empty", "Empty"},
    {kRegisterFailed, "Recall Failed", "Failed"},
};

constexpr Choice kSaveResults[] = {
    {kRegisterBusy, "Storing...", "Storing."},
    {kRegisterEmpty, "Preset Empty", "Empty"},
    {kRegisterFailed, "Store Failed", "Failed"},
};

constexpr ParamRow kSaveRecallRows[] = {
    RegisterCommand(PARAM(RegisterRecall), "Recall Preset", "RecllPre")
        .Menu("91.1")
        .Help("Write the number of the preset to recall; its settings replace the current ones. "
              "See: 93.2 Recall Result."),
    RegisterResultOf(PARAM(RegisterRecallResult), "Recall Result", "RecallR", kRecallResults,
                     kRegisterComplete)
        .Menu("93.2")
        .Help("How the last recall ended, or that it is still going on. See: 91.1 Recall Preset."),
    RegisterCommand(PARAM(RegisterSave), "Save Preset", "Pre Save")
        .Menu("91.2")
        .Help("Write the number of the preset to save the current settings to; what it held before "
              "is replaced. See: 93.3 Save Result."),
    RegisterResultOf(PARAM(RegisterSaveResult), "Save Result", "Store R", kSaveResults,
                     kRegisterEmpty)
        .Menu("93.3")
        .Help("How the last save ended, or that it is still going on. See: 91.2 Save Preset."),
};

// Moving a preset out of the unit and into it, as a file.

constexpr Choice kLoadStoreResults[] = {
    {kRegisterBusy, "Exporting...", "Exportng"},
    {kRegisterComplete, "Export Complete", "Complete"},
    {kRegisterFailed, "Export Failed", "Failed"},
    {kRegisterEmpty, "Preset Empty", "Empty"},
};

constexpr ParamRow kLoadStoreRows[] = {
    RegisterCommand(PARAM(RegisterLoad), "Load Preset", "LoadPre")
        .Help("Write the number of the preset that is to be handed out as a file. "
              "See: 93.5 Load Result."),
    RegisterResultOf(PARAM(RegisterLoadResult), "Load Result", "Load R", kLoadStoreResults,
                     kRegisterComplete)
        .Help("How handing out the preset ended, or that it is still going on. "
              "See: 92.4 Load Preset."),
    RegisterCommand(PARAM(RegisterStore), "Store Preset", "StorePre")
        .Help("Write the number of the preset that is to be taken in from a file. "
              "See: 93.4 Store Result."),
    RegisterResultOf(PARAM(RegisterStoreResult), "Store Result", "StoreRes", kLoadStoreResults,
                     kRegisterComplete)
        .Help("How taking in the preset ended, or that it is still going on. "
              "See: 92.3 Store Preset."),
};

// How moving all presets at once ended.

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

constexpr ParamRow kImportExportRows[] = {
    RegisterResultOf(PARAM(RegisterExportResult), "Export Result", "ExptR", kExportResults,
                     kRegisterComplete)
        .Help("How the last export of presets ended, or that it is still going on."),
    RegisterResultOf(PARAM(RegisterImportResult), "Import Result", "ImptR", kImportResults,
                     kRegisterComplete)
        .Help("How the last import of presets ended, or that it is still going on."),
};

// What the operator calls the presets.

constexpr unsigned kPresets = 20;

constexpr eParam_t NameOfPreset(unsigned number) {
  return static_cast<eParam_t>(eParamID_PresetName_1 + ((number - 1) << 16));
}
static_assert(NameOfPreset(kPresets) == eParamID_PresetName_20, "the names' identifiers are a run");

}  // namespace

// The entries of these menus come with the registers, as they are the same on all models.
void CreateGroup_91(CatalogueBuilder&) {}
void CreateGroup_92(CatalogueBuilder&) {}

void CreateParamDescriptor_RegisterSaveRecall(CatalogueBuilder& builder) {
  builder.Add(kSaveRecallRows);
}

void CreateParamDescriptor_RegisterLoadStore(CatalogueBuilder& builder) {
  builder.Add(kLoadStoreRows);
}

void CreateParamDescriptor_RegisterImportExport(CatalogueBuilder& builder) {
  builder.Add(kImportExportRows);
}

void CreateParamDescriptor_PresetNames(CatalogueBuilder& builder) {
  for (unsigned i = 1; i <= kPresets; ++i) {
    const std::string number = std::to_string(i);
    const std::string idName = "eParamID_PresetName_" + number;
    const std::string name = "Preset " + number;
    const std::string shortName = "Preset" + number;
    const std::string menu = "94." + number;
    // The builder copies the texts.
    builder.Add(
        Text({NameOfPreset(i), idName.c_str()}, name.c_str(), shortName.c_str(), 0, 24,
             name.c_str())
            .Keep(Keeping::kIdentity)
            .Tagged(kPanelHidden)
            .Group(2)
            .Menu(menu.c_str())
            .Help("What the operator calls this preset. Name it after the job or the format that "
                  "it sets the unit up for. See: 91.1 Recall Preset, 91.2 Save Preset."));
  }
}

}  // namespace qel::config
