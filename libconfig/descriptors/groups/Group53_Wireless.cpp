// 53 Wireless: the network that the wireless adapter joins. Only the full-size recorder has one.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr unsigned kJoin = 1;
constexpr unsigned kAdHoc = 2;
constexpr Choice kControls[] = {
    {kOff, "Off"},
    {kJoin, "Join Network", "Join"},
    {kAdHoc, "Ad Hoc"},
};

constexpr unsigned kWEP = 1;
constexpr unsigned kWPA = 2;
constexpr unsigned kWPA2 = 3;
constexpr Choice kSecurities[] = {
    {0, "None"},
    {kWEP, "WEP"},
    {kWPA, "WPA"},
    {kWPA2, "WPA2"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(WiFiControl), "WiFi Control", "WiFi", kControls, kOff)
        .Keep(Keeping::kIdentity)
        .Help("Switches the wireless adapter off, lets it join a network, or lets it form one of "
              "its own with a computer nearby. Turn it off where radio is not allowed."),
    Text(PARAM(WiFiSSID_List), "WiFi Networks", "WiFiList", 0, 1024, "")
        .Outcome()
        .Help("The names of the networks in range, separated by commas, the strongest first. "
              "See: 53.3 WiFi Network Name."),
    Text(PARAM(WiFiSSID), "WiFi Network Name", "WiFiName", 0, 32, "")
        .Keep(Keeping::kIdentity)
        .EnabledBy(eParamID_WiFiControl, kJoin)
        .EnabledBy(eParamID_WiFiControl, kAdHoc)
        .Help("The name of the network to join or to form, exactly as the access point spells it. "
              "See: 53.2 WiFi Networks."),
    Enum(PARAM(WiFiSecurity), "WiFi Security", "WiFi Sec", kSecurities, kWPA2)
        .Keep(Keeping::kIdentity)
        .EnabledBy(eParamID_WiFiControl, kJoin)
        .EnabledBy(eParamID_WiFiControl, kAdHoc)
        .Help("Selects how the wireless link is protected; it has to match the access point. Use "
              "WPA2 wherever the access point offers it."),
    Text(PARAM(WiFiPassword), "WiFi Password", "WiFiPass", 0, 63, "")
        .Keep(Keeping::kIdentity)
        .Tagged(kRestHidden)
        .Flag("password")
        .EnabledBy(eParamID_WiFiSecurity, kWEP)
        .EnabledBy(eParamID_WiFiSecurity, kWPA)
        .EnabledBy(eParamID_WiFiSecurity, kWPA2)
        .Help("The password of the wireless network: 8 to 63 characters for WPA and WPA2. "
              "See: 53.4 WiFi Security."),
    Enum(PARAM(WifiPassword_Hide), "Hide WiFi Password", "HidePass", kNoYes, 1)
        .Keep(Keeping::kIdentity)
        .Help("Yes shows dots in place of the password on the panel and the web pages. A password "
              "that was once hidden can be replaced, not shown. See: 53.5 WiFi Password."),
    Enum(PARAM(WifiPassword_HideWasUsed), "WiFi Password Was Hidden", "PassHid", kNoYes, 0)
        .Keep(Keeping::kIdentity)
        .Tagged(kReadOnly | kHidden)
        .Help("Whether the present password was ever hidden, and so must not be shown any more. "
              "A new password clears it. See: 53.6 Hide WiFi Password."),
    Text(PARAM(WiFiStatus), "WiFi Status", "WiFiStat", 0, 64, "Off")
        .Outcome()
        .Help("The state of the wireless link in words: whether it is joined, how strong the "
              "signal is, and why joining failed. See: 53.1 WiFi Control."),
};

}  // namespace

void CreateGroup_53(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
