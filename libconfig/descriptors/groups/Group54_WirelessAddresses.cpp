// 54 Wireless addresses: how the wireless adapter gets its address, and the addresses it has.
//
// In default mode the plain address and mask are the ones in force; otherwise they stand for those
// of the mode.
#include "libconfig/descriptors/groups/Addresses.h"
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(WiFiIPConfig), "WiFi IP Config", "WiFi IPC", kAddressModes, 1)
        .Keep(Keeping::kIdentity)
        .Dependents(eParamID_WiFiIPAddress, eParamID_WiFiSubnetMask)
        .Help("Selects where the wireless adapter gets its address: the fixed default address, a "
              "DHCP server, or the static one. Use Default Addr for a link of its own with one "
              "computer. See: 54.2 WiFi Static Address."),

    Address(PARAM(WiFiIPAddress), "WiFi IP Address", "WiFi IP", 0xC0A85001)
        .Report()
        .Help("The address of the wireless adapter: the fixed default one while 54.1 WiFi IP "
              "Config is Default Addr, otherwise the one that it selects."),
    Address(PARAM(WiFiDHCPIPAddress), "WiFi DHCP Address", "WDHCP IP", 0)
        .Report()
        .Help("The address that a DHCP server gave to the wireless adapter; 0.0.0.0 while there is "
              "none. See: 54.1 WiFi IP Config."),
    Address(PARAM(WiFiStaticIPAddress), "WiFi Static Address", "WStat IP", 0xC0A85002)
        .EnabledBy(eParamID_WiFiIPConfig, kStaticAddress)
        .Help("The static address of the wireless adapter, used while 54.1 WiFi IP Config is "
              "Static Addr. Keep it in another subnet than the wired one."),

    Address(PARAM(WiFiSubnetMask), "WiFi Subnet Mask", "WiFi Msk", 0xFFFFFF00)
        .Report()
        .Help("The subnet mask of the wireless adapter: the default one while 54.1 WiFi IP Config "
              "is Default Addr, otherwise the one that it selects."),
    Address(PARAM(WiFiDHCPSubnetMask), "WiFi DHCP Mask", "WDHCP Mk", 0)
        .Report()
        .Help("The subnet mask that a DHCP server gave to the wireless adapter. "
              "See: 54.1 WiFi IP Config."),
    Address(PARAM(WiFiStaticSubnetMask), "WiFi Static Mask", "WStat Mk", 0xFFFFFF00)
        .EnabledBy(eParamID_WiFiIPConfig, kStaticAddress)
        .Help("The subnet mask that belongs to the wireless adapter's static address. "
              "See: 54.2 WiFi Static Address."),
};

}  // namespace

void CreateGroup_54(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
