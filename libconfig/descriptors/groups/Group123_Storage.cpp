// 123 Storage: drives, slots and what is on the media in them.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr Choice kStorageCommands[] = {
    {0, "Idle"},
    {1, "Mount"},
    {2, "Unmount"},
    {3, "Check"},
    {4, "Benchmark", "Benchmrk"},
    {5, "Certify"},
    {6, "Delete Clip", "Del Clip"},
};

constexpr Choice kStorageAlarms[] = {
    {0, "None"},
    {1, "Drive Failed", "Drive\n  Failed"},
    {2, "Drive Too Slow", "Drive\n  Slow"},
    {3, "File System Damaged", "FileSys\n  Damaged"},
    {4, "Removed While In Use", "Removed\n  In Use"},
};

constexpr Choice kBenchmarks[] = {
    {0, "Not Run"},
    {1, "Running"},
    {2, "Fast Enough", "Passed"},
    {3, "Too Slow"},
};

constexpr Choice kCertifications[] = {
    {0, "Not Certified", "Not Cert"},
    {1, "Certifying", "Certing"},
    {2, "Certified", "Certifd"},
    {3, "Failed"},
};

constexpr Choice kLamps[] = {
    {0, "Off"},   {1, "Green"}, {2, "Green Flashing", "Green\n  Flash"},
    {3, "Amber"}, {4, "Red"},   {5, "Red Flashing", "Red\n  Flash"},
};

constexpr Choice kSlotCommands[] = {
    {0, "Idle"},
    {1, "Slot 1"},
    {2, "Slot 2"},
    {3, "Next Slot", "Next"},
};

constexpr Choice kSlots[] = {
    {0, "None"},
    {1, "Slot 1"},
    {2, "Slot 2"},
};

constexpr Choice kLoadStates[] = {
    {0, "Idle"},
    {1, "Loading"},
    {2, "Reading Clips", "Reading\n  Clips"},
};

constexpr ParamRow kRows[] = {
    FileName(PARAM(ClipToDelete), "Clip to Delete", "Del Name", 0, kMaxFileName, "")
        .Command()
        .Help("The name of the clip that the next Delete Clip removes from the media. "
              "See: 123.4 Storage Command, 16.2 Delete Mode."),
    Text(PARAM(StoragePath), "Storage Path", "StorPath", 0, 255, "")
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kPanelHidden)
        .Help("The folder under which the media in the selected slot are mounted; empty while they "
              "are not."),
    Enum(PARAM(StorageCommand), "Storage Command", "Stor Cmd", kStorageCommands, 0)
        .Command()
        .Help("Tells the unit what to do with the media in the selected slot. Unmount them before "
              "they are pulled out. See: 123.5 Storage Alarm."),
    Enum(PARAM(StorageAlarm), "Storage Alarm", "StorAlrm", kStorageAlarms, 0)
        .Outcome()
        .Help("What is wrong with the media in the selected slot. Stop using media that raise it "
              "more than once. See: 123.4 Storage Command."),
    Enum(PARAM(Benchmark), "Benchmark", "Benchmrk", kBenchmarks, 0)
        .Outcome()
        .Help("Whether the media can be written fast enough for the encode type. Run it on media "
              "of a kind that is new to you. See: 123.4 Storage Command, 14.2 Encode Type."),
    Enum(PARAM(StorageCertification), "Storage Certification", "StorCert", kCertifications, 0)
        .Outcome()
        .Help("Whether every block of the media was tested on this unit. Certify media before a "
              "recording that cannot be repeated. See: 123.4 Storage Command."),
    Enum(PARAM(D1_LED), "Drive 1 Lamp", "D1 Lamp", kLamps, 0)
        .Report()
        .Help("What the lamp of drive 1 shows: green while it is ready, flashing green while it is "
              "in use, red when it failed."),
    Enum(PARAM(D2_LED), "Drive 2 Lamp", "D2 Lamp", kLamps, 0)
        .Report()
        .Help("What the lamp of drive 2 shows: green while it is ready, flashing green while it is "
              "in use, red when it failed."),
    Enum(PARAM(S1_LED), "Slot 1 Lamp", "S1 Lamp", kLamps, 0)
        .Report()
        .Help("What the lamp of slot 1 shows: green while its media are selected, amber while they "
              "wait. Never pull out media while it flashes."),
    Enum(PARAM(S2_LED), "Slot 2 Lamp", "S2 Lamp", kLamps, 0)
        .Report()
        .Help("What the lamp of slot 2 shows: green while its media are selected, amber while they "
              "wait. Never pull out media while it flashes."),
    Enum(PARAM(ChangeSlot), "Change Slot", "ChngSlot", kSlotCommands, 0)
        .Command()
        .Help("Selects the slot that is recorded on and played from. It is refused while the "
              "present one is in use. See: 123.13 Selected Slot."),
    Enum(PARAM(SelectedSlot), "Selected Slot", "Slot", kSlots, 0)
        .Report()
        .Dependents(eParamID_CurrentMediaAvailable, eParamID_VolumeName, eParamID_CurrentClip)
        .Help("The slot that is recorded on and played from. See: 123.12 Change Slot."),
    Enum(PARAM(CurrentMediaAvailable), "Current Media Available", "MediaAvl", kNoYes, 0)
        .Report()
        .Help("Whether the media in the selected slot can be used now. See: 12.1 Media State."),
    Text(PARAM(VolumeName), "Volume Name", "Volume", 0, 32, "")
        .Report()
        .Help("The name under which a computer shows the media in the selected slot."),
    Enum(PARAM(MediaLoading), "Media Loading", "Loading", kLoadStates, 0)
        .Report()
        .Help("Whether media are being loaded or their clips read. Recording is possible once it "
              "is idle. See: 12.1 Media State."),
    FileName(PARAM(CurrentClip), "Current Clip", "CurrClip", 0, kMaxFileName, "")
        .Outcome()
        .Help("The clip that is recorded, played or ready to play; empty while there is none. "
              "See: 125.34 Go To Clip."),
    Timecode(PARAM(CurrentClipTime), "Current Clip Time", "ClipTime")
        .Outcome()
        .Help("How far into the current clip the transport is. See: 123.17 Current Clip."),
    Integer(PARAM(CurrentPlaylistIndex), "Current Playlist Index", "ListIndx", 0, 9999, 0)
        .Outcome()
        .Help("The place of the current clip in the playlist, counted from 1; 0 while no playlist "
              "plays. See: 15.3 Current Playlist."),
};

}  // namespace

void CreateGroup_123(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
