// The generic catalogue: what every product of the family has.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config::generic {
namespace {

constexpr Choice kAuthentication[] = {{0, "Disabled"}, {1, "Basic"}};

constexpr ParamRow kAccessRows[] = {
    Text(PARAM(SystemPassword), "System Password", "Password", 0, 32, "")
        .Keep(Keeping::kIdentity)
        .Tagged(kVolatile | kRestHidden)
        .Flag("password")
        .Help("The password that the web pages ask for while User Authentication is on."),
    Enum(PARAM(Authentication), "User Authentication", "Auth", kAuthentication, 0)
        .Keep(Keeping::kIdentity)
        .Help("Selects whether the web pages ask for the system password."),
};

constexpr Choice kCommands[] = {
    {0, "Full Backup", "FullBack"},
    {1, "Partial Backup", "PartBack"},
    {2, "Full Restore", "FullRest"},
    {3, "Normal Restore", "NormRest"},
};

constexpr Choice kCommandStates[] = {{0, "Idle"}, {1, "In Process", "InProces"}};

constexpr ParamRow kBackupRows[] = {
    Enum(PARAM(ConfigCommand), "Config Command", "CfgCmd", kCommands, 0)
        .Keep(Keeping::kState)
        .Tagged(kVolatile)
        .Help("Saves the configuration to the file named by Config Path, or restores it from "
              "there. Full includes the network's settings."),
    Enum(PARAM(ConfigCommandStatus), "Config Command Status", "CfgStat", kCommandStates, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kVolatile)
        .Help("Whether a backup or a restore is going on."),
    Text(PARAM(ConfigPath), "Config Path", "CfgPath", 0, 255, "")
        .Keep(Keeping::kState)
        .Help("The file that Config Command saves to and restores from."),
};

}  // namespace

void CreateGroup_0(CatalogueBuilder& builder) { builder.Add(kAccessRows); }

void CreateGroup_1(CatalogueBuilder& builder) { builder.Add(kBackupRows); }

}  // namespace qel::config::generic
