// 126 Alarms: bit masks of what is wrong now.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr unsigned Bit(unsigned number) { return 1U << number; }

constexpr Choice kAlarms[] = {
    {0, "None"},
    {Bit(0), "HW Error"},
    {Bit(1), "SW Error"},
    {Bit(2), "Format Error", "Format\n  Error"},
    {Bit(3), "Near Under Volt", "Near Und\n  Volt"},
    {Bit(4), "Near Over Volt", "Near Ovr\n  Volt"},
    {Bit(5), "P/S 1 OFF", "P/S 1\n  OFF"},
    {Bit(6), "P/S 2 OFF", "P/S 2\n  OFF"},
    {Bit(7), "Storage Removed", "Storage\n  Removed"},
    {Bit(8), "Invalid Selection", "Invalid\n  Select"},
    {Bit(9), "Name In Use", "Name\n  In Use"},
    {Bit(10), "Record Format", "Record\n  Format"},
    {Bit(11), "Dropped Frames", "Dropped\n  Frames"},
    {Bit(12), "Near Over Temp", "Near Ovr\n  Temp"},
    {Bit(13), "Input Error", "Input\n  Error"},
    {Bit(14), "Safe Boot Mode", "SafeBoot\n  Mode"},
    {Bit(15), "Media Low", "Media\n  Low"},
    {Bit(16), "Media Full", "Media\n  Full"},
    {Bit(17), "A/V Mismatch", "A/V Mis-\n  match"},
    {Bit(18), "Input Format Changed", "InputFmt\n  Changed"},
    {Bit(19), "No Video Input", "No Video\n  Input"},
    {Bit(20), "Frame Skipped", "Frame\n  Skipped"},
    {Bit(21), "Media Unformatted", "Media\n  Unformat"},
    {Bit(22), "Backup and Reformat", "Backup\n  Reformat"},
    {Bit(23), "Genlock Missing", "Genlock\n  Missing"},
    {Bit(24), "2 Channel Format", "2 Chan\n  Format"},
    {Bit(28), "SDI VFR Mismatch", "SDI VFR\n  Mismatch"},
    {Bit(29), "Genlock Mismatch", "Genlock\n  Mismatch"},
    {Bit(30), "Non VFR Format", "Non VFR\n  Format"},
    {Bit(31), "No Clip Name", "No Clip\n  Name"},
};

constexpr Choice kExtendedAlarms[] = {
    {0, "None"},
    {Bit(0), "Unsupported Media", "Unsupp.\n  Media"},
    {Bit(1), "No Media Installed", "No Media\n  Install"},
    {Bit(2), "Turn Off Camera Data", "Turn Off\n  CamData"},
    {Bit(3), "Change Encode Type", "Change\n  EncType"},
    {Bit(4), "Change Encode Mode", "Change\n  EncMode"},
    {Bit(5), "Change Encode Mode\nInput not HD", "EncMode\n  Not HD"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(Alarm), "Alarm", "Alarm", kAlarms, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kDoNotValidate)
        .Help("Active alarm bitmask. Several alarms may be active at once; each clears by itself "
              "when its cause is gone."),
    Enum(PARAM(ExtendedAlarm), "Extended Alarm", "ExtAlarm", kExtendedAlarms, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kDoNotValidate)
        .Help("Extended active alarm bitmask."),
};

}  // namespace

void CreateGroup_Alarm(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
