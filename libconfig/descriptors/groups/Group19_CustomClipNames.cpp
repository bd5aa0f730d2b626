// 19 Custom clip names: a name typed in for the next clips, in place of the one that is put
// together.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(UseCustomClipName), "Use Custom Clip Name", "Use Cust", kOffOn, kOff)
        .Help("On names new clips by 19.2 Custom Clip Name in place of 17.2 Clip Name and what is "
              "appended to it."),
    FileName(PARAM(CustomClipName), "Custom Clip Name", "CustName", 0, kMaxFileName, "")
        .Keep(Keeping::kWorking)
        .EnabledBy(eParamID_UseCustomClipName, kOn)
        .Help("The name of new clips. While it is empty nothing is recorded and the alarm No Clip "
              "Name shows. See: 19.1 Use Custom Clip Name."),
    Enum(PARAM(UseCustomClipTake), "Use Custom Clip Take", "Use Take", kOffOn, kOn)
        .EnabledBy(eParamID_UseCustomClipName, kOn)
        .Help("On appends 19.4 Custom Take to the custom name. Turn it off only when every clip "
              "gets a name of its own."),
    Integer(PARAM(CustomTake), "Custom Take", "CustTake", 1, 999, 1)
        .Keep(Keeping::kWorking)
        .EnabledBy(eParamID_UseCustomClipTake, kOn)
        .Help("The number of the next take under the custom name; it advances with every "
              "recording. See: 19.3 Use Custom Clip Take."),
};

}  // namespace

void CreateGroup_19(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
