// 35 Remote control and gang: who works the transport.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr Choice kControls[] = {
    {kRemoteLocal, "Local"},
    {kRemoteRS422, "RS-422"},
    {kRemoteFireWire, "FireWire 400", "FW400"},
};

constexpr Choice kGangRoles[] = {
    {kGangMember, "Member"},
    {kGangMaster, "Master"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(RS422Remote), "Remote Control", "Remote", kControls, kRemoteLocal)
        .Dependents(eParamID_TimecodeIn)
        .Feature(eFeature_Panel)
        .Help("Selects who works the transport: the panel and the web pages, a nine-pin controller "
              "on the RS-422 connector, or a computer over FireWire. Each has a timecode input of "
              "its own. See: 8.0 Timecode In."),
    Enum(PARAM(GangEnable), "Gang Enable", "Gang", kOffOn, kOff)
        .Help("On lets this unit record together with the others of its gang. "
              "See: 35.4 Gang Master, 125.3 Gang List."),
    Enum(PARAM(GangMaster), "Gang Master", "GangMstr", kGangRoles, kGangMember)
        .EnabledBy(eParamID_GangEnable, kOn)
        .Help("Makes this unit the one that starts, stops and names the recordings of the gang. "
              "Exactly one unit of a gang is the master. See: 35.3 Gang Enable."),
};

}  // namespace

void CreateGroup_35(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
