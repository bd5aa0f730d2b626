// What the catalogue holds: the product's list of parameters, the entries whose texts other
// software and operators rely on, and the rules that every row has to keep.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/GenericCatalogue.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "tests/testing/Emulator.h"

namespace {

// Name, class and identifier of every parameter but the presets' names.
constexpr const char* kProductList =
    "Status:S:00010000 "
    "RecordType:E:01020000 1080PlaybackType:E:01030000 VideoInConvert:E:01040000 "
    "VideoOutConvert:E:01050000 SDIOutput:E:01060000 SDI2Output:E:01070000 "
    "ComponentOutput:E:01080000 HDMIOutput:E:01090000 TimecodeBurn:E:010a0000 "
    "VideoInSelect:E:02010000 AudioInSelect:E:02020000 AudioChannels:E:02030000 "
    "ComponentInputLevel:E:03010000 ComponentOutputLevel:E:03020000 NTSCLevels:E:03040000 "
    "AnalogAudioStandard:E:04010000 AudioLevelLeft:E:04020000 AudioLevelRight:E:04030000 "
    "Upconversion:E:05010000 Downconversion:E:05020000 "
    "GenLock:E:06010000 "
    "TimecodeIn:E:0800000a RS422TimecodeIn:E:0800010a LocalTimecodeIn:E:0800020a "
    "FW400TimecodeIn:E:0800030a TimecodeValue:S:08010000 TimecodeType:E:08020000 "
    "ArmRecording:E:08030000 DisplayTimecode:S:08040000 InputTimecode:S:08050000 "
    "IntervalRecord:E:09010000 IntervalFrames:I:09020000 IntervalTime:I:09030000 "
    "MediaState:E:0c010000 MediaStateDebounced:E:0c020000 "
    "UseCameraData:E:0d010000 "
    "EncodeMode:E:0e010000 EncodeType:E:0e020000 "
    "PlayMedia:E:0f010000 LoopPlay:E:0f020000 CurrentPlaylist:S:0f030000 "
    "DroppedFrames:I:0f040000 "
    "FormatMedia:E:10010000 DeleteMode:E:10020000 "
    "ReelName:S:11010000 ClipName:S:11020000 ClipNumber:I:11030000 ClipAppend:E:11040000 "
    "AlphaAppend:E:11050000 Take:I:11060000 "
    "UseCustomClipName:E:13010000 CustomClipName:S:13020000 UseCustomClipTake:E:13030000 "
    "CustomTake:I:13040000 "
    "UseGangClipName:E:1601000a "
    "LossOfVideo:E:20010000 "
    "RS422Remote:E:23020000 GangEnable:E:23030000 GangMaster:E:23040000 "
    "VideoSGFormat:E:29010000 VideoSG:E:29020000 AudioSG:E:29030000 "
    "IPConfig:E:32010000 IPAddress:I:32020000 IPAddress_1:I:32020100 IPAddress_2:I:32020200 "
    "IPAddress_3:I:32020300 SubnetMask:I:32030000 SubnetMask_1:I:32030100 "
    "SubnetMask_2:I:32030200 SubnetMask_3:I:32030300 DefaultGateway:I:32040000 "
    "DefaultGateway_1:I:32040100 DefaultGateway_2:I:32040200 DefaultGateway_3:I:32040300 "
    "SysName:S:32050000 MACAddress:S:32060000 WiFiMACAddress:S:3207000a "
    "SystemPassword:S:7b020000 Authentication:E:32090000 "
    "WiFiControl:E:3501000a WiFiSSID_List:S:3502000a WiFiSSID:S:3503000a "
    "WiFiSecurity:E:3504000a WiFiPassword:S:3505000a WifiPassword_Hide:E:3506000a "
    "WifiPassword_HideWasUsed:E:3507000a WiFiStatus:S:3508000a "
    "WiFiIPConfig:E:3601000a WiFiIPAddress:I:3602000a WiFiDHCPIPAddress:I:3602010a "
    "WiFiStaticIPAddress:I:3602020a WiFiSubnetMask:I:3603000a WiFiDHCPSubnetMask:I:3603010a "
    "WiFiStaticSubnetMask:I:3603020a "
    "DateSet:S:37010000 TimeSet:S:37020000 "
    "SuppressPSAlarm:E:3c010000 "
    "ScreenSaverEnable:E:46010000 DisplayIntensity:E:46020000 FanSpeed:E:46030000 "
    "FormattedSerialNumber:S:50010000 SWVersion:S:50020000 SerialNumber:S:50030000 "
    "Flash_Info:S:50040000 "
    "FactorySettings:E:63010000 "
    "BoardID:I:64010000 "
    "LED_Identify:E:78010000 "
    "DetectInputFormat:E:79010000 DetectReferenceFormat:E:79020000 "
    "DetectMediaFormat:E:79040000 RecordFormat:E:79050000 DecodeType:E:79060000 "
    "DetectedReferenceInputFormat:E:79070000 "
    "Progress:I:7a010000 "
    "ClipToDelete:S:7b010000 StoragePath:S:7b030000 StorageCommand:E:7b040000 "
    "StorageAlarm:E:7b050000 Benchmark:E:7b060000 StorageCertification:E:7b070000 "
    "D1_LED:E:7b080000 D2_LED:E:7b090000 S1_LED:E:7b0a0000 S2_LED:E:7b0b0000 "
    "ChangeSlot:E:7b0c0000 SelectedSlot:E:7b0d0000 CurrentMediaAvailable:E:7b0e0000 "
    "VolumeName:S:7b0f0000 MediaLoading:E:7b100000 CurrentClip:S:7b110000 "
    "CurrentClipTime:S:7b120000 CurrentPlaylistIndex:I:7b130000 "
    "TransportCommand:E:7d10000a TransportState:E:7d11000a TransportTimecode:S:7d12000a "
    "TransportRecordAlarm:E:7d13000a TransportPlayAlarm:E:7d14000a "
    "TransportDeleteClip:I:7d15000a numRecordStartFrame:I:7d16000a "
    "TransportRequestedSpeed:I:7d17000a TransportCurrentSpeed:I:7d18000a "
    "TransportInData:S:7d19000a TransportOutData:S:7d1a000a "
    "TimecodeGeneratorPreset:I:7d1b000a PrerollPreset:I:7d1c000a PostrollPreset:I:7d1d000a "
    "AutoMode:E:7d1e000a TransportCued:E:7d1f000a CueToTimecode:S:7d20000a "
    "SystemTime:I:7d21000a GoToClip:S:7d22000a VDX2FrameRate:E:7d23000a "
    "GoToPlaylistIndex:I:7d24000a GangClipName:S:7d25000a CameraData:S:7d26000a "
    "FirewireAVCPause:E:7d27000a GangRecordClipBaseName:S:7d28000a "
    "MediaManagerState:E:7d29000a WebAppState:E:7d2a000a ProductID:E:7d2b000a "
    "NetworkServices:E:7d2c000a "
    "LastSelectedConfigParam:I:7f010000 LastSelectedMediaParam:I:7f020000 "
    "Alarm:E:7e000000 ExtendedAlarm:E:7e050000 "
    "ShutdownMessage:S:7d01000a ShutdownMessageII:E:7d04000a SystemCommand:E:7d02000a "
    "SystemState:E:7d05000a SystemXilinxInUse:E:7d07000a GangList:S:7d03000a "
    "BeerGoggles:E:1e010000 "
    "SSDP_Enable_Host:E:34010000 SSDP_Enable_Proxy:E:34020000 "
    "RegisterRecall:I:5b010000 RegisterRecallResult:E:5d020000 RegisterSave:I:5c010000 "
    "RegisterSaveResult:E:5d030000 "
    "RegisterLoad:I:5c040000 RegisterLoadResult:E:5d050000 RegisterStore:I:5c030000 "
    "RegisterStoreResult:E:5d040000 "
    "RegisterExportResult:E:5d060000 RegisterImportResult:E:5d070000 "
    "MediaUpdated:I:7d06000a ";
constexpr unsigned kPresets = 20;

struct Entry {
  char kind;
  unsigned id;
};

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::map<std::string, Entry> ProductList() {
  std::map<std::string, Entry> list;
  for (const std::string& item : Split(kProductList, ' ')) {
    const std::vector<std::string> parts = Split(item, ':');
    const auto id = static_cast<unsigned>(std::stoul(parts[2], nullptr, 16));
    list["eParamID_" + parts[0]] = {parts[1][0], id};
  }
  for (unsigned i = 1; i <= kPresets; ++i) {
    list["eParamID_PresetName_" + std::to_string(i)] = {'S', 0x5e000000 + (i << 16)};
  }
  return list;
}

bool OnlyOnQuarn(unsigned id) { return id >> 24 == 53 || id >> 24 == 54; }

char KindOf(const ParamDescriptor& descriptor) {
  const auto type = descriptor.GetParamType();
  if (dynamic_cast<const EnumDescriptor*>(&descriptor)) return type == 3 ? 'E' : '?';
  if (dynamic_cast<const IntegerDescriptor*>(&descriptor)) return type == 1 ? 'I' : '?';
  if (dynamic_cast<const StringDescriptor*>(&descriptor)) return type == 12 ? 'S' : '?';
  return '?';
}

// Every TEST runs on the full-size recorder, whatever the environment says.
void CreateFor(const char* product) {
  ::setenv("LIBCONFIG_PRODUCT", product, 1);
  CreateDescriptors();
}

std::vector<ParamDescriptor*> All() {
  std::vector<ParamDescriptor*> all;
  for (const eParam_t id : GetParamIDs()) all.push_back(FindDescriptor(id));
  return all;
}

template <typename Descriptor>
std::vector<Descriptor*> AllOf() {
  std::vector<Descriptor*> found;
  for (ParamDescriptor* const each : All()) {
    if (auto* const descriptor = dynamic_cast<Descriptor*>(each)) found.push_back(descriptor);
  }
  return found;
}

template <typename Descriptor = ParamDescriptor>
Descriptor& Named(const std::string& name) {
  auto* const found = dynamic_cast<Descriptor*>(GetDescriptor("eParamID_" + name));
  if (found == nullptr) throw std::runtime_error(name + " is not there, or of another class");
  return *found;
}

std::string MenuOf(const ParamDescriptor& descriptor) {
  std::string menu;
  descriptor.GetAttribute("menu_number", menu);
  return menu;
}

std::string HelpOf(const ParamDescriptor& descriptor) {
  std::string help;
  descriptor.GetAttribute("description", help);
  return help;
}

std::set<std::string> TagsOf(const ParamDescriptor& descriptor) {
  const std::vector<std::string> tags = descriptor.GetClassNames();
  return {tags.begin(), tags.end()};
}

// The rules. Each is checked on every product.

void ExpectTheProductList(bool quarn) {
  std::map<char, int> count;
  for (const auto& item : ProductList()) {
    const auto id = static_cast<eParam_t>(item.second.id);
    if (!quarn && OnlyOnQuarn(id)) {
      EXPECT_FALSE(IsValidParamID(id)) << item.first;
      continue;
    }
    const ParamDescriptor* const descriptor = FindDescriptor(id);
    ASSERT_NE(descriptor, nullptr) << item.first;
    EXPECT_EQ(descriptor->GetParamIDName(), item.first);
    EXPECT_EQ(descriptor->GetParamID(), id) << item.first;
    EXPECT_EQ(KindOf(*descriptor), item.second.kind) << item.first;
    ++count[KindOf(*descriptor)];
  }
  EXPECT_EQ(count['E'], quarn ? 107 : 102);
  EXPECT_EQ(count['I'], quarn ? 43 : 37);
  EXPECT_EQ(count['S'], quarn ? 57 : 53);
  EXPECT_EQ(GetParamIDs().size(), quarn ? 207U : 192U);
}

void ExpectUniqueNames() {
  std::set<std::string> idNames;
  std::set<std::string> names;
  for (const ParamDescriptor* const each : All()) {
    const std::string idName = each->GetParamIDName();
    EXPECT_FALSE(each->GetName().empty()) << idName;
    EXPECT_TRUE(idNames.insert(idName).second) << idName;
    EXPECT_TRUE(names.insert(each->GetName()).second) << idName << " " << each->GetName();
  }
  for (EnumDescriptor* const each : AllOf<EnumDescriptor>()) {
    std::set<std::string> labels;
    std::set<unsigned> values;
    for (const EnumValueDescriptor& choice : each->GetOrderedEnumValueDescriptors()) {
      EXPECT_FALSE(choice.name.empty()) << each->GetParamIDName();
      EXPECT_TRUE(labels.insert(choice.name).second) << each->GetParamIDName() << choice.name;
      EXPECT_TRUE(values.insert(choice.value).second) << each->GetParamIDName() << choice.name;
    }
    EXPECT_GE(values.size(), 2U) << each->GetParamIDName();
  }
}

void ExpectDefaultsInside() {
  for (IntegerDescriptor* const each : AllOf<IntegerDescriptor>()) {
    const std::string idName = each->GetParamIDName();
    EXPECT_LE(each->GetMinValue(), each->GetFactoryDefault()) << idName;
    EXPECT_GE(each->GetMaxValue(), each->GetFactoryDefault()) << idName;
    EXPECT_LT(each->GetMinValue(), each->GetMaxValue()) << idName;
    if (const auto* const choices = dynamic_cast<EnumDescriptor*>(each)) {
      EXPECT_TRUE(choices->HasValue(each->GetFactoryDefault())) << idName;
    }
  }
  for (StringDescriptor* const each : AllOf<StringDescriptor>()) {
    const std::string text = each->GetFactoryDefault();
    const std::string idName = each->GetParamIDName();
    EXPECT_LE(each->GetMinLength(), text.size()) << idName;
    EXPECT_GE(each->GetMaxLength(), text.size()) << idName;
    EXPECT_GT(each->GetMaxLength(), 0U) << idName;
    if (each->GetRegEx() == "*") continue;
    EXPECT_TRUE(std::regex_match(text, std::regex(each->GetRegEx()))) << idName << " " << text;
  }
}

// A panel line has eight characters; a second line begins with two blanks that do not count.
bool FitsThePanel(const std::string& text) {
  static const std::regex form("[^\n]{1,8}(\n  [^\n ][^\n]{0,7})?");
  return std::regex_match(text, form);
}

void ExpectShortNamesFitThePanel() {
  for (const ParamDescriptor* const each : All()) {
    EXPECT_TRUE(FitsThePanel(each->GetShortName()))
        << each->GetParamIDName() << " " << each->GetShortName();
  }
  for (EnumDescriptor* const each : AllOf<EnumDescriptor>()) {
    for (const EnumValueDescriptor& choice : each->GetOrderedEnumValueDescriptors()) {
      EXPECT_TRUE(FitsThePanel(choice.shortName))
          << each->GetParamIDName() << " " << choice.shortName;
    }
  }
}

void ExpectMenuNumbersThatLeadSomewhere() {
  const std::regex form("(0|[1-9][0-9]{0,2})[.](0|[1-9][0-9]{0,2})");
  std::map<std::string, std::set<std::string>> namesAt;
  std::set<std::string> taken;
  for (const ParamDescriptor* const each : All()) {
    const unsigned id = each->GetParamID();
    const std::string menu = MenuOf(*each);
    EXPECT_TRUE(std::regex_match(menu, form)) << each->GetParamIDName() << " " << menu;
    namesAt[menu].insert(each->GetName());
    if ((id >> 8 & 0xff) == 0) {
      EXPECT_TRUE(taken.insert(menu).second) << menu;
    }
    const std::string own = std::to_string(id >> 24) + "." + std::to_string(id >> 16 & 0xff);
    if (id != 0x5c010000) {
      EXPECT_EQ(menu, own) << each->GetParamIDName();
    }
  }
  EXPECT_EQ(MenuOf(Named("RegisterSave")), "91.2");

  // Every "12.3 Some Name" in a help text. Rates and levels are written alike.
  const std::set<std::string> notMenus = {"23.98", "29.97", "59.94", "7.5"};
  const std::regex reference("(^|[^.0-9])([0-9]+[.][0-9]+)(?![.0-9]*[0-9])");
  for (const ParamDescriptor* const each : All()) {
    const std::string help = HelpOf(*each);
    ASSERT_FALSE(help.empty()) << each->GetParamIDName();
    EXPECT_EQ(help.back(), '.') << each->GetParamIDName();
    for (std::sregex_iterator at(help.begin(), help.end(), reference), end; at != end; ++at) {
      const std::string menu = (*at)[2];
      if (notMenus.count(menu) != 0) continue;
      const std::string rest = at->suffix();
      const auto& names = namesAt[menu];
      EXPECT_TRUE(std::any_of(names.begin(), names.end(),
                              [&](const std::string& name) { return rest.find(name) == 1; }))
          << each->GetParamIDName() << " refers to " << menu << rest;
    }
  }
}

using Ties = std::map<eParam_t, std::set<eParam_t>>;

bool ReachesItself(const Ties& ties, eParam_t start) {
  std::set<eParam_t> seen;
  std::vector<eParam_t> open = {start};
  while (!open.empty()) {
    const auto found = ties.find(open.back());
    open.pop_back();
    if (found == ties.end()) continue;
    for (const eParam_t next : found->second) {
      if (next == start) return true;
      if (seen.insert(next).second) open.push_back(next);
    }
  }
  return false;
}

bool DependsOn(eParam_t id, eParam_t other) {
  const std::vector<eParam_t> ids = FindDescriptor(id)->GetDependsOnParamIDs();
  return std::count(ids.begin(), ids.end(), other) == 1;
}

void ExpectTiesBetweenExistingParametersWithoutCycles() {
  Ties ties;
  for (const ParamDescriptor* const each : All()) {
    const eParam_t id = each->GetParamID();
    for (const eParam_t dependent : each->GetDependentParamIDs()) {
      ASSERT_TRUE(IsValidParamID(dependent)) << each->GetParamIDName();
      EXPECT_TRUE(DependsOn(dependent, id)) << each->GetParamIDName();
      ties[id].insert(dependent);
    }
    for (const auto& relations : each->GetRelations()) {
      EXPECT_EQ(relations.first, "enabled_by") << each->GetParamIDName();
      for (const ParamDescriptor::Relation& relation : relations.second) {
        const auto* const selector =
            dynamic_cast<EnumDescriptor*>(FindDescriptor(relation.paramID));
        ASSERT_NE(selector, nullptr) << each->GetParamIDName();
        EXPECT_TRUE(selector->HasValue(relation.value)) << each->GetParamIDName();
        EXPECT_TRUE(DependsOn(id, relation.paramID)) << each->GetParamIDName();
        ties[relation.paramID].insert(id);
      }
    }
  }
  for (const auto& tie : ties) {
    EXPECT_FALSE(ReachesItself(ties, tie.first)) << FindDescriptor(tie.first)->GetParamIDName();
  }
}

// What the unit reports must not come back out of a preset or a factory reset.
void ExpectReportsAreNotKept() {
  for (const ParamDescriptor* const each : All()) {
    const bool readOnly = each->HasClassName("readonly");
    EXPECT_EQ(readOnly, each->GetAccessType() == eAccess_ReadOnly) << each->GetParamIDName();
    if (!readOnly) continue;
    EXPECT_EQ(each->GetRegisterType(), eRegister_Exclude) << each->GetParamIDName();
    EXPECT_EQ(each->GetFactoryResetType(), eFactoryReset_Exclude) << each->GetParamIDName();
  }
}

void ExpectTheRules(bool quarn) {
  ExpectTheProductList(quarn);
  ExpectUniqueNames();
  ExpectDefaultsInside();
  ExpectShortNamesFitThePanel();
  ExpectMenuNumbersThatLeadSomewhere();
  ExpectTiesBetweenExistingParametersWithoutCycles();
  ExpectReportsAreNotKept();
}

// "2:Complete=Done|Other" stands for two choices: 2 with a short name, and one with the next place
// in the list as its value.
void ExpectChoices(EnumDescriptor& descriptor, const std::string& expected) {
  const std::string idName = descriptor.GetParamIDName();
  const std::vector<std::string> items = Split(expected, '|');
  const std::vector<EnumValueDescriptor> choices = descriptor.GetOrderedEnumValueDescriptors();
  ASSERT_EQ(choices.size(), items.size()) << idName;
  const std::regex form("(?:([0-9]+):)?([^=]*)(?:=([^=]*))?");
  for (std::size_t i = 0; i < items.size(); ++i) {
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(items[i], parts, form)) << items[i];
    EXPECT_EQ(choices[i].value, parts[1].matched ? std::stoul(parts[1]) : i) << idName;
    EXPECT_EQ(choices[i].name, parts[2]) << idName;
    if (parts[3].matched) {
      EXPECT_EQ(choices[i].shortName, parts[3]) << idName;
    }
  }
}

struct Given {
  const char* idName;
  const char* name;
  const char* shortName;  // null: free
  const char* menu;
  const char* tags;     // null: free
  const char* choices;  // null: free, or no enumeration
};

const Given kGiven[] = {
    {"IPConfig", "IP Config", nullptr, "50.1", nullptr, "Default Addr|DHCP|Static Addr"},
    {"IPAddress", "IP Address", nullptr, "50.2", nullptr, nullptr},
    {"IPAddress_1", "Default IP", nullptr, "50.2", "readonly", nullptr},
    {"IPAddress_2", "DHCP Address", nullptr, "50.2", nullptr, nullptr},
    {"SubnetMask", "Subnet Mask", nullptr, "50.3", nullptr, nullptr},
    {"SubnetMask_1", "Default Mask", nullptr, "50.3", nullptr, nullptr},
    {"SubnetMask_2", "DHCP Mask", nullptr, "50.3", nullptr, nullptr},
    {"DefaultGateway_1", "Default Gateway", nullptr, "50.4", nullptr, nullptr},
    {"SysName", "System Name", nullptr, "50.5", nullptr, nullptr},
    {"MACAddress", "MAC Address", nullptr, "50.6", nullptr, nullptr},
    {"WiFiMACAddress", "802.11 MAC Address", nullptr, "50.7", "hidden_param", nullptr},
    {"SystemPassword", "System Password", nullptr, "123.2", "rest_hidden volatile", nullptr},
    {"Authentication", "User Authentication", "Auth", "50.9", nullptr, "Disabled|Login"},
    {"UseGangClipName", "Gang Clip Name", nullptr, "22.1", nullptr, nullptr},
    {"ShutdownMessage", "Shutdown Message", nullptr, "125.1", "readonly", nullptr},
    {"ShutdownMessageII", nullptr, nullptr, "125.4", "rest_hidden",
     "Shutdown: 2 seconds|Shutdown: 1 second|Shutting down now."},
    {"SystemCommand", nullptr, nullptr, "125.2", "volatile",
     "eSystemCommandUnitialized|eSystemCommandInitializeFirmware|eSystemCommandInitializeConfig|"
     "eSystemCommandStartup|eSystemCommandShutdown|eSystemCommandPowersave|eSystemCommandReboot"},
    {"SystemState", nullptr, nullptr, "125.5", nullptr,
     "eSystemStateUninitialized|eSystemStateInitializingConfig|eSystemStateInitializingFirmware|"
     "eSystemStateInitialized|eSystemStateRunning|eSystemStatePowersave|eSystemStateLowBattery|"
     "eSystemStateShutdownRequested|eSystemStateShuttingDown|eSystemStateShutdown|"
     "eSystemStateFatalError"},
    {"SystemXilinxInUse", nullptr, nullptr, "125.7", nullptr,
     "eSystemXilinxInUseNone|eSystemXilinxInUseTransporter"},
    {"GangList", "Gang List", nullptr, "125.3", nullptr, nullptr},
    {"Alarm", nullptr, nullptr, "126.0", "do_not_validate readonly",
     "0:None|1:HW Error|2:SW Error|4:Format Error|8:Near Under Volt|16:Near Over Volt|"
     "32:P/S 1 OFF|64:P/S 2 OFF|128:Storage Removed=Storage\n  Removed|256:Invalid Selection|"
     "512:Name In Use|1024:Record Format|2048:Dropped Frames|4096:Near Over Temp|"
     "8192:Input Error|16384:Safe Boot Mode|32768:Media Low|65536:Media Full|"
     "131072:A/V Mismatch|262144:Input Format Changed|524288:No Video Input|"
     "1048576:Frame Skipped|2097152:Media Unformatted|4194304:Backup and Reformat|"
     "8388608:Genlock Missing|16777216:2 Channel Format|268435456:SDI VFR Mismatch|"
     "536870912:Genlock Mismatch|1073741824:Non VFR Format|2147483648:No Clip Name"},
    {"ExtendedAlarm", nullptr, nullptr, "126.5", "do_not_validate readonly",
     "0:None|1:Unsupported Media|2:No Media Installed|4:Turn Off Camera Data|"
     "8:Change Encode Type|16:Change Encode Mode|32:Change Encode Mode\nInput not HD"},
    {"SuppressPSAlarm", "Power Supply Alarm", "PS Alarm", "60.1", "alarm_suppress",
     "Normal|Suppress"},
    {"RegisterRecall", "Recall Preset", "RecllPre", "91.1", "volatile", nullptr},
    {"RegisterSave", "Save Preset", "Pre Save", "91.2", "volatile", nullptr},
    {"RegisterLoad", nullptr, nullptr, "92.4", "volatile", nullptr},
    {"RegisterStore", nullptr, nullptr, "92.3", "volatile", nullptr},
    {"RegisterRecallResult", "Recall Result", "RecallR", "93.2", "readonly volatile",
     "1:Recalling...=Recallng|2:Complete|4:Preset Empty=Empty|3:Recall Failed=Failed"},
    {"RegisterSaveResult", "Save Result", "Store R", "93.3", "readonly volatile",
     "1:Storing...=Storing.|4:Preset Empty=Empty|3:Store Failed=Failed"},
    {"RegisterExportResult", "Export Result", "ExptR", "93.6", "readonly volatile",
     "1:Exporting...=Exportng|2:Export Complete=Complete|4:Preset Empty=Empty|"
     "3:Export Failed=Failed"},
    {"RegisterImportResult", "Import Result", "ImptR", "93.7", "readonly volatile",
     "1:Importing...=Importng|2:Import Complete|3:Import Failed"},
    {"RegisterLoadResult", nullptr, nullptr, "93.5", "readonly volatile",
     "1:Exporting...|2:Export Complete|3:Export Failed|4:Preset Empty"},
    {"RegisterStoreResult", nullptr, nullptr, "93.4", "readonly volatile",
     "1:Exporting...|2:Export Complete|3:Export Failed|4:Preset Empty"},
    {"PresetName_7", "Preset 7", nullptr, "94.7", "panel_hidden", nullptr},
    {"SSDP_Enable_Host", "UPnP Host", "UPnP", "52.1", "volatile", "Disable|Enable"},
    {"SSDP_Enable_Proxy", "UPnP Proxy", "UPnProxy", "52.2", nullptr, "Disable|Enable"},
    {"MediaUpdated", "Media Updated", "MediaU", "125.6", "volatile", nullptr},
};

// Ends the process with what was wrong on standard error: the product is read once, so that each
// needs a process of its own.
void CheckProduct(const std::string& product, bool encode, const char* systemName,
                  std::size_t encodeTypes) {
  ::testing::TestPartResultArray failures;
  ::testing::ScopedFakeTestPartResultReporter reporter(&failures);
  SetEncodeDescriptors(encode);
  CreateFor(product.c_str());
  ExpectTheRules(product == "quarn");
  EXPECT_EQ(Named<StringDescriptor>("SysName").GetFactoryDefault(), systemName);
  EXPECT_EQ(GetConfigParamGroups().size(), product == "crandle" ? 23U : 22U);
  EXPECT_EQ(Named<EnumDescriptor>("EncodeType").GetEnumValueDescriptors().size(), encodeTypes);
  auto& model = Named<EnumDescriptor>("ProductID");
  EXPECT_NE(model.GetEnumValue(model.GetFactoryDefault()), "Unknown");
  for (int i = 0; i < failures.size(); ++i) {
    std::cerr << failures.GetTestPartResult(i).message() << "\n";
  }
  std::exit(failures.size() == 0 ? 0 : 1);
}

}  // namespace

TEST(CatalogueContents, KeepsItsRulesOnTheFullSizeRecorder) {
  CreateFor("quarn");
  ExpectTheRules(true);
}

TEST(CatalogueContents, FollowsTheProductAndTheEncoder) {
  ::testing::GTEST_FLAG(death_test_style) = testing_support::FreshDeathTestStyle();
  const auto passed = ::testing::ExitedWithCode(0);
  EXPECT_EXIT(CheckProduct("quarn", true, "Vantor Rack", 8), passed, "");
  EXPECT_EXIT(CheckProduct("crandle", true, "QEL Vantor", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", false, "Vantor Mini", 8), passed, "");
  EXPECT_EXIT(CheckProduct("vimble", true, "Vantor Mini", 5), passed, "");
}

TEST(CatalogueContents, LeavesTheSiblingModelsIdentifiersUnassigned) {
  CreateFor("quarn");
  for (const eParam_t id : GetParamIDs()) {
    const unsigned top = id >> 16;
    EXPECT_NE(id >> 24, 10U);
    for (const unsigned sibling : {0x0101U, 0x0303U, 0x7903U, 0x0602U, 0x0603U, 0x0604U, 0x3604U}) {
      EXPECT_NE(top, sibling);
    }
  }
}

TEST(CatalogueContents, HoldsTheGivenEntriesWordForWord) {
  CreateFor("quarn");
  for (const Given& given : kGiven) {
    const ParamDescriptor& descriptor = Named(given.idName);
    if (given.name != nullptr) {
      EXPECT_EQ(descriptor.GetName(), given.name);
    }
    if (given.shortName != nullptr) {
      EXPECT_EQ(descriptor.GetShortName(), given.shortName);
    }
    EXPECT_EQ(MenuOf(descriptor), given.menu) << given.idName;
    if (given.choices != nullptr) ExpectChoices(Named<EnumDescriptor>(given.idName), given.choices);
    if (given.tags == nullptr) continue;
    const std::vector<std::string> tags = Split(given.tags, ' ');
    EXPECT_EQ(TagsOf(descriptor), std::set<std::string>(tags.begin(), tags.end())) << given.idName;
  }
  EXPECT_EQ(Named<StringDescriptor>("WiFiMACAddress").GetFactoryDefault(), "00:00:00:00:00:00");
  for (const char* const idName : {"Authentication", "SuppressPSAlarm", "PresetName_20"}) {
    unsigned group = 0;
    EXPECT_TRUE(Named(idName).GetAttribute("ParamGroup", group)) << idName;
    EXPECT_EQ(group, 2U) << idName;
  }
}

TEST(CatalogueContents, NumbersChoicesFromZeroInDisplayOrder) {
  CreateFor("quarn");
  for (EnumDescriptor* const each : AllOf<EnumDescriptor>()) {
    const std::string idName = each->GetParamIDName();
    if (idName.find("Alarm") != std::string::npos && (each->GetParamID() >> 24) == 126) continue;
    if (std::regex_match(idName, std::regex("eParamID_Register.*Result"))) continue;
    unsigned next = 0;
    for (const EnumValueDescriptor& choice : each->GetOrderedEnumValueDescriptors()) {
      EXPECT_EQ(choice.value, next++) << idName << " " << choice.name;
    }
  }
}

// Clients classify encode types by number.
TEST(CatalogueContents, GroupsEncodeTypesByCodecFamily) {
  CreateFor("quarn");
  auto& types = Named<EnumDescriptor>("EncodeType");
  const char* const families[] = {"ProRes 422", "ProRes 422", "ProRes 422", "",
                                  "ProRes 422", "DNxHD",      "DNxHD",      "DNxHD"};
  ASSERT_EQ(types.GetEnumValueDescriptors().size(), 8U);
  for (unsigned type = 0; type < 8; ++type) {
    const std::string name = types.GetEnumValue(type);
    const std::string family = families[type];
    if (!family.empty()) {
      EXPECT_EQ(name.find(family), 0U) << name;
    }
    if (family.empty()) {
      EXPECT_FALSE(std::regex_search(name, std::regex("ProRes 422|DNxHD")));
    }
  }
}

TEST(CatalogueContents, TakesAnyRegisterNumber) {
  CreateFor("quarn");
  for (const char* const name : {"Recall", "Save", "Load", "Store"}) {
    const auto& command = Named<IntegerDescriptor>(std::string("Register") + name);
    EXPECT_EQ(command.GetMinValue(), 0U) << name;
    EXPECT_EQ(command.GetMaxValue(), 0xFFFFFFFFU) << name;
    const auto& result = Named<EnumDescriptor>(std::string("Register") + name + "Result");
    EXPECT_EQ(result.GetFactoryDefault(), std::string(name) == "Save" ? 4U : 2U) << name;
  }
}

TEST(CatalogueContents, KeepsCommandsOutOfCachesAndFiles) {
  CreateFor("quarn");
  for (const char* const idName :
       {"RegisterRecall", "RegisterSave", "RegisterLoad", "RegisterStore", "TransportCommand",
        "SystemCommand", "StorageCommand", "FormatMedia", "TransportDeleteClip", "ChangeSlot",
        "FactorySettings", "GoToClip", "CueToTimecode"}) {
    const ParamDescriptor& command = Named(idName);
    EXPECT_TRUE(command.HasClassName("volatile")) << idName;
    EXPECT_NE(command.GetPersistenceType(), ePersist) << idName;
    EXPECT_EQ(command.GetRegisterType(), eRegister_Exclude) << idName;
  }
}

TEST(CatalogueContents, KeepsWhoTheUnitIsThroughPresetsAndFactoryResets) {
  CreateFor("quarn");
  for (const char* const idName :
       {"SysName", "IPConfig", "IPAddress", "SubnetMask", "DefaultGateway_3", "SystemPassword",
        "Authentication", "WiFiSSID", "WiFiSecurity", "WiFiPassword", "WiFiIPConfig",
        "WiFiStaticIPAddress", "PresetName_1"}) {
    const ParamDescriptor& identity = Named(idName);
    EXPECT_EQ(identity.GetPersistenceType(), ePersist) << idName;
    EXPECT_EQ(identity.GetRegisterType(), eRegister_Exclude) << idName;
    EXPECT_EQ(identity.GetFactoryResetType(), eFactoryReset_Exclude) << idName;
  }
  for (const char* const idName : {"SystemPassword", "WiFiPassword"}) {
    unsigned flag = 0;
    EXPECT_TRUE(Named(idName).GetAttribute("password", flag)) << idName;
  }
}

TEST(GenericCatalogueContents, HoldsTheFamilysFiveParameters) {
  CreateFor("quarn");
  namespace generic = qel::config::generic;
  EXPECT_EQ(generic::GetParamIDs(),
            (std::vector<eParam_t>{eParamID_ConfigCommand, eParamID_ConfigCommandStatus,
                                   eParamID_ConfigPath, eParamID_Authentication,
                                   eParamID_SystemPassword}));
  const auto choicesOf = [](eParam_t id) -> EnumDescriptor& {
    return dynamic_cast<EnumDescriptor&>(*generic::GetDescriptor(id));
  };
  ExpectChoices(choicesOf(eParamID_Authentication), "Disabled|Basic");
  ExpectChoices(choicesOf(eParamID_ConfigCommandStatus), "Idle|In Process");
  ExpectChoices(choicesOf(eParamID_ConfigCommand),
                "Full Backup|Partial Backup|Full Restore|Normal Restore");
  EXPECT_EQ(generic::GetDescriptor(eParamID_ConfigCommand)->GetName(), "Config Command");
  EXPECT_EQ(generic::GetDescriptor(eParamID_ConfigCommand)->GetShortName(), "CfgCmd");
  EXPECT_EQ(generic::GetDescriptor(eParamID_ConfigPath)->GetName(), "Config Path");
  EXPECT_EQ(generic::GetDescriptor(eParamID_ConfigPath)->GetShortName(), "CfgPath");
  EXPECT_EQ(generic::GetDescriptor(eParamID_SystemPassword)->GetName(), "System Password");
  EXPECT_FALSE(IsValidParamID(eParamID_ConfigCommand));
}
