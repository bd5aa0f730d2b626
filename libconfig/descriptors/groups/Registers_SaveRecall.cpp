// 91 to 93: saving the current settings as a numbered preset, and recalling one.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Registers.h"

namespace qel::config {
namespace {

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

constexpr ParamRow kRows[] = {
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

}  // namespace

void CreateParamDescriptor_RegisterSaveRecall(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
