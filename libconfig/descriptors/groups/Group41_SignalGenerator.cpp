// 41 Signal generator: picture and sound for line-up, without a source.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr VideoFormatList kFormats = VideoFormatsOr("Reference Format", "As Ref");

constexpr Choice kPictures[] = {
    {0, "Black"},
    {1, "75% Color Bars", "75% Bars"},
    {2, "100% Color Bars", "100%\n  Bars"},
    {3, "SMPTE Color Bars", "SMPTE\n  Bars"},
    {4, "Multiburst", "MultiBst"},
    {5, "Ramp"},
};

constexpr Choice kSounds[] = {
    {0, "Silence"},
    {1, "1 kHz -20 dBFS", "1 kHz\n  -20 dBFS"},
    {2, "1 kHz -18 dBFS", "1 kHz\n  -18 dBFS"},
    {3, "400 Hz -20 dBFS", "400 Hz\n  -20 dBFS"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(VideoSGFormat), "Test Signal Format", "SG Fmt", kFormats.rows, k1080i2997)
        .EnabledBy(eParamID_VideoInSelect, kVideoInGenerator)
        .Dependents(eParamID_DetectInputFormat, eParamID_RecordFormat)
        .Help("Selects the format of the generated picture. Reference Format follows the genlock "
              "reference. See: 2.1 Video Input."),
    Enum(PARAM(VideoSG), "Video Test Signal", "Video SG", kPictures, 1)
        .EnabledBy(eParamID_VideoInSelect, kVideoInGenerator)
        .Help("Selects the generated picture. Record some bars at the head of the media, so that "
              "whoever receives them can set up levels. See: 2.1 Video Input."),
    Enum(PARAM(AudioSG), "Audio Test Signal", "Audio SG", kSounds, 1)
        .EnabledBy(eParamID_AudioInSelect, kAudioInGenerator)
        .Help("Selects the generated sound. Use the tone at the facility's reference level. "
              "See: 2.2 Audio Input, 4.1 Analog Audio Standard."),
};

}  // namespace

void CreateGroup_41(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
