// 52 Discovery: whether others on the network find this unit by themselves.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Enum(PARAM(SSDP_Enable_Host), "UPnP Host", "UPnP", kDisableEnable, 1)
        .Tagged(kVolatile)
        .Help("Enable announces this unit on the network, so that computers list it without being "
              "told its address. Disable it where the network forbids announcements."),
    Enum(PARAM(SSDP_Enable_Proxy), "UPnP Proxy", "UPnProxy", kDisableEnable, 0)
        .Help("Enable lets this unit announce the other units of its gang as well. "
              "See: 52.1 UPnP Host."),
};

}  // namespace

void CreateGroup_Discovery(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
