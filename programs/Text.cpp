#include "programs/Text.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <sstream>

namespace programs {
namespace {

unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

bool Continues(char c) { return (Byte(c) & 0xc0) == 0x80; }

// The length of the UTF-8 sequence at `at`, and the character it stands for; 0 when it is none:
// cut short, longer than it needs to be, a surrogate, or beyond the last character.
std::size_t Decode(const std::string& text, std::size_t at, uint32_t& character) {
  const unsigned char first = Byte(text[at]);
  if (first < 0x80) {
    character = first;
    return 1;
  }
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || at + length > text.size()) return 0;
  character = first & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (!Continues(text[at + i])) return 0;
    character = character << 6 | (Byte(text[at + i]) & 0x3fU);
  }
  constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = character >= 0xd800 && character <= 0xdfff;
  return character < kLeast[length] || character > 0x10ffff || surrogate ? 0 : length;
}

bool IsHarmless(uint32_t character) {
  const bool control = character < 0x20 || (character >= 0x7f && character < 0xa0);
  const bool mark = (character >= 0x200e && character <= 0x200f) ||
                    (character >= 0x2028 && character <= 0x202e) ||
                    (character >= 0x2066 && character <= 0x2069) || character == 0xfeff;
  return !control && !mark;
}

std::string EscapeWith(const std::string& text, const char* withBackslash) {
  const std::string special = withBackslash;
  std::string shown;
  for (std::size_t at = 0; at < text.size();) {
    uint32_t character = 0;
    const std::size_t length = Decode(text, at, character);
    if (length > 0 && IsHarmless(character)) {
      if (special.find(text[at]) != std::string::npos) shown += '\\';
      shown.append(text, at, length);
      at += length;
      continue;
    }
    char escaped[8];
    for (std::size_t i = 0; i < (length > 0 ? length : 1); ++i, ++at) {
      std::snprintf(escaped, sizeof escaped, "\\x%02x", Byte(text[at]));
      shown += escaped;
    }
  }
  return shown;
}

std::string Format(const char* format, const tm& moment, long microseconds) {
  char text[48];
  const std::size_t length = std::strftime(text, sizeof text, format, &moment);
  std::snprintf(text + length, sizeof text - length, ".%03ld", microseconds / 1000);
  return text;
}

}  // namespace

std::string OneLine(const std::string& text) {
  std::istringstream words(text);
  std::string line;
  std::string word;
  while (words >> word) line += (line.empty() ? "" : " ") + word;
  return line;
}

std::string Escape(const std::string& text) { return EscapeWith(text, ""); }

std::string EscapeJson(const std::string& json) {
  std::string shown;
  for (std::size_t at = 0; at < json.size();) {
    uint32_t character = 0;
    const std::size_t length = Decode(json, at, character);
    // Control characters between the values are its layout; within them there are none.
    if (length == 0 || character < 0x20 || IsHarmless(character)) {
      shown.append(json, at, length > 0 ? length : 1);
    } else {
      char escaped[12];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(character));
      shown += escaped;
    }
    at += length > 0 ? length : 1;
  }
  return shown;
}

std::string Quote(const std::string& text) { return "\"" + EscapeWith(text, "\"\\") + "\""; }

std::string QuoteUpTo(std::size_t limit, const std::string& text, std::size_t size) {
  if (text.size() <= limit) return Quote(text);
  std::size_t end = limit;
  while (end > 0 && limit - end < 3 && Continues(text[end])) --end;
  return Quote(text.substr(0, end)) + "... (" + std::to_string(size) + " bytes)";
}

std::string QuoteBriefly(const std::string& text) {
  constexpr std::size_t kLimit = 100;
  return QuoteUpTo(kLimit, text, text.size());
}

timeval Now() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  return now;
}

std::string LocalTime(timeval when) {
  const time_t seconds = when.tv_sec;
  tm local = {};
  ::localtime_r(&seconds, &local);
  return Format("%Y-%m-%d %H:%M:%S", local, when.tv_usec);
}

std::string UniversalTime(timeval when) {
  const time_t seconds = when.tv_sec;
  tm universal = {};
  ::gmtime_r(&seconds, &universal);
  return Format("%Y-%m-%dT%H:%M:%S", universal, when.tv_usec) + "Z";
}

}  // namespace programs
