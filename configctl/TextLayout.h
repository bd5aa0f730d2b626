// Small text helpers: words compared, lists in a sentence, columns and wrapped paragraphs.
#pragma once

#include <string>
#include <vector>

namespace configctl {

std::string ToLower(std::string text);

// "a, b, c", and "a, b or c".
std::string Join(const std::vector<std::string>& parts);
std::string JoinOr(const std::vector<std::string>& parts);

// `text` with blanks behind it up to `width`, and at least one.
std::string Pad(std::string text, std::size_t width);

// Fills lines of up to `width` columns, the first behind `first`, the others indented by as much.
// No line end at the end.
std::string Wrap(const std::string& first, const std::string& text, int width);

}  // namespace configctl
