// The command line, understood: which command, with which options. Options that every command has
// may stand before or behind its name.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "configctl/Command.h"

namespace configctl {

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Returns the text to print when help or the version was asked for, which is then all there is to
  // do; empty otherwise. Throws Failure for what cannot be understood.
  std::string Parse(int argc, const char* const* argv);

  const CommonOptions& GetOptions() const { return _options; }
  // Empty, or null, when no command was named.
  const std::string& GetCommandName() const { return _commandName; }
  Command* GetCommand() const { return _command; }

  // For completion.
  const CLI::App& GetApp() const { return _app; }

 private:
  void DeclareCommonOptions(CLI::App& app);
  Failure Explain(const CLI::ParseError& error) const;

  CommonOptions _options;
  std::vector<std::unique_ptr<Command>> _commands;
  std::string _commandName;
  Command* _command = nullptr;
  CLI::App _app;
};

}  // namespace configctl
