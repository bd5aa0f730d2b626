#include "configctl/Command.h"
#include "configctl/CommandLine.h"
#include "configctl/Params.h"
#include "configctl/TextLayout.h"
#include "configctl/ValueParser.h"
#include "programs/Text.h"

namespace configctl {
namespace {

// @NAMES@ are filled in from the table of commands. Values may hold blanks, and are quoted.
constexpr char kBash[] = R"BASH(# Completion of configctl's command lines for bash.
_configctl() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command= words=() word i
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    case $word in
      @VALUED@) ((i++)) ;;
      -*) ;;
      *) if [ -z "$command" ]; then command=$word; else words+=("$word"); fi ;;
    esac
  done
  local candidates= options='@OPTIONS@'
  case $command in
@CASES@
  esac
  if [[ $previous == @VALUED@ ]]; then
    COMPREPLY=()
    return
  elif [[ $current == -* ]]; then
    candidates=${options// /$'\n'}
  elif [ -z "$command" ]; then
    candidates=$'@COMMANDS@'
  else
    case $command:${#words[@]} in
      export:0|import:0|diff:0|preset:2)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
      get:*|watch:*|reset:*|set:0|describe:0) candidates=$(configctl completion names) ;;
      set:1) candidates=$(configctl completion values "${words[0]}" 2>/dev/null) ;;
      preset:0) candidates=$'save\nrecall\nstore\nload\nlist' ;;
      preset:1) candidates=$(seq 20) ;;
      completion:0) candidates=$'bash\nnames\nvalues' ;;
      completion:1) candidates=$(configctl completion names) ;;
    esac
  fi
  COMPREPLY=()
  while IFS= read -r word; do
    if [[ -n $word && ${word,,} == "${current,,}"* ]]; then
      COMPREPLY+=("$(printf %q "$word")")
    fi
  done <<<"$candidates"
}
complete -F _configctl configctl
)BASH";

void Replace(std::string& text, const std::string& mark, const std::string& content) {
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
    text.replace(at, mark.size(), content);
    at += content.size();
  }
}

std::string JoinWith(const std::string& separator, const std::vector<std::string>& parts) {
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : separator) + part;
  return joined;
}

std::vector<std::string> OptionNames(const CLI::App& app, bool onlyWithValue) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    if (onlyWithValue && option->get_expected_min() == 0) continue;
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::string BashScript() {
  const CommandLine line;
  const CLI::App& app = line.GetApp();
  std::vector<std::string> valued = OptionNames(app, true);
  std::vector<std::string> cases;
  std::vector<std::string> commands;
  for (const CLI::App* const sub : app.get_subcommands({})) {
    commands.push_back(sub->get_name());
    cases.push_back("    " + sub->get_name() + ") options='" +
                    JoinWith(" ", OptionNames(*sub, false)) + "' ;;");
    for (const std::string& name : OptionNames(*sub, true)) {
      if (std::find(valued.begin(), valued.end(), name) == valued.end()) valued.push_back(name);
    }
  }
  std::string script = kBash;
  // As a pattern of case and of [[ ]] alike.
  Replace(script, "[[ $previous == @VALUED@ ]]",
          "[[ $previous == @(" + JoinWith("|", valued) + ") ]]");
  Replace(script, "@VALUED@", JoinWith("|", valued));
  Replace(script, "@OPTIONS@", JoinWith(" ", OptionNames(app, false)));
  Replace(script, "@CASES@", JoinWith("\n", cases));
  Replace(script, "@COMMANDS@", JoinWith("\\n", commands));
  script.pop_back();
  return script;
}

std::string ValueLines(const ParamDescriptor& param) {
  std::vector<std::string> labels;
  if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(&param)) {
    for (const EnumValueDescriptor& choice : ChoicesOf(*choices)) {
      labels.push_back(programs::OneLine(choice.name));
    }
  }
  return JoinWith("\n", labels);
}

class CompletionCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("WHAT", _what,
                   "bash: a script; names: all parameters; values: the choices of one")
        ->type_name("")
        ->required()
        ->check(CLI::IsMember({"bash", "names", "values"}).description(""));
    app.add_option("NAME", _name, "The parameter, with values")->type_name("");
  }

  void Run(Session& session) override {
    const std::string text = _what == "bash"    ? BashScript()
                             : _what == "names" ? JoinWith("\n", AllParamNames())
                                                : ValueLines(FindParam(_name));
    if (session.WantsJson()) {
      session.PrintResult(text);
    } else if (!text.empty()) {
      session.Print(text);
    }
  }

 private:
  std::string _what;
  std::string _name;
};

}  // namespace

std::unique_ptr<Command> MakeCompletionCommand() { return std::make_unique<CompletionCommand>(); }

}  // namespace configctl
