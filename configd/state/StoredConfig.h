// One configuration in the state folder: what is saved of it, and what has changed since. Its
// changes are noted on any thread; restored and saved it is by one thread at a time.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "configd/state/Banks.h"
#include "libconfig/base/Mutex.h"

// Sets the parameter of `value` to it. True when the store then holds exactly that: a value of
// another kind, one that the catalogue does not allow and one that had to be clamped are not.
bool GiveValue(Config& store, ConfigValue& value);

// Whether the store holds exactly that already.
bool HasValue(Config& store, ConfigValue& value);

class StoredConfig {
 public:
  StoredConfig(ConfigManager& store, Banks banks);

  bool IsOf(const ConfigManager& store) const { return &store == &_store; }

  // Gives the store the saved values, where there are any. What the catalogue does not know or
  // would not take is reported, and stays in the file. False, with `why` for a person, when the
  // file cannot be read at present. REQUIRES: nobody listens to the store yet.
  bool Restore(std::string& why);

  // Whether the value of `param` is one that is saved.
  static bool IsSaved(const ParamDescriptor& param);

  // Notes that `param` was set, without an allocation. False when it is none that is saved.
  bool Note(eParam_t param);

  // Writes the values, unless they are those in the file. False, with `why` for a person, when they
  // could not be written; they will be the next time.
  bool Save(std::string& why);

 private:
  bool Apply(ConfigValue& value);
  Sector Collect();

  // Kept until the daemon ends, from its first change on.
  ConfigManager& _store;
  Banks _banks;
  // What the file holds and the store does not, by parameter, until somebody sets the parameter.
  std::map<eParam_t, std::unique_ptr<ConfigValue>> _notInForce;
  std::vector<char> _saved;  // as encoded with odometer 0
  qel::config::Mutex _mutex;
  // Of each parameter that is saved: whether it was set since the last save.
  std::map<eParam_t, bool> _set LIBCONFIG_GUARDED_BY(_mutex);
};
