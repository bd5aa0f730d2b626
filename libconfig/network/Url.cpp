#include "libconfig/network/Url.h"

#include <algorithm>
#include <sstream>

#include "libconfig/base/Diagnostics.h"

namespace url {

URL parse(std::string& uri) {
  std::string work = uri;
  std::replace_if(
      work.begin(), work.end(), [](char c) { return c == ':' || c == '/'; }, ' ');
  std::istringstream words(work);
  std::string word[3];
  int found = 0;
  while (found < 3 && words >> word[found]) ++found;
  if (found < 3) {
    qel::config::Report("url::parse - unable to parse url, found %d matches\n", found);
    return {};
  }
  return {word[0], word[1], word[2]};
}

}  // namespace url
