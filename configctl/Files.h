// Files that are read whole or written whole, with messages that say what to do.
#pragma once

#include <cstddef>
#include <string>

namespace configctl {

// The file as messages call it.
std::string FileText(const std::string& path);

// Where the file is, when `path` leads there through links; else `path`.
std::string FollowLinks(const std::string& path);

// What `path` holds, or standard input for "-"; pipes too, where the next piece may take `timeout`
// seconds to come. Nobody who types is hurried. Throws Failure, also when it is more than `limit`
// bytes.
std::string ReadFile(const std::string& path, std::size_t limit, double timeout);

enum class Readers { kAsUsual, kOwnerOnly };

// `path` then holds `content`, or what it held before if that cannot be done: another file is
// written beside it, brought to the disk and put in its place. A link is replaced, and what it
// leads to stays. A file that is replaced keeps its permissions, as far as `readers` lets it. A
// signal that ends the program takes effect behind the writing, and nothing is left beside `path`.
// Throws Failure.
void ReplaceFile(const std::string& path, const std::string& content, Readers readers);

}  // namespace configctl
