#include "configctl/Command.h"

namespace configctl {

const std::vector<CommandEntry>& Commands() {
  static const auto* const commands = new std::vector<CommandEntry>{
      {"get", "Print the value of parameters",
       "configctl get IPConfig\n"
       "configctl get 50.1 SysName --json",
       MakeGetCommand},
      {"set", "Change the value of a parameter, and tell what was stored",
       "configctl set IPConfig DHCP\n"
       "configctl set IPAddress 192.168.0.20\n"
       "configctl set SysName \"Edit Suite 7\"\n"
       "configctl set SysName -- --a-text-that-begins-with-dashes--",
       MakeSetCommand},
      {"watch", "Print each change as it happens, until it is interrupted",
       "configctl watch\n"
       "configctl watch TransportState MediaState\n"
       "configctl watch --initial | tee changes.log",
       MakeWatchCommand},
      {"list", "List the parameters",
       "configctl list --group 50\n"
       "configctl list --hidden",
       MakeListCommand},
      {"describe", "Tell all there is to know about a parameter", "configctl describe IPConfig",
       MakeDescribeCommand},
      {"menu", "Print the menus as the front panel shows them", "configctl menu", MakeMenuCommand},
      {"status", "Tell whether the configuration can be reached, and how fast it answers",
       "configctl status --uri tcp://192.168.0.2:43110", MakeStatusCommand},
      {"completion", "Print what a shell needs to complete command lines",
       "source <(configctl completion bash)", MakeCompletionCommand},
  };
  return *commands;
}

}  // namespace configctl
