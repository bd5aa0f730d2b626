#include <algorithm>

#include "configctl/Command.h"
#include "configctl/ParamJson.h"
#include "configctl/Params.h"
#include "configctl/TextLayout.h"
#include "configctl/ValueParser.h"
#include "programs/Params.h"
#include "programs/Text.h"

namespace configctl {
namespace {

struct Menu {
  int group;
  std::vector<eParam_t> params;
};

std::vector<Menu> VisibleMenus(const std::vector<int>& groups) {
  std::vector<Menu> menus;
  for (const int group : groups) {
    Menu menu = {group, GetParamGroup(group, true)};
    std::stable_sort(menu.params.begin(), menu.params.end(), MenuNumberCompare);
    if (!menu.params.empty()) menus.push_back(std::move(menu));
  }
  return menus;
}

// What can be chosen, in the panel's words.
std::string Offer(const ParamDescriptor& param) {
  if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(&param)) {
    std::string labels;
    for (const EnumValueDescriptor& choice : ChoicesOf(*choices)) {
      labels += (labels.empty() ? "" : " | ") + programs::OneLine(choice.shortName);
    }
    return labels;
  }
  if (programs::IsAddress(param)) return "address";
  const auto* const number = dynamic_cast<const IntegerDescriptor*>(&param);
  return number == nullptr ? "text" : RangeText(*number);
}

class MenuCommand : public Command {
 public:
  void Declare(CLI::App&) override {}

  void Run(Session& session) override {
    const std::vector<Menu> config = VisibleMenus(GetConfigParamGroups());
    const std::vector<Menu> media = VisibleMenus(GetMediaParamGroups());
    if (session.WantsJson()) {
      session.PrintResult({{{"title", "CONFIG"}, {"menus", ToJson(config)}},
                           {{"title", "MEDIA"}, {"menus", ToJson(media)}}});
      return;
    }
    const int width = session.GetConsole().GetWidth();
    session.Print("CONFIG" + Tree(config, width) + "\n\nMEDIA" + Tree(media, width));
  }

 private:
  static nlohmann::ordered_json ToJson(const std::vector<Menu>& menus) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Menu& menu : menus) {
      nlohmann::ordered_json params = nlohmann::ordered_json::array();
      for (const eParam_t id : menu.params) params.push_back(ParamToJson(*FindDescriptor(id)));
      list.push_back({{"number", menu.group},
                      {"title", programs::MenuTitle(menu.group)},
                      {"parameters", std::move(params)}});
    }
    return list;
  }

  static std::string Tree(const std::vector<Menu>& menus, int width) {
    std::size_t nameWidth = 0;
    for (const Menu& menu : menus) {
      for (const eParam_t id : menu.params) {
        nameWidth =
            std::max(nameWidth, programs::OneLine(FindDescriptor(id)->GetName()).size() + 2);
      }
    }
    std::string lines;
    for (const Menu& menu : menus) {
      lines += "\n  " + std::to_string(menu.group) + " " + programs::MenuTitle(menu.group);
      for (const eParam_t id : menu.params) {
        const ParamDescriptor& param = *FindDescriptor(id);
        lines += "\n" + Wrap("    " + Pad(MenuNumber(param), 7) +
                                 Pad(programs::OneLine(param.GetName()), nameWidth),
                             Offer(param), width);
      }
    }
    return lines;
  }
};

}  // namespace

std::unique_ptr<Command> MakeMenuCommand() { return std::make_unique<MenuCommand>(); }

}  // namespace configctl
