// What configctl can be told to do. The table of commands is the one source of usage, help and
// completion.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "configctl/Session.h"

namespace configctl {

class Command {
 public:
  virtual ~Command() = default;

  // Declares the command's arguments and options, with help texts. `app` lives as long as this.
  virtual void Declare(CLI::App& app) = 0;
  // Throws Failure when it cannot be done.
  virtual void Run(Session& session) = 0;
};

struct CommandEntry {
  const char* name;
  const char* summary;
  const char* examples;
  const char* remark;  // behind the examples, or null
  std::unique_ptr<Command> (*make)();
};

// In the order of the help.
const std::vector<CommandEntry>& Commands();

std::unique_ptr<Command> MakeGetCommand();
std::unique_ptr<Command> MakeSetCommand();
std::unique_ptr<Command> MakeWatchCommand();
std::unique_ptr<Command> MakeListCommand();
std::unique_ptr<Command> MakeDescribeCommand();
std::unique_ptr<Command> MakeMenuCommand();
std::unique_ptr<Command> MakeExportCommand();
std::unique_ptr<Command> MakeImportCommand();
std::unique_ptr<Command> MakeDiffCommand();
std::unique_ptr<Command> MakeResetCommand();
std::unique_ptr<Command> MakePresetCommand();
std::unique_ptr<Command> MakeStatusCommand();
std::unique_ptr<Command> MakeCompletionCommand();

}  // namespace configctl
