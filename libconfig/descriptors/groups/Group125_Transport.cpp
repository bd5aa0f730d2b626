// 125 Transport: what moves the media, what a nine-pin controller presets, and the state of the
// services around it.
#include "libconfig/descriptors/ProductIdentity.h"
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr Choice kTransportCommands[] = {
    {0, "No Command", "None"},
    {1, "Stop"},
    {2, "Play"},
    {3, "Record"},
    {4, "Pause"},
    {5, "Fast Forward", "Fast Fwd"},
    {6, "Rewind"},
    {7, "Play Reverse", "Play Rev"},
    {8, "Step Forward", "Step Fwd"},
    {9, "Step Reverse", "Step Rev"},
    {10, "Next Clip", "NextClip"},
    {11, "Previous Clip", "PrevClip"},
    {12, "Cue"},
    {13, "Delete Clip", "Del Clip"},
};

constexpr Choice kTransportStates[] = {
    {0, "Unknown"},
    {1, "Idle"},
    {2, "Recording", "Record"},
    {3, "Playing", "Play"},
    {4, "Playing Reverse", "Play Rev"},
    {5, "Paused", "Pause"},
    {6, "Fast Forward", "Fast Fwd"},
    {7, "Rewinding", "Rewind"},
    {8, "Cueing"},
    {9, "Waiting for Interval", "Interval"},
    {10, "No Media"},
};

constexpr Choice kRecordAlarms[] = {
    {0, "None"},
    {1, "No Video Input", "No Video\n  Input"},
    {2, "Dropped Frames", "Dropped\n  Frames"},
    {3, "Media Full", "Media\n  Full"},
    {4, "Input Format Changed", "InputFmt\n  Changed"},
    {5, "Name In Use", "Name\n  In Use"},
};

constexpr Choice kPlayAlarms[] = {
    {0, "None"},
    {1, "Clip Unreadable", "Clip\n  Unread"},
    {2, "Unsupported Codec", "Unsupp.\n  Codec"},
    {3, "Frame Skipped", "Frame\n  Skipped"},
};

constexpr Choice kFrameRates[] = {
    {0, "23.98"}, {1, "24"}, {2, "25"}, {3, "29.97"}, {4, "30"}, {5, "50"}, {6, "59.94"}, {7, "60"},
};

constexpr Choice kServiceStates[] = {
    {0, "Stopped"},
    {1, "Starting"},
    {2, "Running"},
    {3, "Failed"},
};

// As the product identification numbers the models.
constexpr unsigned kUnknownProduct = 0;
constexpr Choice kProducts[] = {
    {kUnknownProduct, "Unknown"},
    {CProductID::eProduct_Quarn, "Quarn"},
    {CProductID::eProduct_Vimble, "Vimble"},
    {CProductID::eProduct_Crandle, "Crandle"},
};

constexpr Choice kServices[] = {
    {0, "Web Only", "Web"},
    {1, "Web and File Transfer", "Web+File"},
};

// The frames of a day at the highest rate.
constexpr unsigned kLastFrameOfDay = 24 * 60 * 60 * 60 - 1;
// In percent of the speed at which clips play.
constexpr unsigned kPlaySpeed = 100;
constexpr unsigned kHighestSpeed = 32 * kPlaySpeed;
constexpr unsigned kLongestRoll = 60;

constexpr ParamRow Speed(ParamName param, const char* name, const char* shortName) {
  return Integer(param, name, shortName, 0, kHighestSpeed, 0).Unit("%");
}

// Counts clips from 1. The range is open: a number that was clamped would mean another clip.
constexpr ParamRow ClipCommand(ParamName param, const char* name, const char* shortName) {
  return Integer(param, name, shortName, 0, 0xFFFFFFFF, 0).Command();
}

constexpr ParamRow kRows[] = {
    Enum(PARAM(TransportCommand), "Transport Command", "Trn Cmd", kTransportCommands, 0)
        .Command()
        .Feature(eFeature_Panel)
        .Help("Moves the transport as its keys do. A command that is not possible now, such as "
              "Record without media, is ignored. See: 125.17 Transport State."),
    Enum(PARAM(TransportState), "Transport State", "TrnState", kTransportStates, 0)
        .Outcome()
        .Help("What the transport does now. Wait for it after a command rather than for a time. "
              "See: 125.16 Transport Command."),
    Timecode(PARAM(TransportTimecode), "Transport Timecode", "Trn TC")
        .Outcome()
        .Help("The timecode of the frame that is recorded or played now."),
    Enum(PARAM(TransportRecordAlarm), "Record Alarm", "RecAlarm", kRecordAlarms, 0)
        .Outcome()
        .Help("What went wrong with the present recording, or kept it from starting. It clears "
              "when the next one starts."),
    Enum(PARAM(TransportPlayAlarm), "Play Alarm", "PlyAlarm", kPlayAlarms, 0)
        .Outcome()
        .Help("What went wrong with the present playback. It clears when the next one starts."),
    ClipCommand(PARAM(TransportDeleteClip), "Delete Clip", "Del Clip")
        .Help("Write the number of the clip that is to be deleted, counted from 1; 0 deletes "
              "nothing. See: 16.2 Delete Mode."),
    Integer(PARAM(numRecordStartFrame), "Record Start Frame", "RecStart", 0, kLastFrameOfDay, 0)
        .Outcome()
        .Unit("frames")
        .Help("The timecode at which the present recording began, as frames since midnight."),
    Speed(PARAM(TransportRequestedSpeed), "Requested Speed", "Req Spd")
        .Command()
        .Help("The speed at which the transport is to move; 100 is play speed. The direction is "
              "that of 125.16 Transport Command."),
    Speed(PARAM(TransportCurrentSpeed), "Current Speed", "Curr Spd")
        .Outcome()
        .Help("The speed at which the transport moves now; 100 is play speed. The direction is "
              "that of 125.17 Transport State."),
    Timecode(PARAM(TransportInData), "In Point", "In Point")
        .Keep(Keeping::kState)
        .Help("The timecode at which an edit begins, as the controller has preset it. "
              "See: 125.30 Auto Mode."),
    Timecode(PARAM(TransportOutData), "Out Point", "OutPoint")
        .Keep(Keeping::kState)
        .Help("The timecode at which an edit ends, as the controller has preset it. "
              "See: 125.30 Auto Mode."),
    Integer(PARAM(TimecodeGeneratorPreset), "Timecode Generator Preset", "TCG Pre", 0,
            kLastFrameOfDay, 0)
        .Command()
        .Unit("frames")
        .Help("Sets the running timecode generator, as frames since midnight. Controllers use it; "
              "operators set 8.1 Timecode Value."),
    Integer(PARAM(PrerollPreset), "Preroll", "Preroll", 0, kLongestRoll, 5)
        .Unit("s")
        .Help("How long the transport runs before the in point. Raise it when the edit controller "
              "fails to lock in time. See: 125.25 In Point."),
    Integer(PARAM(PostrollPreset), "Postroll", "Postroll", 0, kLongestRoll, 2)
        .Unit("s")
        .Help("How long the transport runs on behind the out point. See: 125.26 Out Point."),
    Enum(PARAM(AutoMode), "Auto Mode", "AutoMode", kOffOn, kOff)
        .Keep(Keeping::kState)
        .EnabledBy(eParamID_RS422Remote, kRemoteRS422)
        .Help("On records and plays between the in and the out point by itself, as a nine-pin "
              "controller asks. See: 125.25 In Point, 125.26 Out Point."),
    Enum(PARAM(TransportCued), "Cued", "Cued", kNoYes, 0)
        .Outcome()
        .Help("Whether the transport stands on the frame that it was last told to find. "
              "See: 125.32 Cue to Timecode."),
    Timecode(PARAM(CueToTimecode), "Cue to Timecode", "Cue TC")
        .Command()
        .Help("Write a timecode to move the transport to that frame. See: 125.31 Cued."),
    Integer(PARAM(SystemTime), "System Time", "SysTime", 0, 0xFFFFFFFF, 0)
        .Outcome()
        .Unit("s")
        .Help("The unit's clock, as seconds since 1 January 1970. See: 55.1 Date, 55.2 Time."),
    FileName(PARAM(GoToClip), "Go To Clip", "GoToClip", 0, kMaxFileName, "")
        .Command()
        .Help("Write the name of a clip to make it the current one, at its first frame. "
              "See: 123.17 Current Clip."),
    Enum(PARAM(VDX2FrameRate), "Camera Frame Rate", "Cam Rate", kFrameRates, 3)
        .Outcome()
        .EnabledBy(eParamID_EncodeMode, kEncodeVariableRate)
        .Help("The rate that the camera's data promise for playback. "
              "See: 14.1 Encode Mode, 13.1 Use Camera Data."),
    ClipCommand(PARAM(GoToPlaylistIndex), "Go To Playlist Index", "GoToIndx")
        .EnabledBy(eParamID_PlayMedia, kPlayPlaylist)
        .Help("Write a place in the playlist, counted from 1, to make its clip the current one. "
              "See: 15.3 Current Playlist."),
    FileName(PARAM(GangClipName), "Received Gang Clip Name", "GangClip", 0, kMaxFileName, "")
        .Outcome()
        .EnabledBy(eParamID_UseGangClipName, kOn)
        .Help("The name that the gang's master sent for the present or the next clip. "
              "See: 22.1 Gang Clip Name."),
    Text(PARAM(CameraData), "Camera Data", "Cam Info", 0, 255, "")
        .Outcome()
        .EnabledBy(eParamID_UseCameraData, kOn)
        .Help("What the camera last sent with its picture, in words. Look here when clips get the "
              "wrong names. See: 13.1 Use Camera Data."),
    Enum(PARAM(FirewireAVCPause), "FireWire Pause", "FW Pause", kOffOn, kOff)
        .EnabledBy(eParamID_RS422Remote, kRemoteFireWire)
        .Help("On answers a computer's record pause by closing the clip. Turn it off for programs "
              "that expect one clip for the whole capture. See: 35.2 Remote Control."),
    FileName(PARAM(GangRecordClipBaseName), "Gang Clip Base Name", "GangBase", 0, 24, "Gang")
        .EnabledBy(eParamID_GangMaster, kGangMaster)
        .Help("The beginning of the names that this unit gives to the gang's clips while it is the "
              "master. See: 35.4 Gang Master."),
    Enum(PARAM(MediaManagerState), "Media Manager State", "MediaMgr", kServiceStates, 0)
        .Report()
        .Help("Whether the service that keeps the lists of clips runs. Lists are out of date while "
              "it does not."),
    Enum(PARAM(WebAppState), "Web Application State", "Web App", kServiceStates, 0)
        .Report()
        .Help("Whether the web pages are served. They take a moment longer to start than the front "
              "panel."),
    Enum(PARAM(NetworkServices), "Network Services", "NetServs", kServices, 1)
        .Keep(Keeping::kIdentity)
        .Help("Selects what the unit offers on the network. Choose Web Only where nobody may copy "
              "clips. See: 50.9 User Authentication."),
};

constexpr ParamRow kProductID =
    Enum(PARAM(ProductID), "Product", "Product", kProducts, kUnknownProduct)
        .Report()
        .Help(
            "The model that this unit is. Programs that serve several models choose what they "
            "offer by it.");

unsigned ThisProduct() {
  if (productID.isQuarn()) return CProductID::eProduct_Quarn;
  if (productID.isVimble()) return CProductID::eProduct_Vimble;
  if (productID.isCrandle()) return CProductID::eProduct_Crandle;
  return kUnknownProduct;
}

}  // namespace

void CreateGroup_125(CatalogueBuilder& builder) {
  builder.Add(kRows);
  builder.Add(kProductID, ThisProduct());
}

}  // namespace qel::config
