// 8 Timecode: where a recording gets its timecode, and what it says now.
//
// Timecode In stands for one of the three that follow it, by who controls the unit.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr unsigned kGenerator = 3;
constexpr Choice kSources[] = {
    {0, "Embedded"},
    {1, "LTC"},
    {2, "RS-422"},
    {kGenerator, "Generator", "Genrator"},
    {4, "Time of Day", "Time\n  of Day"},
};

constexpr Choice kCounts[] = {
    {0, "Non-Drop Frame", "NonDrop"},
    {1, "Drop Frame", "Drop"},
};

constexpr Choice kTriggers[] = {
    {0, "Off"},
    {1, "Timecode Runs", "TC Runs"},
    {2, "Camera Record Flag", "Cam Flag"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(TimecodeIn), "Timecode In", "TC In", kSources, 0)
        .Help("Selects the timecode that is recorded: the one embedded in the video input, linear "
              "timecode, the controller's, or the unit's own. It stands for the setting that "
              "belongs to the present control. See: 35.2 Remote Control."),
    Enum(PARAM(RS422TimecodeIn), "RS-422 Timecode In", "RS422 TC", kSources, 2)
        .EnabledBy(eParamID_RS422Remote, kRemoteRS422)
        .Help("The timecode that is recorded while a nine-pin controller has the unit. Use RS-422 "
              "for frame-accurate inserts from an edit controller. See: 35.2 Remote Control."),
    Enum(PARAM(LocalTimecodeIn), "Local Timecode In", "Local TC", kSources, 0)
        .EnabledBy(eParamID_RS422Remote, kRemoteLocal)
        .Help("The timecode that is recorded while the unit is worked at its panel or through its "
              "web pages. See: 35.2 Remote Control."),
    Enum(PARAM(FW400TimecodeIn), "FireWire Timecode In", "FW400 TC", kSources, 0)
        .EnabledBy(eParamID_RS422Remote, kRemoteFireWire)
        .Help("The timecode that is recorded while a computer controls the unit over FireWire. "
              "See: 35.2 Remote Control."),
    Timecode(PARAM(TimecodeValue), "Timecode Value", "TC Value", "01:00:00:00")
        .EnabledBy(eParamID_TimecodeIn, kGenerator)
        .Help("The timecode at which the unit's own generator starts. Set the hour to the reel's "
              "number to tell reels apart. See: 8.0 Timecode In."),
    Enum(PARAM(TimecodeType), "Timecode Type", "TC Type", kCounts, 0)
        .Help("Selects how the generator counts at 29.97 and 59.94. Drop Frame skips numbers to "
              "keep up with the clock on the wall; other rates always count Non-Drop Frame."),
    Enum(PARAM(ArmRecording), "Arm Recording", "Arm Rec", kTriggers, 0)
        .Feature(eFeature_Panel)
        .Help("Lets the source start and stop the recording: when its timecode runs, or by the "
              "record flag that a camera sends with the picture. Turn it off where the timecode "
              "runs free. See: 13.1 Use Camera Data."),
    Timecode(PARAM(DisplayTimecode), "Display Timecode", "Disp TC")
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kVolatile | kPanelHidden)
        .Help("The timecode that the front panel shows now: the clip's while one plays, the "
              "recorded one otherwise."),
    Timecode(PARAM(InputTimecode), "Input Timecode", "Input TC")
        .Outcome()
        .Help("The timecode that arrives now from the source that 8.0 Timecode In selects. It "
              "stands still when none arrives."),
};

}  // namespace

void CreateGroup_8(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
