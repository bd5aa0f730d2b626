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

bool Read(Config& store, eParam_t param, programs::Value& value) {
  unsigned int number;
  std::string text;
  if (store.Get(param, number) != 0) {
    value = number;
  } else if (store.Get(param, text) != 0) {
    value = std::move(text);
  } else {
    return false;
  }
  return true;
}

}  // namespace

ChangeLog::ChangeLog(Config& store, LineWriter& out)
    : _store(store), _configID(store.GetConfigID()), _out(out) {
  for (const eParam_t param : store.GetParamIDs()) {
    programs::Value value;
    if (Read(store, param, value)) _values[param] = std::move(value);
  }
}

void ChangeLog::ParamChanged(eParam_t param, unsigned int value, timeval) { Note(param, value); }

void ChangeLog::ParamChanged(eParam_t param, std::string value, timeval) {
  Note(param, std::move(value));
}

// What fails here must not keep the store's other listeners from hearing of the change.
void ChangeLog::Note(eParam_t param, programs::Value value) {
  try {
    NoteAndWrite(param, std::move(value));
  } catch (const std::bad_alloc&) {
    _out.CountLost();
  }
}

void ChangeLog::NoteAndWrite(eParam_t param, programs::Value value) {
  programs::Value& known = _values[param];
  if (known == value) return;
  // A number that is set on a text is announced, and not stored. The other way round, too.
  if (known.index() != value.index() && Read(_store, param, value) && known == value) return;
  Change change{programs::Now(),
                _configID,
                param,
                programs::Excerpt(known),
                programs::Excerpt(value),
                NetworkConnection::CurrentPeer()};
  known = std::move(value);
  _out.Write([change = std::move(change)] { return LineOf(change); });
}
