// Gives settings new values, and tells line by line what became of each: it is checked by the
// catalogue first, then set, then read back.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "configctl/Connection.h"
#include "configctl/Session.h"

namespace configctl {

enum class Outcome {
  kPending,  // to be done, or not reached
  kSent,     // may have been stored, and was not read back
  kSet,
  kUnchanged,
  kClamped,  // stored as the nearest number inside the limits
  kSkipped,  // cannot be set, and was not tried
  kUnknown,  // names no parameter
  kRefused,  // the old value was kept
  kAltered,  // reads as something else
  kLeftOut,  // nobody asked for it
};

// One setting and the value it shall have.
struct Change {
  std::string name;
  const ParamDescriptor* param = nullptr;  // null when unknown
  programs::Value wanted;
  Outcome outcome = Outcome::kPending;
  std::string remark;                     // why it was not set
  programs::Value expected;               // what a store makes of it
  std::optional<programs::Value> before;  // as far as it was read
  std::optional<programs::Value> now;
};

// With `expected` and, where the catalogue objects, the reason why it is skipped.
Change PlanChange(const ParamDescriptor& param, const programs::Value& wanted);
// For what is already known to be not done.
Change NoChange(const std::string& name, Outcome outcome, const std::string& remark);

class SettingsWriter {
 public:
  SettingsWriter(const Session& session, bool isDryRun) : _session(session), _isDryRun(isDryRun) {}

  // Has no lines for settings that have their value already; they are only counted.
  void HideUnchanged() { _hidesUnchanged = true; }

  // Selectors first. Prints as it goes, and a line with the numbers at the end. Throws Failure when
  // the connection is lost; what was not reached is told then.
  void Apply(std::vector<Change>& changes);

  // Whether the setting has not got the value that it shall have.
  static bool IsShort(const Change& change);
  nlohmann::ordered_json ToJson(const std::vector<Change>& changes) const;

 private:
  void Carry(Connection& connection, Change& change) const;
  void Set(Connection& connection, Change& change) const;
  void CheckAgain(Connection& connection, std::vector<Change*>& changes) const;
  void Print(const Change& change) const;
  void PrintSummary(const std::vector<Change>& changes) const;
  std::string Details(const Change& change) const;

  const Session& _session;
  const bool _isDryRun;
  bool _hidesUnchanged = false;
};

}  // namespace configctl
