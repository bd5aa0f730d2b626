#include "configctl/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "configctl/Params.h"
#include "configctl/TextLayout.h"
#include "programs/Text.h"

namespace configctl {
namespace {

constexpr char kVersion[] = "configctl " LIBCONFIG_VERSION;

constexpr char kFooter[] =
    "A parameter is named as IPConfig, eParamID_IPConfig, 0x32010000 or by its menu number 50.1.\n"
    "configctl COMMAND --help tells more about a command.\n"
    "\n"
    "Status: 0 done, 1 refused or not found, 2 usage, 3 no connection, 4 time-out.";

constexpr double kLongestTimeout = 1000000;

std::string CheckTimeout(const std::string& text) {
  double seconds = 0;
  // Not a number is neither.
  const bool fits =
      CLI::detail::lexical_cast(text, seconds) && seconds > 0 && seconds <= kLongestTimeout;
  if (fits) return {};
  return "SECONDS is a number above 0 and up to " +
         std::to_string(static_cast<long>(kLongestTimeout)) + ", such as 2.5, and not " +
         programs::QuoteBriefly(text);
}

std::string Indented(const std::string& lines) {
  std::istringstream in(lines);
  std::string result;
  for (std::string line; std::getline(in, line);) result += "\n  " + line;
  return result;
}

// One empty line where the formatter leaves two, and none at the end.
std::string Tidy(const std::string& help) {
  std::string text;
  for (const char c : help) {
    const std::size_t size = text.size();
    if (c != '\n' || size < 2 || text.compare(size - 2, 2, "\n\n") != 0) text += c;
  }
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

CommandLine::CommandLine() : _app("Reads, changes and watches the settings of a recorder.") {
  if (const char* const uri = std::getenv("LIBCONFIG_URI"); uri != nullptr && uri[0] != '\0') {
    _options.uri = uri;
  }
  _app.name("configctl");
  _app.footer(kFooter);
  _app.set_version_flag("--version", kVersion, "Print the version");
  _app.get_formatter()->column_width(28);
  _app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  _app.get_formatter()->label("Positionals", "Arguments");
  // Declared for the command once more, so that its help shows them too.
  DeclareCommonOptions(_app);
  for (const CommandEntry& entry : Commands()) {
    CLI::App* const sub = _app.add_subcommand(entry.name, entry.summary);
    _commands.push_back(entry.make());
    Command* const command = _commands.back().get();
    sub->group("Commands");
    command->Declare(*sub);
    DeclareCommonOptions(*sub);
    sub->footer("Examples:" + Indented(entry.examples) +
                (entry.remark == nullptr ? "" : "\n\n" + std::string(entry.remark)));
    sub->final_callback([this, command, sub] {
      _command = command;
      _commandName = sub->get_name();
    });
  }
}

void CommandLine::DeclareCommonOptions(CLI::App& app) {
  constexpr char kGroup[] = "Options of every command";
  app.add_option(
         "--uri", _options.uri,
         "Where the configuration is: tcp://HOST:PORT, udp://…, multicast://…, or mq: for the "
         "message queues of this machine (env: LIBCONFIG_URI)")
      ->type_name("URI")
      ->default_str(_options.uri)
      ->group(kGroup);
  app.add_option("--config", _options.config, "Number of the configuration there")
      ->type_name("N")
      ->check(CLI::Range(0, 0x7fffffff).description(""))
      ->default_str("0")
      ->group(kGroup);
  app.add_option("--timeout", _options.timeout, "How long an answer may take")
      ->type_name("SECONDS")
      ->check(CLI::Validator(CheckTimeout, ""))
      ->default_str("5")
      ->group(kGroup);
  app.add_flag("--mapped", _options.mapped,
               "Take a proxy, such as IPAddress, for the parameter it stands for now")
      ->group(kGroup);
  app.add_flag("--json", _options.json, "Answer with one JSON object on a line")->group(kGroup);
  app.add_flag("--show-secrets", _options.showSecrets, "Print passwords as they are")
      ->group(kGroup);
  app.add_flag("--verbose", _options.verbose, "Let the library's own messages through")
      ->group(kGroup);
}

std::string CommandLine::Parse(int argc, const char* const* argv) {
  try {
    _app.parse(argc, argv);
  } catch (const CLI::CallForVersion&) {
    return kVersion;
  } catch (const CLI::Success&) {
    return Tidy(_app.help());
  } catch (const CLI::ParseError& error) {
    // Of a line that was not understood, this much is known.
    const auto wantsJson = [](const char* word) { return std::string(word) == "--json"; };
    _options.json = std::any_of(argv + 1, argv + argc, wantsJson);
    const auto chosen = _app.get_subcommands();
    if (!chosen.empty()) _commandName = chosen.front()->get_name();
    throw Explain(error);
  }
  if (_command != nullptr) return {};
  throw Failure(Status::kUsage, "there is nothing to do; see configctl --help");
}

Failure CommandLine::Explain(const CLI::ParseError& error) const {
  const std::vector<std::string> rest = _app.remaining(true);
  const std::string help =
      "; see configctl " + _commandName + (_commandName.empty() ? "--help" : " --help");
  if (!rest.empty() && rest.front().compare(0, 1, "-") == 0) {
    return {Status::kUsage, "there is no option " + programs::QuoteBriefly(rest.front()) + help};
  }
  if (_commandName.empty() && !rest.empty()) {
    std::vector<std::string> names;
    for (const CommandEntry& entry : Commands()) names.emplace_back(entry.name);
    const std::vector<std::string> nearest = Nearest(rest.front(), names);
    return {Status::kUsage, "there is no command " + programs::QuoteBriefly(rest.front()) + "; " +
                                (nearest.empty() ? "see configctl --help"
                                                 : "did you mean " + JoinOr(nearest) + "?")};
  }
  if (!rest.empty()) {
    return {Status::kUsage,
            "there is too much on the line: " + programs::QuoteBriefly(rest.front()) +
                "; put a text of several words in quotes" + help};
  }
  return {Status::kUsage, programs::OneLine(error.what()) + help};
}

}  // namespace configctl
