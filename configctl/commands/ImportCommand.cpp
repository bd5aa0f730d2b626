#include <algorithm>
#include <map>

#include "configctl/Command.h"
#include "configctl/Files.h"
#include "configctl/Params.h"
#include "configctl/SettingsFile.h"
#include "configctl/SettingsWriter.h"

using programs::ParamName;

namespace configctl {
namespace {

class ImportCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("FILE", _file, "What export wrote, or a file like it; - for standard input")
        ->type_name("")
        ->required();
    app.add_flag("--dry-run", _dryRun, "Change nothing, and tell what would become of each value");
  }

  void Run(Session& session) override {
    session.RefuseMapped();
    std::vector<Change> changes = Plan(SettingsFile::Read(_file, session.GetOptions().timeout));
    SettingsWriter writer(session, _dryRun);
    writer.Apply(changes);
    const auto count = std::count_if(changes.begin(), changes.end(), SettingsWriter::IsShort);
    if (count > 0) {
      throw Verdict(Status::kRefused,
                    std::to_string(count) + " of " + std::to_string(changes.size()) +
                        " values of " + FileText(_file) +
                        (_dryRun ? " would not be applied" : " were not applied") +
                        " as they are written; mend those lines of the file and import it again",
                    writer.ToJson(changes));
    }
    if (session.WantsJson()) session.PrintResult(writer.ToJson(changes));
  }

 private:
  // All that the catalogue has to say is said here, before anybody is asked.
  static std::vector<Change> Plan(const SettingsFile& file) {
    std::vector<Change> changes;
    std::map<const ParamDescriptor*, int> mentions;
    for (const SettingsFile::Entry& entry : file.entries) {
      changes.push_back(Plan(entry));
      mentions[changes.back().param] += 1;
    }
    // The same parameter by different names.
    for (Change& change : changes) {
      if (change.param != nullptr && mentions[change.param] > 1) change = Twice(change.name);
    }
    for (const std::string& name : file.leftOut) {
      changes.push_back(PassOver(name));
    }
    return changes;
  }

  static Change Plan(const SettingsFile::Entry& entry) {
    std::string name = entry.name;
    Outcome outcome = Outcome::kUnknown;
    try {
      const ParamDescriptor& param = FindParam(entry.name);
      name = ParamName(param);
      outcome = Outcome::kSkipped;
      if (entry.isRepeated) return Twice(name);
      if (!IsSetting(param)) return NoChange(name, outcome, name + " " + WhyNoSetting(param));
      return PlanChange(param, SettingFromJson(param, entry.value));
    } catch (const Failure& failure) {
      return NoChange(name, outcome, failure.what());
    }
  }

  static Change PassOver(const std::string& leftOut) {
    try {
      const std::string name = ParamName(FindParam(leftOut));
      return NoChange(name, Outcome::kLeftOut,
                      name + ": a password, which the export left out; it stays as it is");
    } catch (const Failure& failure) {
      return NoChange(leftOut, Outcome::kLeftOut, failure.what());
    }
  }

  static Change Twice(const std::string& name) {
    return NoChange(name, Outcome::kSkipped, name + " stands there twice; keep one of the two");
  }

  std::string _file;
  bool _dryRun = false;
};

}  // namespace

std::unique_ptr<Command> MakeImportCommand() { return std::make_unique<ImportCommand>(); }

}  // namespace configctl
