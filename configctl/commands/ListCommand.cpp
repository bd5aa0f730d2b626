#include <set>

#include "configctl/Command.h"
#include "configctl/ParamJson.h"
#include "configctl/Params.h"
#include "configctl/TextLayout.h"
#include "programs/Text.h"

namespace configctl {
namespace {

class ListCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    _group = app.add_option("--group", _number, "Only those of one menu")
                 ->type_name("N")
                 ->check(CLI::Range(0, 255).description(""));
    app.add_flag("--hidden", _hidden,
                 "Also those that operators do not see; JSON always has them, and marks them");
  }

  void Run(Session& session) override {
    std::vector<const ParamDescriptor*> listed;
    std::set<int> groups;
    for (const ParamDescriptor* const param : ParamsInMenuOrder()) {
      groups.insert(MenuGroup(*param));
      if (_group->count() != 0 && MenuGroup(*param) != _number) continue;
      if (_hidden || session.WantsJson() || !IsHidden(*param)) listed.push_back(param);
    }
    if (_group->count() != 0 && groups.count(_number) == 0) ThrowNoGroup(groups);
    if (session.WantsJson()) {
      nlohmann::ordered_json result = nlohmann::ordered_json::array();
      for (const ParamDescriptor* const param : listed) result.push_back(ParamToJson(*param));
      session.PrintResult(result);
      return;
    }
    if (listed.empty()) {
      throw Failure(Status::kRefused, "all parameters of menu " + std::to_string(_number) +
                                          " are hidden; list them with --hidden");
    }
    session.Print(Table(listed));
  }

 private:
  [[noreturn]] void ThrowNoGroup(const std::set<int>& groups) const {
    std::vector<std::string> numbers;
    numbers.reserve(groups.size());
    for (const int group : groups) numbers.push_back(std::to_string(group));
    throw Failure(Status::kRefused, "there is no menu " + std::to_string(_number) +
                                        "; choose one of " + Join(numbers));
  }

  static std::string Table(const std::vector<const ParamDescriptor*>& params) {
    std::size_t width = 0;
    for (const ParamDescriptor* const param : params) {
      width = std::max(width, programs::ParamName(*param).size());
    }
    std::string lines;
    for (const ParamDescriptor* const param : params) {
      lines += (lines.empty() ? "" : "\n") + Pad(MenuNumber(*param), 7) +
               Pad(programs::ParamName(*param), width + 2) + Pad(TypeName(*param), 13) +
               programs::OneLine(param->GetName());
    }
    return lines;
  }

  CLI::Option* _group = nullptr;
  int _number = 0;
  bool _hidden = false;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() { return std::make_unique<ListCommand>(); }

}  // namespace configctl
