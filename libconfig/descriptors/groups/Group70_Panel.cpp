// 70 Panel and fan: what the unit's front looks and sounds like.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr Choice kIntensities[] = {
    {0, "25%"},
    {1, "50%"},
    {2, "75%"},
    {3, "100%"},
};

constexpr Choice kFanSpeeds[] = {
    {0, "Automatic", "Auto"},
    {1, "Quiet While Recording", "Quiet\n  Rec"},
    {2, "Full Speed", "Full"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(ScreenSaverEnable), "Screen Saver", "ScrnSave", kOffOn, kOn)
        .Feature(eFeature_Panel)
        .Help("On darkens the front panel after ten minutes without a key press. Turn it off where "
              "the panel must be readable at a glance."),
    Enum(PARAM(DisplayIntensity), "Display Intensity", "Intensty", kIntensities, 3)
        .Feature(eFeature_Panel)
        .Help("Selects how bright the front panel is. Lower it in a dark control room."),
    Enum(PARAM(FanSpeed), "Fan Speed", "FanSpeed", kFanSpeeds, 0)
        .Help("Selects how the unit is cooled. Use Quiet While Recording next to a microphone, and "
              "Full Speed in a warm rack that raises the alarm Near Over Temp."),
};

}  // namespace

void CreateGroup_70(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
