// The identifiers of all parameters, grouped as the menus are. Each number stands here and nowhere
// else.
//
// Do not renumber: the numbers are in records on the wire, in stored presets and in menus. An
// entry's text and limits are in its row under libconfig/descriptors/groups/.
#pragma once

#include "libconfig/serialization/Identifiers.h"

enum eParam_t : uint32_t {
  eParamID_None = 0,  // no parameter; in listener requests, every parameter

  // Status
  eParamID_Status = 0x00010000,

  // Formats
  eParamID_RecordType = 0x01020000,
  eParamID_1080PlaybackType = 0x01030000,
  eParamID_VideoInConvert = 0x01040000,
  eParamID_VideoOutConvert = 0x01050000,
  eParamID_SDIOutput = 0x01060000,
  eParamID_SDI2Output = 0x01070000,
  eParamID_ComponentOutput = 0x01080000,
  eParamID_HDMIOutput = 0x01090000,
  eParamID_TimecodeBurn = 0x010a0000,

  // Inputs
  eParamID_VideoInSelect = 0x02010000,
  eParamID_AudioInSelect = 0x02020000,
  eParamID_AudioChannels = 0x02030000,

  // Video levels
  eParamID_ComponentInputLevel = 0x03010000,
  eParamID_ComponentOutputLevel = 0x03020000,
  eParamID_NTSCLevels = 0x03040000,

  // Audio levels
  eParamID_AnalogAudioStandard = 0x04010000,
  eParamID_AudioLevelLeft = 0x04020000,
  eParamID_AudioLevelRight = 0x04030000,

  // Conversion
  eParamID_Upconversion = 0x05010000,
  eParamID_Downconversion = 0x05020000,

  // Genlock
  eParamID_GenLock = 0x06010000,

  // Timecode
  eParamID_TimecodeIn = 0x0800000a,
  eParamID_RS422TimecodeIn = 0x0800010a,
  eParamID_LocalTimecodeIn = 0x0800020a,
  eParamID_FW400TimecodeIn = 0x0800030a,
  eParamID_TimecodeValue = 0x08010000,
  eParamID_TimecodeType = 0x08020000,
  eParamID_ArmRecording = 0x08030000,
  eParamID_DisplayTimecode = 0x08040000,
  eParamID_InputTimecode = 0x08050000,

  // Interval recording
  eParamID_IntervalRecord = 0x09010000,
  eParamID_IntervalFrames = 0x09020000,
  eParamID_IntervalTime = 0x09030000,

  // Media state
  eParamID_MediaState = 0x0c010000,
  eParamID_MediaStateDebounced = 0x0c020000,

  // Camera data
  eParamID_UseCameraData = 0x0d010000,

  // Encoding
  eParamID_EncodeMode = 0x0e010000,
  eParamID_EncodeType = 0x0e020000,

  // Playback
  eParamID_PlayMedia = 0x0f010000,
  eParamID_LoopPlay = 0x0f020000,
  eParamID_CurrentPlaylist = 0x0f030000,
  eParamID_DroppedFrames = 0x0f040000,

  // Media maintenance
  eParamID_FormatMedia = 0x10010000,
  eParamID_DeleteMode = 0x10020000,

  // Clip names
  eParamID_ReelName = 0x11010000,
  eParamID_ClipName = 0x11020000,
  eParamID_ClipNumber = 0x11030000,
  eParamID_ClipAppend = 0x11040000,
  eParamID_AlphaAppend = 0x11050000,
  eParamID_Take = 0x11060000,

  // Custom clip names
  eParamID_UseCustomClipName = 0x13010000,
  eParamID_CustomClipName = 0x13020000,
  eParamID_UseCustomClipTake = 0x13030000,
  eParamID_CustomTake = 0x13040000,

  // Gang clip names
  eParamID_UseGangClipName = 0x1601000a,

  // Loss of video
  eParamID_LossOfVideo = 0x20010000,

  // Remote control and gang
  eParamID_RS422Remote = 0x23020000,
  eParamID_GangEnable = 0x23030000,
  eParamID_GangMaster = 0x23040000,

  // Signal generator
  eParamID_VideoSGFormat = 0x29010000,
  eParamID_VideoSG = 0x29020000,
  eParamID_AudioSG = 0x29030000,

  // Network
  eParamID_IPConfig = 0x32010000,
  eParamID_IPAddress = 0x32020000,
  eParamID_IPAddress_1 = 0x32020100,
  eParamID_IPAddress_2 = 0x32020200,
  eParamID_IPAddress_3 = 0x32020300,
  eParamID_SubnetMask = 0x32030000,
  eParamID_SubnetMask_1 = 0x32030100,
  eParamID_SubnetMask_2 = 0x32030200,
  eParamID_SubnetMask_3 = 0x32030300,
  eParamID_DefaultGateway = 0x32040000,
  eParamID_DefaultGateway_1 = 0x32040100,
  eParamID_DefaultGateway_2 = 0x32040200,
  eParamID_DefaultGateway_3 = 0x32040300,
  eParamID_SysName = 0x32050000,
  eParamID_MACAddress = 0x32060000,
  eParamID_WiFiMACAddress = 0x3207000a,
  eParamID_SystemPassword = 0x7b020000,
  eParamID_Authentication = 0x32090000,

  // Wireless
  eParamID_WiFiControl = 0x3501000a,
  eParamID_WiFiSSID_List = 0x3502000a,
  eParamID_WiFiSSID = 0x3503000a,
  eParamID_WiFiSecurity = 0x3504000a,
  eParamID_WiFiPassword = 0x3505000a,
  eParamID_WifiPassword_Hide = 0x3506000a,
  eParamID_WifiPassword_HideWasUsed = 0x3507000a,
  eParamID_WiFiStatus = 0x3508000a,

  // Wireless addresses
  eParamID_WiFiIPConfig = 0x3601000a,
  eParamID_WiFiIPAddress = 0x3602000a,
  eParamID_WiFiDHCPIPAddress = 0x3602010a,
  eParamID_WiFiStaticIPAddress = 0x3602020a,
  eParamID_WiFiSubnetMask = 0x3603000a,
  eParamID_WiFiDHCPSubnetMask = 0x3603010a,
  eParamID_WiFiStaticSubnetMask = 0x3603020a,

  // Date and time
  eParamID_DateSet = 0x37010000,
  eParamID_TimeSet = 0x37020000,

  // Suppressed alarms
  eParamID_SuppressPSAlarm = 0x3c010000,

  // Panel and fan
  eParamID_ScreenSaverEnable = 0x46010000,
  eParamID_DisplayIntensity = 0x46020000,
  eParamID_FanSpeed = 0x46030000,

  // Identity
  eParamID_FormattedSerialNumber = 0x50010000,
  eParamID_SWVersion = 0x50020000,
  eParamID_SerialNumber = 0x50030000,
  eParamID_Flash_Info = 0x50040000,

  // Factory settings
  eParamID_FactorySettings = 0x63010000,

  // Board
  eParamID_BoardID = 0x64010000,

  // Identification lamp
  eParamID_LED_Identify = 0x78010000,

  // Detected formats
  eParamID_DetectInputFormat = 0x79010000,
  eParamID_DetectReferenceFormat = 0x79020000,
  eParamID_DetectMediaFormat = 0x79040000,
  eParamID_RecordFormat = 0x79050000,
  eParamID_DecodeType = 0x79060000,
  eParamID_DetectedReferenceInputFormat = 0x79070000,

  // Progress
  eParamID_Progress = 0x7a010000,

  // Storage
  eParamID_ClipToDelete = 0x7b010000,
  eParamID_StoragePath = 0x7b030000,
  eParamID_StorageCommand = 0x7b040000,
  eParamID_StorageAlarm = 0x7b050000,
  eParamID_Benchmark = 0x7b060000,
  eParamID_StorageCertification = 0x7b070000,
  eParamID_D1_LED = 0x7b080000,
  eParamID_D2_LED = 0x7b090000,
  eParamID_S1_LED = 0x7b0a0000,
  eParamID_S2_LED = 0x7b0b0000,
  eParamID_ChangeSlot = 0x7b0c0000,
  eParamID_SelectedSlot = 0x7b0d0000,
  eParamID_CurrentMediaAvailable = 0x7b0e0000,
  eParamID_VolumeName = 0x7b0f0000,
  eParamID_MediaLoading = 0x7b100000,
  eParamID_CurrentClip = 0x7b110000,
  eParamID_CurrentClipTime = 0x7b120000,
  eParamID_CurrentPlaylistIndex = 0x7b130000,

  // Transport
  eParamID_TransportCommand = 0x7d10000a,
  eParamID_TransportState = 0x7d11000a,
  eParamID_TransportTimecode = 0x7d12000a,
  eParamID_TransportRecordAlarm = 0x7d13000a,
  eParamID_TransportPlayAlarm = 0x7d14000a,
  eParamID_TransportDeleteClip = 0x7d15000a,
  eParamID_numRecordStartFrame = 0x7d16000a,
  eParamID_TransportRequestedSpeed = 0x7d17000a,
  eParamID_TransportCurrentSpeed = 0x7d18000a,
  eParamID_TransportInData = 0x7d19000a,
  eParamID_TransportOutData = 0x7d1a000a,
  eParamID_TimecodeGeneratorPreset = 0x7d1b000a,
  eParamID_PrerollPreset = 0x7d1c000a,
  eParamID_PostrollPreset = 0x7d1d000a,
  eParamID_AutoMode = 0x7d1e000a,
  eParamID_TransportCued = 0x7d1f000a,
  eParamID_CueToTimecode = 0x7d20000a,
  eParamID_SystemTime = 0x7d21000a,
  eParamID_GoToClip = 0x7d22000a,
  eParamID_VDX2FrameRate = 0x7d23000a,
  eParamID_GoToPlaylistIndex = 0x7d24000a,
  eParamID_GangClipName = 0x7d25000a,
  eParamID_CameraData = 0x7d26000a,
  eParamID_FirewireAVCPause = 0x7d27000a,
  eParamID_GangRecordClipBaseName = 0x7d28000a,
  eParamID_MediaManagerState = 0x7d29000a,
  eParamID_WebAppState = 0x7d2a000a,
  eParamID_ProductID = 0x7d2b000a,
  eParamID_NetworkServices = 0x7d2c000a,

  // Panel memory
  eParamID_LastSelectedConfigParam = 0x7f010000,
  eParamID_LastSelectedMediaParam = 0x7f020000,

  // Alarms
  eParamID_Alarm = 0x7e000000,
  eParamID_ExtendedAlarm = 0x7e050000,

  // System
  eParamID_ShutdownMessage = 0x7d01000a,
  eParamID_ShutdownMessageII = 0x7d04000a,
  eParamID_SystemCommand = 0x7d02000a,
  eParamID_SystemState = 0x7d05000a,
  eParamID_SystemXilinxInUse = 0x7d07000a,
  eParamID_GangList = 0x7d03000a,

  // Diversion
  eParamID_BeerGoggles = 0x1e010000,

  // Discovery
  eParamID_SSDP_Enable_Host = 0x34010000,
  eParamID_SSDP_Enable_Proxy = 0x34020000,

  // Presets: save and recall
  eParamID_RegisterRecall = 0x5b010000,
  eParamID_RegisterRecallResult = 0x5d020000,
  eParamID_RegisterSave = 0x5c010000,
  eParamID_RegisterSaveResult = 0x5d030000,

  // Presets: load and store
  eParamID_RegisterLoad = 0x5c040000,
  eParamID_RegisterLoadResult = 0x5d050000,
  eParamID_RegisterStore = 0x5c030000,
  eParamID_RegisterStoreResult = 0x5d040000,

  // Presets: import and export
  eParamID_RegisterExportResult = 0x5d060000,
  eParamID_RegisterImportResult = 0x5d070000,

  // Presets: names
  eParamID_PresetName_1 = 0x5e010000,
  eParamID_PresetName_2 = 0x5e020000,
  eParamID_PresetName_3 = 0x5e030000,
  eParamID_PresetName_4 = 0x5e040000,
  eParamID_PresetName_5 = 0x5e050000,
  eParamID_PresetName_6 = 0x5e060000,
  eParamID_PresetName_7 = 0x5e070000,
  eParamID_PresetName_8 = 0x5e080000,
  eParamID_PresetName_9 = 0x5e090000,
  eParamID_PresetName_10 = 0x5e0a0000,
  eParamID_PresetName_11 = 0x5e0b0000,
  eParamID_PresetName_12 = 0x5e0c0000,
  eParamID_PresetName_13 = 0x5e0d0000,
  eParamID_PresetName_14 = 0x5e0e0000,
  eParamID_PresetName_15 = 0x5e0f0000,
  eParamID_PresetName_16 = 0x5e100000,
  eParamID_PresetName_17 = 0x5e110000,
  eParamID_PresetName_18 = 0x5e120000,
  eParamID_PresetName_19 = 0x5e130000,
  eParamID_PresetName_20 = 0x5e140000,

  // Media
  eParamID_MediaUpdated = 0x7d06000a,

  // Generic catalogue
  eParamID_ConfigCommand = 0x01400000,
  eParamID_ConfigCommandStatus = 0x01410000,
  eParamID_ConfigPath = 0x01420000,

  // Proxies of sibling models, their selectors and what they stand for; in no catalogue here
  eParamID_OutputFormatProxy = 0x01010000,
  eParamID_OutputFrameRate = 0x03030000,
  eParamID_OutputTiming_1 = 0x06020000,
  eParamID_OutputTiming_2 = 0x06030000,
  eParamID_OutputTiming_3 = 0x06040000,
  eParamID_OutputFormat = 0x79030000,
  eParamID_ProcAmp_1 = 0x0a010000,
  eParamID_ProcAmp_2 = 0x0a020000,
  eParamID_ProcAmp_3 = 0x0a030000,
  eParamID_ProcAmp_4 = 0x0a040000,
  eParamID_ProcAmp_5 = 0x0a050000,
  eParamID_WiFiDefaultGateway = 0x3604000a,
  eParamID_WiFiDHCPDefaultGateway = 0x3604010a,
  eParamID_WiFiStaticDefaultGateway = 0x3604020a,
};
