#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/Params.h"

namespace configctl {
namespace {

class GetCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("NAME", _names,
                   "Parameters. One is answered with its value alone, several with a line each")
        ->type_name("")
        ->required();
  }

  void Run(Session& session) override {
    std::vector<eParam_t> ids;
    for (const std::string& name : _names) ids.push_back(FindParam(name).GetParamID());

    Connection connection(session, Connection::OnTimeout::kEndProgram);
    std::string lines;
    nlohmann::ordered_json result = nlohmann::ordered_json::array();
    for (const eParam_t id : ids) {
      const programs::Value value = connection.Get(id);
      result.push_back(session.ToJson(id, value));
      if (ids.size() > 1) lines += programs::ParamName(id) + " = ";
      lines += session.GetValueText().Plain(id, value) + "\n";
    }
    lines.pop_back();
    if (session.WantsJson()) {
      session.PrintResult(result);
    } else {
      session.Print(lines);
    }
  }

 private:
  std::vector<std::string> _names;
};

}  // namespace

std::unique_ptr<Command> MakeGetCommand() { return std::make_unique<GetCommand>(); }

}  // namespace configctl
