#include "configctl/Command.h"

namespace configctl {

const std::vector<CommandEntry>& Commands() {
  static const auto* const commands = new std::vector<CommandEntry>{
      {"get", "Print the value of parameters",
       "configctl get IPConfig\n"
       "configctl get 50.1 SysName --json",
       nullptr, MakeGetCommand},
      {"set", "Change the value of a parameter, and tell what was stored",
       "configctl set IPConfig DHCP\n"
       "configctl set IPAddress 192.168.0.20\n"
       "configctl set SysName \"Edit Suite 7\"\n"
       "configctl set SysName -- --a-text-that-begins-with-dashes--",
       nullptr, MakeSetCommand},
      {"watch", "Print each change as it happens, until it is interrupted",
       "configctl watch\n"
       "configctl watch TransportState MediaState\n"
       "configctl watch --initial | tee changes.log\n"
       "configctl watch --uri multicast://127.0.0.1:63110",
       "A multicast:// URI shows only the changes that were made over UDP, on this device. Values\n"
       "are read over UDP at port 43110, or where /ask=PORT behind the URI says.",
       MakeWatchCommand},
      {"list", "List the parameters",
       "configctl list --group 50\n"
       "configctl list --hidden",
       nullptr, MakeListCommand},
      {"describe", "Tell all there is to know about a parameter", "configctl describe IPConfig",
       nullptr, MakeDescribeCommand},
      {"menu", "Print the menus as the front panel shows them", "configctl menu", nullptr,
       MakeMenuCommand},
      {"export", "Write the settings that differ from the factory, as a file for import",
       "configctl export\n"
       "configctl export edit7.json\n"
       "configctl export --all --show-secrets backup.json",
       "The file is JSON, and fit to be edited. It is written whole, or stays as it was.",
       MakeExportCommand},
      {"import", "Give settings the values that a file has, and tell what became of each",
       "configctl import --dry-run edit7.json\n"
       "configctl import edit7.json\n"
       "ssh edit7 configctl export | configctl import -",
       "Settings that the file does not name stay as they are. Status 1 when anything was not\n"
       "applied as it is written.",
       MakeImportCommand},
      {"diff", "Tell how the settings differ from those in a file",
       "configctl diff edit7.json\n"
       "configctl diff --all edit7.json",
       "Status: 0 same, 1 different, 2 when that cannot be told.", MakeDiffCommand},
      {"reset", "Give settings their factory values again",
       "configctl reset VideoInSelect IntervalFrames\n"
       "configctl reset --all --dry-run",
       "Settings that a factory reset leaves alone, such as the network's, stay as they are;\n"
       "configctl describe tells which.",
       MakeResetCommand},
      {"preset", "Save and recall presets, and move them to and from files",
       "configctl preset list\n"
       "configctl preset save 3\n"
       "configctl preset recall 3\n"
       "configctl preset load 3 edit7.bin\n"
       "configctl preset store 3 edit7.bin",
       "save keeps the present settings as preset N, recall puts them in force again. load "
       "fetches\n"
       "preset N into FILE, store hands FILE to the device as preset N: both on the device "
       "itself,\n"
       "as the file passes through its /var/tmp. A preset's name is the parameter PresetName_N.",
       MakePresetCommand},
      {"status", "Tell whether the configuration can be reached, and how fast it answers",
       "configctl status --uri tcp://192.168.0.2:43110", nullptr, MakeStatusCommand},
      {"completion", "Print what a shell needs to complete command lines",
       "source <(configctl completion bash)", nullptr, MakeCompletionCommand},
  };
  return *commands;
}

}  // namespace configctl
