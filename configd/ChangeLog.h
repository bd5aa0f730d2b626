// Prints one line for each change of one store: when, which parameter, from what to what, and who
// made it where that can be told. A set to the value that a parameter has already is no change.
//
// What counts is the value that the store has: a number that is set on a text is announced although
// nothing is stored.
//
// It is one of the store's listeners, and is called with the store's listeners held: it only takes
// what the line is made of. The line is made by the writer.
#pragma once

#include <map>
#include <string>

#include "configd/LineWriter.h"
#include "libconfig/libconfig.h"
#include "programs/ValueText.h"

class ChangeLog : public ConfigEventListener, public MissedEventListener {
 public:
  // Takes the store's values as they are now for the old ones.
  explicit ChangeLog(Config& store, LineWriter& out = LineWriter::Instance());

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;
  void EventMissed(eParam_t) noexcept override { _out.CountLost(); }

 private:
  void Note(eParam_t param, programs::Value value);
  void NoteAndWrite(eParam_t param, programs::Value value);

  Config& _store;
  const eConfigID_t _configID;
  LineWriter& _out;
  std::map<eParam_t, programs::Value> _values;
};
