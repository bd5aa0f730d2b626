#include "configd/ChangeLog.h"

#include "configd/LineWriter.h"
#include "programs/Clock.h"

using qel::vorlane::config::access::NetworkConnection;

ChangeLog::ChangeLog(Config& store) : _configID(store.GetConfigID()) {
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
  const programs::ValueText show;
  std::string line = programs::LocalTime(programs::Now()) + "  ";
  if (_configID != eConfigID_Default) {
    line += "configuration " + std::to_string(_configID) + "  ";
  }
  line += programs::ParamName(param) + ": " + show.Line(param, known) + " -> " +
          show.Line(param, value);
  if (NetworkConnection* const peer = NetworkConnection::Current()) {
    line += "  by " + peer->GetPeerName();
  }
  known = std::move(value);
  LineWriter::Instance().Write(std::move(line));
}
