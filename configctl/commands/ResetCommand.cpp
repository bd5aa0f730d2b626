#include <algorithm>

#include "configctl/Command.h"
#include "configctl/Params.h"
#include "configctl/SettingsWriter.h"
#include "programs/Text.h"

using programs::ParamName;

namespace configctl {
namespace {

bool IsPartOfReset(const ParamDescriptor& param) {
  return IsSetting(param) && param.GetFactoryResetType() == eFactoryReset_Include;
}

class ResetCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("NAME", _names, "The settings")->type_name("");
    app.add_flag("--all", _all, "All that a factory reset restores; nobody is asked first");
    app.add_flag("--dry-run", _dryRun, "Change nothing, and tell what would become of each");
  }

  void Run(Session& session) override {
    if (_names.empty() != _all) {
      throw Failure(Status::kUsage, _all ? "--all has them all; leave the names out, or --all"
                                         : "name the settings, or say --all; see configctl reset "
                                           "--help");
    }
    session.RefuseMapped();
    std::size_t kept = 0;
    std::vector<Change> changes = _all ? PlanAll(kept) : PlanNamed();
    SettingsWriter writer(session, _dryRun);
    if (_all) writer.HideUnchanged();
    writer.Apply(changes);
    nlohmann::ordered_json result = writer.ToJson(changes);
    if (_all) result["kept"] = kept;
    if (_all && !session.WantsJson()) {
      session.Print(std::to_string(kept) +
                    " other settings are no part of a factory reset and stay as they are");
    }
    const auto count = std::count_if(changes.begin(), changes.end(), SettingsWriter::IsShort);
    if (count > 0) {
      throw Verdict(Status::kRefused,
                    std::to_string(count) + " of " + std::to_string(changes.size()) + " settings " +
                        (_dryRun ? "would not get" : "did not get") +
                        " their factory values; the lines above tell why",
                    result);
    }
    if (session.WantsJson()) session.PrintResult(result);
  }

 private:
  static std::vector<Change> PlanAll(std::size_t& kept) {
    std::vector<Change> changes;
    for (const ParamDescriptor* const param : SettingsInMenuOrder()) {
      if (IsPartOfReset(*param)) {
        changes.push_back(PlanChange(*param, FactoryDefault(*param)));
      } else {
        ++kept;
      }
    }
    return changes;
  }

  // A name that is none ends it all: nothing has been done yet.
  std::vector<Change> PlanNamed() const {
    std::vector<const ParamDescriptor*> params;
    for (const std::string& name : _names) {
      const ParamDescriptor* const param = &FindParam(name);
      if (std::find(params.begin(), params.end(), param) == params.end()) params.push_back(param);
    }
    std::vector<Change> changes;
    changes.reserve(params.size());
    for (const ParamDescriptor* const param : params) {
      changes.push_back(IsPartOfReset(*param)
                            ? PlanChange(*param, FactoryDefault(*param))
                            : NoChange(ParamName(*param), Outcome::kSkipped, WhyKept(*param)));
    }
    return changes;
  }

  static std::string WhyKept(const ParamDescriptor& param) {
    const std::string name = ParamName(param);
    if (!IsSetting(param)) return name + " " + WhyNoSetting(param);
    const programs::Value value = FactoryDefault(param);
    return name + " is no part of a factory reset; do it with configctl set " + name + " " +
           programs::Quote(programs::ValueText().Plain(param.GetParamID(), value));
  }

  std::vector<std::string> _names;
  bool _all = false;
  bool _dryRun = false;
};

}  // namespace

std::unique_ptr<Command> MakeResetCommand() { return std::make_unique<ResetCommand>(); }

}  // namespace configctl
