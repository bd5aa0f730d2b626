#include "configctl/SettingsFile.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>

#include "configctl/Failure.h"
#include "configctl/Files.h"
#include "configctl/ValueParser.h"
#include "programs/Text.h"

using json = nlohmann::ordered_json;
using programs::ParamName;
using programs::QuoteBriefly;
using programs::Value;

namespace configctl {
namespace {

constexpr char kFormat[] = "configctl settings";
constexpr unsigned kFormatVersion = 1;
// All settings together have some ten thousand bytes, in two levels.
constexpr std::size_t kLargestFile = 1 << 18;
constexpr int kDeepest = 16;
constexpr std::size_t kShownValue = 60;
constexpr std::size_t kShownObjection = 200;

Failure Unusable(const std::string& path, const std::string& problem) {
  return {Status::kRefused, FileText(path) + ": " + problem};
}

std::string Shown(const json& value) {
  const std::string text = value.dump(-1, ' ', true, json::error_handler_t::replace);
  return text.size() > kShownValue ? text.substr(0, kShownValue) + "..." : text;
}

// "line 3, column 5", counted in bytes from 1.
std::string Position(const std::string& text, std::size_t at) {
  const std::string before = text.substr(0, std::min(at, text.size()));
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 where there is none
  return "line " + std::to_string(std::count(before.begin(), before.end(), '\n') + 1) +
         ", column " + std::to_string(before.size() - lineStart + 1);
}

// Where `number` begins outside of texts, in a document that is JSON up to there.
std::size_t FindNumber(const std::string& text, const std::string& number) {
  bool inText = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!inText && text.compare(at, number.size(), number) == 0) return at;
    if (inText && text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      inText = !inText;
    }
  }
  return text.size();
}

// What the parser objects to, without its own count of lines.
std::string Objection(const json::parse_error& error) {
  const std::string message = error.what();
  const std::size_t objection = message.find(": ", message.find("column"));
  return objection == std::string::npos ? message : message.substr(objection + 2, kShownObjection);
}

// The parser keeps one of several values that bear the same name; this finds the names.
class RepeatedNames {
 public:
  void Note(int depth, json::parse_event_t event, const json& parsed) {
    if (event != json::parse_event_t::key) return;
    const auto name = parsed.get<std::string>();
    if (depth == 1) {
      _member = name;
      if (!_members.insert(name).second) _repeatedMember = name;
    } else if (depth == 2 && _member == "settings" && !_settings.insert(name).second) {
      _repeatedSettings.insert(name);
    }
  }

  const std::string& GetMember() const { return _repeatedMember; }
  bool HasSetting(const std::string& name) const { return _repeatedSettings.count(name) != 0; }

 private:
  std::string _member;
  std::set<std::string> _members;
  std::set<std::string> _settings;
  std::string _repeatedMember;
  std::set<std::string> _repeatedSettings;
};

json Parse(const std::string& path, const std::string& text, RepeatedNames& repeated) {
  try {
    return json::parse(text, [&](int depth, json::parse_event_t event, const json& parsed) {
      if (depth > kDeepest) throw Unusable(path, "it is nested too deep; name another file");
      repeated.Note(depth, event, parsed);
      return true;
    });
  } catch (const json::parse_error& error) {
    throw Unusable(path, Position(text, error.byte == 0 ? 0 : error.byte - 1) +
                             ": this is no JSON (" + Objection(error) + "); mend it there");
  } catch (const json::out_of_range& error) {
    // It says which number, in apostrophes, and not where.
    const std::string message = error.what();
    const std::size_t begin = message.find('\'') + 1;
    const std::string number = message.substr(begin, message.rfind('\'') - begin);
    throw Unusable(path, Position(text, FindNumber(text, number)) + ": the number " +
                             QuoteBriefly(number) + " is too large; mend it there");
  }
}

void CheckHeader(const std::string& path, const json& document) {
  if (!document.is_object() || document.value("format", json()) != kFormat) {
    throw Unusable(path, "this is no file of settings, which begins with {\"format\": \"" +
                             std::string(kFormat) + "\"; make one with configctl export");
  }
  const json version = document.value("version", json());
  if (version != kFormatVersion) {
    throw Unusable(path, "version " + Shown(version) +
                             " of the format is not known here; use the " +
                             "configctl that wrote it, or one that is newer");
  }
  if (!document.value("settings", json()).is_object()) {
    throw Unusable(path, "\"settings\" is missing; it holds a value for each name");
  }
}

bool IsUTF8(const std::string& text) {
  try {
    static_cast<void>(json(text).dump());
    return true;
  } catch (const json::type_error&) {
    return false;
  }
}

std::string ToHex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    hex += kDigits[static_cast<unsigned char>(c) >> 4];
    hex += kDigits[static_cast<unsigned char>(c) & 0xf];
  }
  return hex;
}

bool FromHex(const std::string& hex, std::string& bytes) {
  const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
  if (hex.size() % 2 != 0 || !std::all_of(hex.begin(), hex.end(), isDigit)) return false;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16));
  }
  return true;
}

[[noreturn]] void ThrowWrongType(const ParamDescriptor& param, const char* takes,
                                 const json& value) {
  throw Failure(Status::kRefused,
                ParamName(param) + " takes " + takes + ", and not " +
                    (programs::IsSecret(param) ? "what stands there" : Shown(value)));
}

Value TextFromJson(const ParamDescriptor& param, const json& value) {
  std::string text;
  if (value.is_string()) {
    text = value.get<std::string>();
  } else if (!value.is_object() || value.size() != 1 || !value.value("hex", json()).is_string() ||
             !FromHex(value["hex"].get<std::string>(), text)) {
    ThrowWrongType(param, "a text in quotes", value);
  }
  if (text.find('\0') != std::string::npos) {
    throw Failure(Status::kRefused, ParamName(param) + " takes no text with a zero byte in it");
  }
  return text;
}

}  // namespace

SettingsFile SettingsFile::Read(const std::string& path, double timeout) {
  const std::string text = ReadFile(path, kLargestFile, timeout);
  RepeatedNames repeated;
  const json document = Parse(path, text, repeated);
  CheckHeader(path, document);
  if (!repeated.GetMember().empty()) {
    throw Unusable(path,
                   QuoteBriefly(repeated.GetMember()) + " stands there twice; keep one of the two");
  }
  SettingsFile file;
  for (const auto& item : document["settings"].items()) {
    file.entries.push_back({item.key(), item.value(), repeated.HasSetting(item.key())});
  }
  for (const json& name : document.value("left_out", json::array())) {
    if (name.is_string()) file.leftOut.push_back(name.get<std::string>());
  }
  return file;
}

json SettingsHeader() { return {{"format", kFormat}, {"version", kFormatVersion}}; }

json SettingToJson(const ParamDescriptor& param, const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) {
    if (IsUTF8(*text)) return *text;
    return {{"hex", ToHex(*text)}};
  }
  const unsigned int number = std::get<unsigned int>(value);
  const std::string label =
      programs::ValueText(programs::ValueText::Secrets::kShow).Plain(param.GetParamID(), value);
  if (label == std::to_string(number)) return number;
  try {
    if (ParseValue(param, label) == value) return label;
  } catch (const Failure&) {
    // A label that several choices share.
  }
  return number;
}

Value SettingFromJson(const ParamDescriptor& param, const json& value) {
  if (param.GetParamType() == eParamType_String) return TextFromJson(param, value);
  if (value.is_string()) return ParseValue(param, value.get<std::string>());
  if (!value.is_number()) ThrowWrongType(param, "a number or a text in quotes", value);
  // Not by way of text, where a number may be a label too.
  if (value.is_number_unsigned() && value.get<uint64_t>() <= 0xFFFFFFFF) {
    return value.get<unsigned int>();
  }
  return ParseValue(param, value.dump());
}

}  // namespace configctl
