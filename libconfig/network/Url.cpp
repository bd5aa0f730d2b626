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
  URL parts;
  int found = 0;
  for (std::string* const part : {&parts.scheme, &parts.host, &parts.port}) {
    if (words >> *part) ++found;
  }
  if (found == 3) return parts;
  qel::config::Report("url::parse - unable to parse url, found %d matches\n", found);
  return {};
}

}  // namespace url
