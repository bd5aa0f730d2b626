#include "configd/ChangeLog.h"

#include "programs/Text.h"

using qel::vorlane::config::access::NetworkConnection;
using qel::vorlane::config::access::NetworkPeer;

namespace {

struct Change {
  timeval when;
  eConfigID_t configID;
  eParam_t param;
  programs::Excerpt before;
  programs::Excerpt after;
  std::shared_ptr<NetworkPeer> peer;  // null when no peer made it
};

std::string LineOf(const Change& change) {
  const programs::ValueText show;
  std::string line = programs::LocalTime(change.when) + "  ";
  if (change.configID != eConfigID_Default) {
    line += "configuration " + std::to_string(change.configID) + "  ";
  }
  line += programs::ParamName(change.param) + ": " + show.Line(change.param, change.before) +
          " -> " + show.Line(change.param, change.after);
  if (change.peer != nullptr) line += "  by " + change.peer->Describe();
  return line;
}

}  // namespace

ChangeLog::ChangeLog(Config& store, LineWriter& out) : _configID(store.GetConfigID()), _out(out) {
  for (const eParam_t param : store.GetParamIDs()) {
    std::string text;
    unsigned int number;
    if (store.Get(param, number) != 0) {
      _values[param] = number;
    } else if (store.Get(param, text) != 0) {
      _values[param] = text;
    }
  }
}

void ChangeLog::ParamChanged(eParam_t param, unsigned int value, timeval) { Note(param, value); }

void ChangeLog::ParamChanged(eParam_t param, std::string value, timeval) {
  Note(param, std::move(value));
}

void ChangeLog::Note(eParam_t param, programs::Value value) {
  programs::Value& known = _values[param];
  if (known == value) return;
  Change change{programs::Now(),
                _configID,
                param,
                programs::Excerpt(known),
                programs::Excerpt(value),
                NetworkConnection::CurrentPeer()};
  known = std::move(value);
  _out.Write([change = std::move(change)] { return LineOf(change); });
}
