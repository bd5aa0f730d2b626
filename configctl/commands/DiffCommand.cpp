#include <set>

#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/Files.h"
#include "configctl/Params.h"
#include "configctl/SettingsFile.h"
#include "configctl/TextLayout.h"

using json = nlohmann::ordered_json;
using programs::ParamName;
using programs::Value;

namespace configctl {
namespace {

constexpr std::size_t kWordWidth = 12;

class Comparison {
 public:
  Comparison(const Session& session, Connection& connection)
      : _session(session), _connection(connection) {}

  void Compare(const SettingsFile::Entry& entry) {
    try {
      const ParamDescriptor& param = FindParam(entry.name);
      if (!_compared.insert(param.GetParamID()).second || entry.isRepeated) {
        throw Failure(Status::kRefused,
                      ParamName(param) + " stands there twice; keep one of the two");
      }
      Compare(param, SettingFromJson(param, entry.value), "in the file");
    } catch (const Failure& failure) {
      if (failure.GetStatus() != Status::kRefused) throw;
      Add("not known", entry.name, failure.what());
      ++_unknown;
    }
  }

  void PassOver(const std::string& leftOut) {
    try {
      const ParamDescriptor& param = FindParam(leftOut);
      _compared.insert(param.GetParamID());
      Add("left out", ParamName(param),
          ParamName(param) + ": a password, which the export left out; it was not compared");
    } catch (const Failure& failure) {
      Add("not known", leftOut, failure.what());
      ++_unknown;
    }
  }

  // With their factory values.
  void CompareTheRest() {
    const bool isOfThisModel = _connection.IsOfThisModel();
    for (const ParamDescriptor* const param : SettingsInMenuOrder()) {
      if (_compared.count(param->GetParamID()) != 0) continue;
      try {
        Compare(*param, FactoryDefault(*param), "from the factory, not in the file");
      } catch (const Failure& failure) {
        // Another model may lack it.
        if (failure.GetStatus() != Status::kRefused || isOfThisModel) throw;
      }
    }
  }

  std::size_t GetDifferent() const { return _different; }
  std::size_t GetUnknown() const { return _unknown; }
  std::size_t GetAll() const { return _all; }
  json GetResult() const {
    return {{"same", _different + _unknown == 0}, {"compared", _all}, {"differences", _result}};
  }

 private:
  void Add(const std::string& word, const std::string& name, const std::string& details) {
    if (!_session.WantsJson()) _session.Print(Pad(word, kWordWidth) + details);
    _result.push_back({{"name", name}, {"outcome", word}, {"message", details}});
  }

  void Compare(const ParamDescriptor& param, const Value& there, const char* where) {
    const eParam_t id = param.GetParamID();
    const Value here = _connection.Get(id);
    ++_all;
    if (here == there) return;
    const programs::ValueText& text = _session.GetValueText();
    Add("differs", ParamName(param),
        ParamName(param) + ": " + text.Line(id, there) + " " + where + ", " + text.Line(id, here) +
            " now");
    _result.back()["file"] = _session.ToJson(id, there)["value"];
    _result.back()["now"] = _session.ToJson(id, here)["value"];
    ++_different;
  }

  const Session& _session;
  Connection& _connection;
  std::set<eParam_t> _compared;
  json _result = json::array();
  std::size_t _all = 0;
  std::size_t _different = 0;
  std::size_t _unknown = 0;
};

class DiffCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("FILE", _file, "What export wrote, or a file like it; - for standard input")
        ->type_name("")
        ->required();
    app.add_flag(
        "--all", _all,
        "Compare also the settings that the file does not name, with their factory values");
  }

  void Run(Session& session) override {
    session.EndFailuresWith(Status::kUsage);
    session.RefuseMapped();
    const SettingsFile file = SettingsFile::Read(_file, session.GetOptions().timeout);
    Connection connection(session, Connection::OnTimeout::kEndProgram);
    Comparison comparison(session, connection);
    for (const SettingsFile::Entry& entry : file.entries) comparison.Compare(entry);
    for (const std::string& name : file.leftOut) comparison.PassOver(name);
    if (_all) comparison.CompareTheRest();
    Judge(session, connection, comparison);
  }

 private:
  void Judge(const Session& session, const Connection& connection,
             const Comparison& comparison) const {
    const std::string counted = std::to_string(comparison.GetAll()) + " settings";
    const std::string pair = FileText(_file) + " and " + connection.GetURI();
    if (comparison.GetUnknown() > 0) {
      throw Verdict(Status::kUsage,
                    std::to_string(comparison.GetUnknown()) + " values of " + FileText(_file) +
                        " cannot be compared; mend those lines of the file and compare again",
                    comparison.GetResult());
    }
    if (comparison.GetDifferent() > 0) {
      throw Verdict(Status::kRefused,
                    pair + " differ in " + std::to_string(comparison.GetDifferent()) + " of " +
                        counted + "; configctl import --dry-run tells what an import would do",
                    comparison.GetResult());
    }
    if (session.WantsJson()) {
      session.PrintResult(comparison.GetResult());
    } else {
      session.Print(pair + " agree in " + counted);
    }
  }

  std::string _file;
  bool _all = false;
};

}  // namespace

std::unique_ptr<Command> MakeDiffCommand() { return std::make_unique<DiffCommand>(); }

}  // namespace configctl
