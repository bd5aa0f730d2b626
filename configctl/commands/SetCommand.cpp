#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/Params.h"
#include "configctl/ValueParser.h"

using programs::ParamName;
using programs::Value;

namespace configctl {
namespace {

class SetCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("NAME", _name, "The parameter")->type_name("")->required();
    app.add_option("VALUE", _text, "A number, a label of a choice, an address, or a text")
        ->type_name("")
        ->required();
    app.add_flag("--strict", _strict, "Refuse a number that would be stored as another one");
    app.add_flag("--force", _force,
                 "Try it although the parameter is read-only, or the text does not fit");
  }

  void Run(Session& session) override {
    const ParamDescriptor& param = FindParam(_name);
    if (!_force && (param.HasClassName("readonly") || param.GetAccessType() == eAccess_ReadOnly)) {
      throw Failure(Status::kRefused, ParamName(param) +
                                          " is read-only: the device itself sets it; try it all "
                                          "the same with --force");
    }
    const Value asked = ParseValue(param, _text);
    const CatalogueCheck check = CheckValue(param, asked);
    if (!_force && !check.objection.empty()) {
      throw Failure(Status::kRefused,
                    check.objection + "; change it, or store it all the same with --force");
    }
    if (_strict && check.stored != asked) ThrowOutOfRange(session, param, asked, check.stored);

    const eParam_t id = param.GetParamID();
    Connection connection(session, Connection::OnTimeout::kEndProgram);
    const Value before = connection.Get(id);
    connection.SetAdvice("; it may have been stored: look with configctl get " + ParamName(param));
    connection.Set(id, asked);
    const Value now = connection.Get(id);
    Report(session, param, asked, check.stored, before, now);
  }

 private:
  [[noreturn]] static void ThrowOutOfRange(const Session& session, const ParamDescriptor& param,
                                           const Value& asked, const Value& stored) {
    const auto& integer = dynamic_cast<const IntegerDescriptor&>(param);
    const programs::ValueText& text = session.GetValueText();
    throw Failure(Status::kRefused, ParamName(param) + " takes " + RangeText(integer) +
                                        ", so that " + text.Plain(param.GetParamID(), asked) +
                                        " would be stored as " +
                                        text.Plain(param.GetParamID(), stored) +
                                        "; choose another, or leave out --strict");
  }

  static void Report(const Session& session, const ParamDescriptor& param, const Value& asked,
                     const Value& expected, const Value& before, const Value& now) {
    const eParam_t id = param.GetParamID();
    const auto plain = [&](const Value& value) { return session.GetValueText().Plain(id, value); };
    std::string outcome = "stored";
    std::string line = ParamName(param) + ": stored " + plain(now);
    if (now != asked) {
      if (now == expected) {
        outcome = "clamped";
        line += " (asked for " + plain(asked) + ")";
      } else if (param.HasClassName("volatile")) {
        // A command is often carried out and taken back before it can be read.
        outcome = "sent";
        line = ParamName(param) + ": sent " + plain(asked) + ", reads " + plain(now) + " now";
      } else if (now == before) {
        throw Failure(Status::kRefused, ParamName(param) + ": " + plain(asked) +
                                            " was refused and " + plain(now) +
                                            " is kept; configctl describe " + ParamName(param) +
                                            " tells what it takes");
      } else {
        throw Failure(Status::kRefused,
                      ParamName(param) + ": reads " + plain(now) + " (asked for " + plain(asked) +
                          "), as somebody else may have changed it; look again, or watch it");
      }
    }
    if (!session.WantsJson()) {
      session.Print(line);
      return;
    }
    nlohmann::ordered_json result = session.ToJson(id, now);
    result["outcome"] = outcome;
    result["asked"] = session.ToJson(id, asked)["value"];
    result["before"] = session.ToJson(id, before)["value"];
    session.PrintResult(result);
  }

  std::string _name;
  std::string _text;
  bool _strict = false;
  bool _force = false;
};

}  // namespace

std::unique_ptr<Command> MakeSetCommand() { return std::make_unique<SetCommand>(); }

}  // namespace configctl
