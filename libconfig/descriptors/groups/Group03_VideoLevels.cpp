// 3 Video levels: the voltages of the analog picture.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kComponentLevels[] = {
    {0, "SMPTE/EBU N10", "SMPTE"},
    {1, "Beta 7.5 IRE", "Beta 7.5"},
    {2, "Beta 0 IRE", "Beta 0"},
};

constexpr Choice kNTSCSetups[] = {
    {0, "7.5 IRE"},
    {1, "0 IRE"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(ComponentInputLevel), "Component Input Level", "CompInLv", kComponentLevels, 0)
        .EnabledBy(eParamID_VideoInSelect, kVideoInComponent)
        .Help("Selects the levels that the component input expects. Match it to the source: wrong "
              "levels show as a picture that is too dark or clipped. See: 2.1 Video Input."),
    Enum(PARAM(ComponentOutputLevel), "Component Output Level", "CompOutL", kComponentLevels, 0)
        .EnabledBy(eParamID_ComponentOutput, kPrimaryYPbPr)
        .EnabledBy(eParamID_ComponentOutput, kSecondaryYPbPr)
        .Help("Selects the levels of the component output while it carries YPbPr. Match it to the "
              "monitor or recorder behind it. See: 1.8 Component Output."),
    Enum(PARAM(NTSCLevels), "NTSC Setup", "NTSC Set", kNTSCSetups, 0)
        .EnabledBy(eParamID_ComponentOutput, kComposite)
        .Help("Selects the black level of a composite 525-line output. Use 0 IRE in Japan and 7.5 "
              "IRE elsewhere; 625-line signals have no setup."),
};

}  // namespace

void CreateGroup_3(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
