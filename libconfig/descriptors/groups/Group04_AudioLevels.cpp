// 4 Audio levels: how analog sound meets the digital scale.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kStandards[] = {
    {0, "SMPTE: +4 dBu is -20 dBFS", "SMPTE\n  -20 dBFS"},
    {1, "EBU: 0 dBu is -18 dBFS", "EBU\n  -18 dBFS"},
    {2, "Consumer: -10 dBV is -20 dBFS", "Consumer\n  -10 dBV"},
};

constexpr unsigned kUnityGain = 4;
constexpr Choice kGains[] = {
    {0, "-12 dB"}, {1, "-9 dB"}, {2, "-6 dB"}, {3, "-3 dB"},  {kUnityGain, "0 dB"},
    {5, "+3 dB"},  {6, "+6 dB"}, {7, "+9 dB"}, {8, "+12 dB"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(AnalogAudioStandard), "Analog Audio Standard", "AudioStd", kStandards, 0)
        .Help("Selects which analog voltage stands for the reference level, at the inputs and at "
              "the outputs. Use the standard of the facility that the unit is wired into."),
    Enum(PARAM(AudioLevelLeft), "Left Audio Level", "Audio L", kGains, kUnityGain)
        .Feature(eFeature_Panel)
        .EnabledBy(eParamID_AudioInSelect, kAudioInAnalog)
        .Help("Adjusts the left analog input. Lower it when loud passages clip. "
              "See: 2.2 Audio Input."),
    Enum(PARAM(AudioLevelRight), "Right Audio Level", "Audio R", kGains, kUnityGain)
        .Feature(eFeature_Panel)
        .EnabledBy(eParamID_AudioInSelect, kAudioInAnalog)
        .Help("Adjusts the right analog input. Lower it when loud passages clip. "
              "See: 2.2 Audio Input."),
};

}  // namespace

void CreateGroup_4(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
