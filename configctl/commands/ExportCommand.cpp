#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/Files.h"
#include "configctl/Params.h"
#include "configctl/SettingsFile.h"
#include "configctl/TextLayout.h"
#include "programs/Text.h"

using json = nlohmann::ordered_json;
using programs::ParamName;
using programs::Value;

namespace configctl {
namespace {

class ExportCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("FILE", _file, "Where to; standard output when there is none, or -")
        ->type_name("");
    app.add_flag("--all", _all, "Also settings that have their factory value");
  }

  void Run(Session& session) override {
    session.RefuseMapped();
    Connection connection(session, Connection::OnTimeout::kEndProgram);
    const bool isOfThisModel = connection.IsOfThisModel();
    json document = Header(session, connection, isOfThisModel);
    json settings = json::object();
    std::vector<std::string> leftOut;
    bool hasSecrets = false;
    bool hasAny = false;
    for (const ParamDescriptor* const param : SettingsInMenuOrder()) {
      Value value;
      if (!Read(connection, *param, isOfThisModel, value)) continue;
      hasAny = true;
      if (!_all && value == FactoryDefault(*param)) continue;
      if (session.GetValueText().Hides(param->GetParamID())) {
        leftOut.push_back(ParamName(*param));
        continue;
      }
      hasSecrets |= programs::IsSecret(*param);
      settings[ParamName(*param)] = SettingToJson(*param, value);
    }
    if (!hasAny) {
      throw Failure(Status::kRefused,
                    connection.GetURI() +
                        " has no value for any of the settings, and nothing was written; see "
                        "whether configd is well there, or name another place with --uri or "
                        "--config");
    }
    if (!isOfThisModel) {
      session.GetConsole().Say(connection.GetURI() +
                               " is another model than this machine, and settings that only it has "
                               "are not exported; run this on the device itself to have them all");
    }
    if (!leftOut.empty()) document["left_out"] = leftOut;
    document["settings"] = settings;

    const bool toFile = !_file.empty() && _file != "-";
    if (toFile) {
      ReplaceFile(_file, programs::EscapeJson(document.dump(2)) + "\n",
                  hasSecrets ? Readers::kOwnerOnly : Readers::kAsUsual);
    }
    Tell(session, document, settings.size(), leftOut, toFile);
  }

 private:
  json Header(const Session& session, Connection& connection, bool isOfThisModel) const {
    json header = SettingsHeader();
    Value product;
    if (Read(connection, *FindDescriptor(eParamID_ProductID), isOfThisModel, product)) {
      header["product"] = session.GetValueText().Plain(eParamID_ProductID, product);
    }
    header["config"] = connection.GetConfigNumber();
    header["exported"] = programs::UniversalTime(programs::Now());
    header["contains"] = _all ? "all settings" : "settings that differ from the factory";
    return header;
  }

  // False for what another model lacks; of this one everything has to be read.
  static bool Read(Connection& connection, const ParamDescriptor& param, bool isOfThisModel,
                   Value& value) {
    try {
      value = connection.Get(param.GetParamID());
      return true;
    } catch (const Failure& failure) {
      if (failure.GetStatus() != Status::kRefused || isOfThisModel) throw;
      return false;
    }
  }

  void Tell(const Session& session, const json& document, std::size_t count,
            const std::vector<std::string>& leftOut, bool toFile) const {
    if (session.WantsJson()) {
      json result = {{"file", _file}, {"settings", count}, {"left_out", leftOut}};
      session.PrintResult(toFile ? result : document);
      return;
    }
    session.Print(toFile ? programs::Quote(_file) + " holds " + std::to_string(count) +
                               (count == 1 ? " setting" : " settings")
                         : programs::EscapeJson(document.dump(2)));
    if (!leftOut.empty()) {
      session.GetConsole().Say("passwords were left out: " + Join(leftOut) +
                               "; export with --show-secrets to have them in the file");
    }
  }

  std::string _file;
  bool _all = false;
};

}  // namespace

std::unique_ptr<Command> MakeExportCommand() { return std::make_unique<ExportCommand>(); }

}  // namespace configctl
