#include "configctl/TextLayout.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace configctl {
std::string ToLower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string Join(const std::vector<std::string>& parts) {
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : ", ") + part;
  return joined;
}

std::string JoinOr(const std::vector<std::string>& parts) {
  if (parts.size() < 2) return Join(parts);
  return Join({parts.begin(), parts.end() - 1}) + " or " + parts.back();
}

std::string Pad(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size() + 1), ' ');
  return text;
}

std::string Wrap(const std::string& first, const std::string& text, int width) {
  const std::string indent(first.size(), ' ');
  std::istringstream words(text);
  std::string result = first;
  std::size_t column = first.size();
  bool lineIsEmpty = true;
  std::string word;
  while (words >> word) {
    if (!lineIsEmpty && column + 1 + word.size() > static_cast<std::size_t>(width)) {
      result += "\n" + indent;
      column = indent.size();
      lineIsEmpty = true;
    }
    if (!lineIsEmpty) {
      result += ' ';
      ++column;
    }
    result += word;
    column += word.size();
    lineIsEmpty = false;
  }
  return result;
}

}  // namespace configctl
