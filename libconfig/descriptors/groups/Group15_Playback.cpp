// 15 Playback: what plays, and how well it did.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr Choice kPlayChoices[] = {
    {kPlayClip, "Clip"},
    {kPlayAllClips, "All Clips", "AllClips"},
    {kPlayPlaylist, "Playlist"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(PlayMedia), "Play Media", "PlayMdia", kPlayChoices, kPlayClip)
        .Feature(eFeature_Panel)
        .Help("Selects what Play runs through: the current clip, all clips of the media in the "
              "order of their recording, or a playlist. See: 15.3 Current Playlist."),
    Enum(PARAM(LoopPlay), "Loop Play", "LoopPlay", kOffOn, kOff)
        .Feature(eFeature_Panel)
        .Help("On starts again at the beginning when playback reaches the end. Use it for displays "
              "that run unattended. See: 15.1 Play Media."),
    FileName(PARAM(CurrentPlaylist), "Current Playlist", "Playlist", 0, kMaxFileName, "")
        .Keep(Keeping::kState)
        .EnabledBy(eParamID_PlayMedia, kPlayPlaylist)
        .Dependents(eParamID_CurrentPlaylistIndex)
        .Help("The name of the playlist that plays; empty while none is chosen. "
              "See: 15.1 Play Media."),
    Integer(PARAM(DroppedFrames), "Dropped Frames", "Dropped", 0, 0xFFFFFFFF, 0)
        .Outcome()
        .Unit("frames")
        .Help("How many frames were lost since the present recording or playback began. Anything "
              "but 0 says that the media are too slow for the codec. See: 14.2 Encode Type."),
};

}  // namespace

void CreateGroup_15(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
