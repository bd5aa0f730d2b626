// 50 Network: how the unit gets its wired address, the addresses it has, its name and its login.
#include "libconfig/descriptors/ProductIdentity.h"
#include "libconfig/descriptors/groups/Addresses.h"
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "product/SerialNumber_Quarn.h"

namespace qel::config {
namespace {

constexpr Choice kAuthentication[] = {{0, "Disabled"}, {1, "Login"}};

constexpr ParamRow kRows[] = {
    Enum(PARAM(IPConfig), "IP Config", "IPConfig", kAddressModes, 0)
        .Keep(Keeping::kIdentity)
        .Dependents(eParamID_IPAddress_3, eParamID_SubnetMask_3, eParamID_DefaultGateway)
        .Help("Selects where the wired adapter gets its address: the fixed default address, a DHCP "
              "server, or the static address that is set here. "
              "Use Static Addr where the facility assigns addresses by hand. "
              "See: 50.2 IP Address, 50.3 Subnet Mask, 50.4 Static Gateway."),

    Address(PARAM(IPAddress), "IP Address", "IP Addr", 0xC0A80002)
        .EnabledBy(eParamID_IPConfig, kStaticAddress)
        .Help("The static address of the wired adapter, used while 50.1 IP Config is Static Addr. "
              "Ask the network's administrator for a free one."),
    Address(PARAM(IPAddress_1), "Default IP", "Deflt IP", 0xA9FE0002)
        .Report()
        .Help("The fixed private address that the unit uses while 50.1 IP Config is Default Addr."),
    Address(PARAM(IPAddress_2), "DHCP Address", "DHCP IP", 0)
        .Report()
        .Help("The address that the DHCP server gave to the unit; 0.0.0.0 while there is none. "
              "See: 50.1 IP Config."),
    Address(PARAM(IPAddress_3), "Current Address", "Curr IP", 0)
        .Report()
        .Help("The address that the wired adapter uses now, whichever way 50.1 IP Config chose."),

    Address(PARAM(SubnetMask), "Subnet Mask", "Sub Mask", 0xFFFFFF00)
        .EnabledBy(eParamID_IPConfig, kStaticAddress)
        .Help("The subnet mask that belongs to the static address. See: 50.2 IP Address."),
    Address(PARAM(SubnetMask_1), "Default Mask", "DefltMsk", 0xFFFF0000)
        .Report()
        .Help("The subnet mask used while 50.1 IP Config is Default Addr."),
    Address(PARAM(SubnetMask_2), "DHCP Mask", "DHCP Msk", 0)
        .Report()
        .Help("The subnet mask that the DHCP server gave to the unit. See: 50.1 IP Config."),
    Address(PARAM(SubnetMask_3), "Current Mask", "Curr Msk", 0)
        .Report()
        .Help("The subnet mask that the wired adapter uses now. See: 50.1 IP Config."),

    // Unlike address and mask, the plain parameter is the gateway in use and _3 the static one.
    Address(PARAM(DefaultGateway), "Current Gateway", "Curr GW", 0)
        .Report()
        .Help("The gateway that the wired adapter uses now. See: 50.1 IP Config."),
    Address(PARAM(DefaultGateway_1), "Default Gateway", "Deflt GW", 0)
        .Report()
        .Help("The gateway used while 50.1 IP Config is Default Addr; 0.0.0.0 stands for none."),
    Address(PARAM(DefaultGateway_2), "DHCP Gateway", "DHCP GW", 0)
        .Report()
        .Help("The gateway that the DHCP server gave to the unit. See: 50.1 IP Config."),
    Address(PARAM(DefaultGateway_3), "Static Gateway", "Stat GW", 0)
        .EnabledBy(eParamID_IPConfig, kStaticAddress)
        .Help("The gateway that belongs to the static address; 0.0.0.0 stands for none. "
              "See: 50.2 IP Address."),

    HardwareAddress(PARAM(WiFiMACAddress), "802.11 MAC Address", "WiFi MAC", "00:00:00:00:00:00")
        .Tagged(kHidden)
        .Help("The hardware address of the wireless adapter; all zeros while none is fitted."),

    Text(PARAM(SystemPassword), "System Password", "Password", 0, 32, "")
        .Keep(Keeping::kIdentity)
        .Tagged(kVolatile | kRestHidden)
        .Flag("password")
        .Help("The password that the web pages ask for while 50.9 User Authentication is Login."),

    Enum(PARAM(Authentication), "User Authentication", "Auth", kAuthentication, 0)
        .Keep(Keeping::kIdentity)
        .Group(2)
        .Menu("50.9")
        .Help("Selects whether the web pages ask for the system password before they let anybody "
              "change a setting. Choose Login on a network that others share."),
};

constexpr ParamRow kSysName =
    Text(PARAM(SysName), "System Name", "Sys Name", 1, 32, "")
        .Keep(Keeping::kIdentity)
        .Help(
            "The name by which this unit is known on the network and in a gang. Give each unit a "
            "name of its own.");

constexpr ParamRow kMACAddress = HardwareAddress(PARAM(MACAddress), "MAC Address", "MAC Addr", "")
                                     .Tagged(kReadOnly)
                                     .Help("The hardware address of the wired adapter.");

const char* DefaultSystemName() {
  if (productID.isVimble()) return "Vantor Mini";
  if (productID.isCrandle()) return "QEL Vantor";
  return "Vantor Rack";
}

}  // namespace

void CreateGroup_50(CatalogueBuilder& builder) {
  builder.Add(kRows);
  builder.Add(kSysName, DefaultSystemName());
  builder.Add(kMACAddress, SerialNumber_Quarn().GetMacAddress());
}

}  // namespace qel::config
