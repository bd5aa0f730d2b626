// 2 Inputs: which picture and which sound are recorded.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kVideoInputs[] = {
    {kVideoInSDI, "SDI"},
    {kVideoInComponent, "Component", "Componnt"},
    {kVideoInHDMI, "HDMI"},
    {kVideoInGenerator, "Signal Generator", "Sig Gen"},
};

constexpr Choice kAudioInputs[] = {
    {kAudioInEmbedded, "Embedded"},
    {kAudioInAES, "AES"},
    {kAudioInAnalog, "Analog"},
    {kAudioInGenerator, "Signal Generator", "Sig Gen"},
};

constexpr Choice kChannelCounts[] = {
    {0, "2 Channel", "2 Chan"},
    {1, "4 Channel", "4 Chan"},
    {2, "8 Channel", "8 Chan"},
    {3, "16 Channel", "16 Chan"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(VideoInSelect), "Video Input", "Video In", kVideoInputs, kVideoInSDI)
        .Dependents(eParamID_DetectInputFormat, eParamID_RecordFormat)
        .Help("Selects the picture that is recorded. Signal Generator records a test signal "
              "without any source connected. See: 121.1 Input Format, 41.2 Video Test Signal."),
    Enum(PARAM(AudioInSelect), "Audio Input", "Audio In", kAudioInputs, kAudioInEmbedded)
        .Help("Selects the sound that is recorded. Embedded takes it from the SDI or HDMI signal "
              "that 2.1 Video Input selects; with an analog picture choose AES or Analog."),
    Enum(PARAM(AudioChannels), "Audio Channels", "AudChans", kChannelCounts, 1)
        .Help("Selects how many channels of sound a clip has. Channels that the source does not "
              "deliver are recorded silent; choose no more than the edit needs."),
};

}  // namespace

void CreateGroup_2(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
