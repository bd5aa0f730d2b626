// Files of the state folder, read and replaced as a whole. Results are 0 or an errno.
#pragma once

#include <string>
#include <vector>

// Of a regular file that is no link and not unreasonably large.
int ReadStateFile(const std::string& path, std::vector<char>& bytes);

// Whatever happens meanwhile, `path` holds either what it held before or all of `bytes`; once this
// has returned 0, the loss of power included.
int ReplaceStateFile(const std::string& folder, const std::string& path,
                     const std::vector<char>& bytes);

// Makes `path` anew for the daemon's user alone, in a folder where others may have put something in
// its place. A file that could not be written whole is removed.
int WriteNewFile(const std::string& path, const std::vector<char>& bytes);
