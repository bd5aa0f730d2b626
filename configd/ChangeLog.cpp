#include "configd/ChangeLog.h"

#include <cstdio>
#include <ctime>

#include "configd/LineWriter.h"

using qel::vorlane::config::access::NetworkConnection;

namespace {

// Longer texts are cut in the log, not in the store.
constexpr std::size_t kShownText = 200;

std::string LocalTime() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  const time_t seconds = now.tv_sec;
  tm local = {};
  ::localtime_r(&seconds, &local);
  char text[40];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  std::snprintf(text + length, sizeof text - length, ".%03ld",
                static_cast<long>(now.tv_usec / 1000));
  return text;
}

std::string Name(eParam_t param) {
  constexpr char kPrefix[] = "eParamID_";
  const ParamDescriptor* const descriptor = FindDescriptor(param);
  if (descriptor == nullptr) return std::to_string(param);
  const std::string name = descriptor->GetParamIDName();
  return name.compare(0, sizeof kPrefix - 1, kPrefix) == 0 ? name.substr(sizeof kPrefix - 1) : name;
}

bool IsPassword(const ParamDescriptor& descriptor) {
  unsigned int flag;
  return descriptor.GetAttribute("password", flag);
}

std::string Address(unsigned int value) {
  return std::to_string(value >> 24) + "." + std::to_string(value >> 16 & 0xff) + "." +
         std::to_string(value >> 8 & 0xff) + "." + std::to_string(value & 0xff);
}

std::string Show(eParam_t param, unsigned int value) {
  ParamDescriptor* const descriptor = FindDescriptor(param);
  if (const auto* const choices = dynamic_cast<EnumDescriptor*>(descriptor)) {
    std::string label = choices->GetEnumValue(value);
    for (char& c : label) c = c == '\n' ? ' ' : c;
    return label + " (" + std::to_string(value) + ")";
  }
  std::string format;
  if (descriptor != nullptr && descriptor->GetAttribute("format", format) && format == "ipv4") {
    return Address(value);
  }
  return std::to_string(value);
}

// A text comes from a peer: it must not look like a line of ours.
std::string Show(eParam_t param, const std::string& text) {
  const ParamDescriptor* const descriptor = FindDescriptor(param);
  if (descriptor != nullptr && IsPassword(*descriptor)) return "\"********\"";
  std::string shown = "\"";
  for (std::size_t i = 0; i < text.size() && i < kShownText; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '"' || c == '\\') {
      shown += '\\';
      shown += text[i];
    } else if (c < 0x20 || c == 0x7f) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      shown += escaped;
    } else {
      shown += text[i];
    }
  }
  shown += '"';
  if (text.size() > kShownText) shown += "... (" + std::to_string(text.size()) + " bytes)";
  return shown;
}

}  // namespace

ChangeLog::ChangeLog(Config& store) : _configID(store.GetConfigID()) {
  for (const eParam_t param : store.GetParamIDs()) {
    std::string text;
    unsigned int number;
    if (store.Get(param, number) != 0) {
      _values[param] = number;
    } else if (store.Get(param, text) != 0) {
      _values[param] = text;
    }
  }
}

void ChangeLog::ParamChanged(eParam_t param, unsigned int value, timeval) { Note(param, value); }

void ChangeLog::ParamChanged(eParam_t param, std::string value, timeval) {
  Note(param, std::move(value));
}

void ChangeLog::Note(eParam_t param, Value value) {
  Value& known = _values[param];
  if (known == value) return;
  const auto show = [param](const auto& content) { return Show(param, content); };
  std::string line = LocalTime() + "  ";
  if (_configID != eConfigID_Default) {
    line += "configuration " + std::to_string(_configID) + "  ";
  }
  line += Name(param) + ": " + std::visit(show, known) + " -> " + std::visit(show, value);
  if (NetworkConnection* const peer = NetworkConnection::Current()) {
    line += "  by " + peer->GetPeerName();
  }
  known = std::move(value);
  LineWriter::Instance().Write(std::move(line));
}
