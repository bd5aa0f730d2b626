// Reads the text that the device's flash update leaves behind. Internal.
#pragma once

#include <string>

namespace qel::config {

// The text of the file at `path`; empty when there is none, or with a message when it cannot be
// read.
std::string ReadFlashInfo(const char* path);

}  // namespace qel::config
