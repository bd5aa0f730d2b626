// 125 System: the unit's state, what it is told to do as a whole, and its gang.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr Choice kShutdownMessages[] = {
    {0, "Shutdown: 2 seconds", "Shutdown\n  2 sec"},
    {1, "Shutdown: 1 second", "Shutdown\n  1 sec"},
    {2, "Shutting down now.", "Shutting\n  down now"},
};

constexpr Choice kSystemCommands[] = {
    // One letter short, and part of the vocabulary as it is.
    {0, "eSystemCommandUnitialized", "Uninit"},
    {1, "eSystemCommandInitializeFirmware", "Init FW"},
    {2, "eSystemCommandInitializeConfig", "Init Cfg"},
    {3, "eSystemCommandStartup", "Startup"},
    {4, "eSystemCommandShutdown", "Shutdown"},
    {5, "eSystemCommandPowersave", "PowerSav"},
    {6, "eSystemCommandReboot", "Reboot"},
};

constexpr Choice kSystemStates[] = {
    {0, "eSystemStateUninitialized", "Uninit"},
    {1, "eSystemStateInitializingConfig", "Init Cfg"},
    {2, "eSystemStateInitializingFirmware", "Init FW"},
    {3, "eSystemStateInitialized", "Initd"},
    {4, "eSystemStateRunning", "Running"},
    {5, "eSystemStatePowersave", "PowerSav"},
    {6, "eSystemStateLowBattery", "Low Batt"},
    {7, "eSystemStateShutdownRequested", "Shut Req"},
    {8, "eSystemStateShuttingDown", "Shutting\n  down"},
    {9, "eSystemStateShutdown", "Shutdown"},
    {10, "eSystemStateFatalError", "Fatal"},
};

constexpr Choice kXilinxUsers[] = {
    {0, "eSystemXilinxInUseNone", "None"},
    {1, "eSystemXilinxInUseTransporter", "Trnsport"},
};

constexpr ParamRow kRows[] = {
    Text(PARAM(ShutdownMessage), "Shutdown Message", "Shutdown", 0, 64, "")
        .Keep(Keeping::kState)
        .Tagged(kReadOnly)
        .Help("What the front panel shows while the unit shuts down."),
    Enum(PARAM(ShutdownMessageII), "Shutdown Countdown", "ShutDn C", kShutdownMessages, 0)
        .Keep(Keeping::kState)
        .Tagged(kRestHidden)
        .Help("The countdown that the front panel shows while the power button is held."),
    Enum(PARAM(SystemCommand), "System Command", "Sys Cmd", kSystemCommands, 0)
        .Keep(Keeping::kState)
        .Tagged(kVolatile)
        .Help("Tells the unit as a whole to start, save power, shut down or reboot. The recording "
              "in progress is closed first."),
    Enum(PARAM(SystemState), "System State", "SysState", kSystemStates, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kVolatile)
        .Help("How far the unit is in starting or shutting down. Settings take effect once it is "
              "running."),
    Enum(PARAM(SystemXilinxInUse), "Video Engine In Use", "XilinxUs", kXilinxUsers, 0)
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kVolatile)
        .Help("Which part of the unit holds the video engine at the moment."),
    Text(PARAM(GangList), "Gang List", "GangList", 0, 1024, "")
        .Keep(Keeping::kIdentity)
        .Pattern("^(([0-9]{1,3}[.]){3}[0-9]{1,3}(, ?([0-9]{1,3}[.]){3}[0-9]{1,3})*)?$")
        .EnabledBy(eParamID_GangEnable, kOn)
        .Help("Comma-separated IP addresses of the systems in the gang, which record together. "
              "See: 35.3 Gang Enable."),
};

}  // namespace

void CreateGroup_System(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
