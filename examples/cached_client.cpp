// Reads all settings of a device twice. The cache asks for each once, but for the volatile ones,
// and events keep it current, so that a panel may read as often as it draws.
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "libconfig/libconfig.h"

using Clock = std::chrono::steady_clock;

int main(int argc, char** argv) {
  const std::string uri = argc > 1 ? argv[1] : "tcp://127.0.0.1:43110";
  qel::config::SilenceMessages();
  // Never null with caching=true, and deleted rather than disconnected.
  const std::unique_ptr<Config> cache(
      ConfigFactoryImpl::GetInstance()->Connect(uri + "/caching=true/events=true"));
  if (qel::config::LastOutcome() != qel::config::Outcome::kDone) {
    std::fprintf(stderr, "cannot follow the changes of %s\n", uri.c_str());
    return 1;
  }
  for (const char* const time : {"first", "second"}) {
    const Clock::time_point begin = Clock::now();
    int count = 0;
    for (const eParam_t param : cache->GetParamIDs()) {
      unsigned int number;
      std::string text;
      const bool isText = cache->GetParamDescriptor(param)->GetParamType() == eParamType_String;
      count += isText ? cache->Get(param, text) : cache->Get(param, number);
    }
    const std::chrono::duration<double, std::milli> spent = Clock::now() - begin;
    std::printf("The %s time: %d settings in %.2f ms\n", time, count, spent.count());
  }
  return 0;
}
