#include "libconfig/access/Outcome.h"

#include "libconfig/access/Config.h"

namespace qel::config {
namespace {

thread_local Outcome t_outcome = Outcome::kUnknown;

}  // namespace

Outcome LastOutcome() { return t_outcome; }

void SetOutcome(Outcome outcome) { t_outcome = outcome; }

bool TryGet(Config& config, eParam_t param, unsigned int& value) {
  t_outcome = Outcome::kUnknown;
  unsigned int read = 0;
  const int result = config.Get(param, read);
  if (result == 0 && t_outcome == Outcome::kUnknown) read = config.Get(param);
  const bool done =
      result != 0 || t_outcome == Outcome::kDone || (t_outcome == Outcome::kUnknown && read != 0);
  if (done) value = read;
  return done;
}

}  // namespace qel::config
