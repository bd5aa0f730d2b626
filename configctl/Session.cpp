#include "configctl/Session.h"

#include <utility>

#include "programs/Text.h"

using json = nlohmann::ordered_json;

namespace configctl {
namespace {

// A peer's text may hold any bytes; JSON is UTF-8.
std::string Dump(const json& object) {
  return programs::EscapeJson(object.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace

Session::Session(const CommonOptions& options, std::string command)
    : _options(options),
      _command(std::move(command)),
      _valueText(options.showSecrets ? programs::ValueText::Secrets::kShow
                                     : programs::ValueText::Secrets::kMask),
      _console(Console::Instance()) {}

void Session::RefuseMapped() const {
  if (!_options.mapped) return;
  throw Failure(Status::kUsage, "--mapped does not go with " + _command +
                                    ", which takes every parameter for itself; leave it out");
}

void Session::PrintResult(const json& result) const {
  _console.Print(Dump({{"ok", true}, {"command", _command}, {"result", result}}));
}

json Session::ToJson(eParam_t id, const programs::Value& value) const {
  json object = {{"name", programs::ParamName(id)},
                 {"id", programs::ParamNumber(id)},
                 {"text", _valueText.Plain(id, value)}};
  if (_valueText.Hides(id)) {
    object["value"] = object["text"];
    object["masked"] = true;
  } else {
    std::visit([&](const auto& content) { object["value"] = content; }, value);
  }
  return object;
}

int Session::Fail(const Failure& failure) const {
  const auto* const verdict = dynamic_cast<const Verdict*>(&failure);
  const bool keepsStatus = verdict != nullptr || !_failureStatus;
  const int status = static_cast<int>(keepsStatus ? failure.GetStatus() : *_failureStatus);
  if (_options.json) {
    json answer = {{"ok", false},
                   {"command", _command},
                   {"error", {{"code", status}, {"message", failure.what()}}}};
    if (verdict != nullptr) answer["result"] = verdict->GetResult();
    _console.Print(Dump(answer));
  } else {
    _console.Say(failure.what());
  }
  return _console.End(status);
}

}  // namespace configctl
