#include <algorithm>
#include <map>

#include "configctl/Command.h"
#include "configctl/ParamJson.h"
#include "configctl/Params.h"
#include "configctl/Proxies.h"
#include "configctl/TextLayout.h"
#include "configctl/ValueParser.h"
#include "programs/Params.h"
#include "programs/Text.h"

using programs::OneLine;
using programs::ParamName;

namespace configctl {
namespace {

// "50.1 IP Config (IPConfig)", as help texts refer to it, and as one can call it.
std::string Reference(eParam_t id) {
  const ParamDescriptor* const param = FindDescriptor(id);
  if (param == nullptr) return programs::ParamNumber(id);
  return MenuNumber(*param) + " " + OneLine(param->GetName()) + " (" + ParamName(id) + ")";
}

// A page under construction.
class Page {
 public:
  explicit Page(int width) : _width(width) {}

  void Section(const char* title) { _text += (_text.empty() ? "" : "\n\n") + std::string(title); }
  void Paragraph(const std::string& text) { _text += "\n" + Wrap("    ", text, _width); }
  void Entry(const std::string& label, const std::string& text) {
    if (!text.empty()) _text += "\n" + Wrap("    " + Pad(label, kLabelWidth), text, _width);
  }
  // What Entry would put behind the label, on lines of its own.
  void Item(const std::string& label, const std::string& item) {
    _text += "\n    " + Pad(label, kLabelWidth) + item;
  }
  const std::string& GetText() const { return _text; }

 private:
  static constexpr std::size_t kLabelWidth = 16;

  const int _width;
  std::string _text;
};

void DescribeChoices(const EnumDescriptor& param, Page& page) {
  page.Entry("Type",
             programs::IsBitMask(param) ? "bits, of which several may be set" : "enumeration");
  std::size_t width = 4;
  for (const EnumValueDescriptor& choice : ChoicesOf(param)) {
    width = std::max(width, std::to_string(choice.value).size() + 2);
  }
  std::string label = "Choices";
  for (const EnumValueDescriptor& choice : ChoicesOf(param)) {
    const std::string name = OneLine(choice.name);
    const std::string shortName = OneLine(choice.shortName);
    page.Item(label, Pad(std::to_string(choice.value), width) + name +
                         (shortName == name ? "" : "  [" + shortName + "]"));
    label.clear();
  }
}

void DescribeNumber(const IntegerDescriptor& param, Page& page) {
  page.Entry("Type", TypeName(param));
  if (!programs::IsAddress(param)) page.Entry("Range", RangeText(param));
  if (param.GetAdjustBy() != 1) page.Entry("Step", std::to_string(param.GetAdjustBy()));
  page.Entry("Units", param.GetUnits());
  if (param.GetScaleBy() != 1) page.Entry("Shown times", std::to_string(param.GetScaleBy()));
  if (param.GetOffsetBy() != 0) page.Entry("Shown plus", std::to_string(param.GetOffsetBy()));
  if (param.GetDisplayPrecision() != 0) {
    page.Entry("Decimals", std::to_string(param.GetDisplayPrecision()));
  }
}

void DescribeText(const StringDescriptor& param, Page& page) {
  const unsigned int min = param.GetMinLength();
  const unsigned int max = param.GetMaxLength();
  page.Entry("Type", "text");
  page.Entry("Length", (min == max ? "" : std::to_string(min) + " to ") + std::to_string(max) +
                           " characters");
  if (param.GetRegEx() != "*") page.Entry("Pattern", param.GetRegEx());
}

void DescribeValue(const ParamDescriptor& param, Page& page) {
  page.Section("VALUE");
  const programs::ValueText text(programs::ValueText::Secrets::kShow);
  if (const auto* const string = dynamic_cast<const StringDescriptor*>(&param)) {
    DescribeText(*string, page);
    page.Entry("Default", text.Line(param.GetParamID(), string->GetFactoryDefault()));
  } else if (const auto* const number = dynamic_cast<const IntegerDescriptor*>(&param)) {
    if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(number)) {
      DescribeChoices(*choices, page);
    } else {
      DescribeNumber(*number, page);
    }
    page.Entry("Default", text.Line(param.GetParamID(), number->GetFactoryDefault()));
  }
  page.Entry("Access", param.GetAccessType() == eAccess_ReadOnly ? "read-only" : "read and write");
  if (programs::IsSecret(param)) page.Entry("Shown", "masked, unless with --show-secrets");
}

void DescribeKeeping(const ParamDescriptor& param, Page& page) {
  page.Section("KEEPING");
  const bool kept = param.GetPersistenceType() == ePersist;
  const bool inPresets = param.GetRegisterType() == eRegister_Include;
  const bool reset = param.GetFactoryResetType() == eFactoryReset_Include;
  page.Entry("Restart", kept ? "kept" : "lost");
  page.Entry("Presets", inPresets ? "saved and recalled" : "not part of them");
  page.Entry("Factory reset", reset ? "set to the default" : "left as it is");
}

// "50.1 IP Config (IPConfig) = Static Addr (2)".
std::string Condition(eParam_t selector, unsigned int value) {
  return Reference(selector) + " = " + programs::ValueText().Line(selector, value);
}

void DescribeTies(const ParamDescriptor& param, Page& page) {
  const std::vector<Tie> from = TiesFrom(param);
  const std::vector<Tie> to = TiesTo(param);
  const std::vector<eParam_t> dependsOn = param.GetDependsOnParamIDs();
  const std::vector<eParam_t> dependents = param.GetDependentParamIDs();
  if (from.empty() && to.empty() && dependsOn.empty() && dependents.empty()) return;

  page.Section("RELATIONS");
  for (const Tie& tie : from) {
    page.Entry(tie.relation == "enabled_by" ? "Works while" : tie.relation,
               Condition(tie.other, tie.value));
  }
  for (const Tie& tie : to) {
    const std::string value = programs::ValueText().Line(param.GetParamID(), tie.value);
    page.Entry(tie.relation == "enabled_by" ? "Enables" : tie.relation + " of",
               Reference(tie.other) + " while it is " + value);
  }
  for (const eParam_t id : dependsOn) page.Entry("Depends on", Reference(id));
  for (const eParam_t id : dependents) page.Entry("Changes", Reference(id));
}

void DescribeTags(const ParamDescriptor& param, Page& page) {
  page.Section("TAGS");
  const bool panel = param.GetFeatureType() == eFeature_Panel;
  page.Entry("Feature", panel ? "worked at the panel while recording" : "general");
  page.Entry("Classes", Join(param.GetClassNames()));
  std::map<std::string, std::string> texts;
  std::map<std::string, unsigned int> numbers;
  param.GetAttributes(texts);
  param.GetAttributes(numbers);
  texts.erase("description");  // it has a section
  std::vector<std::string> attributes;
  attributes.reserve(texts.size() + numbers.size());
  for (const auto& entry : texts) attributes.push_back(entry.first + "=" + entry.second);
  for (const auto& entry : numbers) {
    attributes.push_back(entry.first + "=" + std::to_string(entry.second));
  }
  page.Entry("Attributes", Join(attributes));
}

void DescribeStanding(const Standing& standing, Page& page) {
  if (standing.choices.empty()) return;
  page.Section("STANDS FOR");
  page.Entry("Now",
             standing.unknown.empty() ? Reference(standing.now) : "not known: " + standing.unknown);
  std::string label = "One of";
  for (const eParam_t choice : standing.choices) {
    page.Item(label, Reference(choice));
    label.clear();
  }
}

std::string Describe(const ParamDescriptor& param, const Standing& standing, int width) {
  std::string help;
  param.GetAttribute("description", help);
  Page page(width);
  page.Section("NAME");
  page.Paragraph(ParamName(param) + " - " + OneLine(param.GetName()));
  page.Section("DESCRIPTION");
  page.Paragraph(help);
  page.Section("IDENTITY");
  page.Entry("Menu", MenuNumber(param) + " in " + std::to_string(MenuGroup(param)) + " " +
                         programs::MenuTitle(MenuGroup(param)));
  page.Entry("Panel", OneLine(param.GetShortName()));
  page.Entry("Identifier",
             param.GetParamIDName() + ", " + programs::ParamNumber(param.GetParamID()));
  DescribeStanding(standing, page);
  DescribeValue(param, page);
  DescribeKeeping(param, page);
  DescribeTies(param, page);
  DescribeTags(param, page);
  return page.GetText();
}

class DescribeCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("NAME", _name, "The parameter")->type_name("")->required();
  }

  void Run(Session& session) override {
    const ParamDescriptor& param = FindParam(_name);
    const Standing standing = FindStanding(session, param.GetParamID());
    if (!session.WantsJson()) {
      session.Print(Describe(param, standing, session.GetConsole().GetWidth()));
      return;
    }
    nlohmann::ordered_json result = ParamToJson(param);
    result.update(TiesToJson(param));
    if (!standing.choices.empty()) result["stands_for"] = StandingToJson(standing);
    session.PrintResult(result);
  }

 private:
  std::string _name;
};

}  // namespace

std::unique_ptr<Command> MakeDescribeCommand() { return std::make_unique<DescribeCommand>(); }

}  // namespace configctl
