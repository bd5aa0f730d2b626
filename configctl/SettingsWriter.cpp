#include "configctl/SettingsWriter.h"

#include <algorithm>
#include <map>

#include "configctl/TextLayout.h"
#include "configctl/ValueParser.h"
#include "programs/Params.h"
#include "programs/Text.h"

using json = nlohmann::ordered_json;
using programs::ParamName;
using programs::Value;

namespace configctl {
namespace {

constexpr std::size_t kOutcomeWidth = 13;

// What JSON and lines call it, and what a line calls it that only says what would be.
struct OutcomeWords {
  Outcome outcome;
  const char* done;
  const char* dry;
};
constexpr OutcomeWords kOutcomes[] = {
    {Outcome::kPending, "not tried", "not tried"}, {Outcome::kSent, "sent", "sent"},
    {Outcome::kSet, "set", "would set"},           {Outcome::kUnchanged, "unchanged", "unchanged"},
    {Outcome::kClamped, "clamped", "would clamp"}, {Outcome::kSkipped, "skipped", "skipped"},
    {Outcome::kUnknown, "unknown", "unknown"},     {Outcome::kRefused, "refused", "refused"},
    {Outcome::kAltered, "altered", "altered"},     {Outcome::kLeftOut, "left out", "left out"},
};

std::string Word(Outcome outcome, bool isDryRun) {
  for (const OutcomeWords& words : kOutcomes) {
    if (words.outcome == outcome) return isDryRun ? words.dry : words.done;
  }
  return {};
}

std::vector<Change*> InOrder(std::vector<Change>& changes) {
  std::map<eParam_t, Change*> byID;
  std::vector<eParam_t> ids;
  for (Change& change : changes) {
    if (change.outcome != Outcome::kPending) continue;
    ids.push_back(change.param->GetParamID());
    byID[ids.back()] = &change;
  }
  std::vector<Change*> ordered;
  for (const eParam_t id : programs::SelectorsFirst(ids)) ordered.push_back(byID[id]);
  return ordered;
}

}  // namespace

Change PlanChange(const ParamDescriptor& param, const Value& wanted) {
  Change change;
  change.name = ParamName(param);
  change.param = &param;
  change.wanted = wanted;
  change.expected = wanted;
  try {
    const CatalogueCheck check = CheckValue(param, wanted);
    change.expected = check.stored;
    change.remark = check.objection;
  } catch (const Failure& failure) {
    change.remark = failure.what();
  }
  if (!change.remark.empty()) change.outcome = Outcome::kSkipped;
  return change;
}

Change NoChange(const std::string& name, Outcome outcome, const std::string& remark) {
  Change change;
  change.name = name;
  change.outcome = outcome;
  change.remark = remark;
  return change;
}

bool SettingsWriter::IsShort(const Change& change) {
  return change.outcome != Outcome::kSet && change.outcome != Outcome::kUnchanged &&
         change.outcome != Outcome::kLeftOut;
}

void SettingsWriter::Apply(std::vector<Change>& changes) {
  for (const Change& change : changes) {
    if (change.outcome != Outcome::kPending) Print(change);
  }
  std::vector<Change*> ordered = InOrder(changes);
  std::size_t told = 0;
  try {
    // Nobody is asked when there is nothing to do.
    if (!ordered.empty()) {
      Connection connection(_session, Connection::OnTimeout::kEndProgram);
      // What was done before is told when the rest cannot be.
      connection.SetOnTimeout(Connection::OnTimeout::kLoseConnection);
      for (Change* const change : ordered) {
        Carry(connection, *change);
        Print(*change);
        ++told;
      }
      if (!_isDryRun) CheckAgain(connection, ordered);
    }
    PrintSummary(changes);
  } catch (const Failure& failure) {
    for (; told < ordered.size(); ++told) Print(*ordered[told]);
    PrintSummary(changes);
    throw Verdict(failure.GetStatus(), failure.what(), ToJson(changes));
  }
}

void SettingsWriter::Carry(Connection& connection, Change& change) const {
  const eParam_t id = change.param->GetParamID();
  try {
    change.before = connection.Get(id);
    if (*change.before == change.wanted) {
      change.now = change.before;
      change.outcome = Outcome::kUnchanged;
    } else if (_isDryRun) {
      change.now = change.expected;
      change.outcome = change.expected == change.wanted ? Outcome::kSet : Outcome::kClamped;
    } else {
      Set(connection, change);
    }
  } catch (const Failure& failure) {
    if (failure.GetStatus() != Status::kRefused) throw;
    change.outcome = Outcome::kSkipped;
    change.remark = failure.what();
  }
}

void SettingsWriter::Set(Connection& connection, Change& change) const {
  const eParam_t id = change.param->GetParamID();
  // Until it is read back, nobody knows what became of it.
  change.outcome = Outcome::kSent;
  change.remark = change.name + ": " + _session.GetValueText().Line(id, change.wanted) +
                  " was sent and not read back; look with configctl get " + change.name;
  connection.Set(id, change.wanted);
  try {
    change.now = connection.Get(id);
  } catch (const Failure& failure) {
    if (failure.GetStatus() != Status::kRefused) throw;
    return;
  }
  change.remark.clear();
  if (change.now == change.wanted) {
    change.outcome = Outcome::kSet;
  } else if (change.now == change.expected) {
    change.outcome = Outcome::kClamped;
  } else {
    change.outcome = change.now == change.before ? Outcome::kRefused : Outcome::kAltered;
  }
}

// A later one, or somebody else, may have changed an earlier one.
void SettingsWriter::CheckAgain(Connection& connection, std::vector<Change*>& changes) const {
  for (Change* const change : changes) {
    if (!change->now || change->outcome == Outcome::kRefused) continue;
    const Value now = connection.Get(change->param->GetParamID());
    if (now == change->now) continue;
    change->now = now;
    change->outcome = Outcome::kAltered;
    Print(*change);
  }
}

std::string SettingsWriter::Details(const Change& change) const {
  if (!change.remark.empty()) return change.remark;
  if (change.param == nullptr || !change.now) return programs::Escape(change.name);
  const eParam_t id = change.param->GetParamID();
  const auto line = [&](const Value& value) { return _session.GetValueText().Line(id, value); };
  const std::string name = change.name + ": ";
  std::string step = name + line(*change.before) + " -> " + line(*change.now);
  switch (change.outcome) {
    case Outcome::kUnchanged:
      return name + line(*change.now);
    case Outcome::kClamped:
      return step + ", as " + line(change.wanted) + " is beyond the limits";
    case Outcome::kRefused:
      return name + line(change.wanted) + " was not taken, and " + line(*change.now) + " is kept";
    case Outcome::kAltered:
      return name + "reads " + line(*change.now) + " now, and not " + line(change.wanted);
    default:
      return step;
  }
}

void SettingsWriter::Print(const Change& change) const {
  if (_session.WantsJson()) return;
  if (_hidesUnchanged && change.outcome == Outcome::kUnchanged) return;
  _session.Print(Pad(Word(change.outcome, _isDryRun), kOutcomeWidth) + Details(change));
}

void SettingsWriter::PrintSummary(const std::vector<Change>& changes) const {
  if (_session.WantsJson()) return;
  std::vector<std::string> counts;
  for (const OutcomeWords& words : kOutcomes) {
    const auto count = std::count_if(changes.begin(), changes.end(), [&](const Change& change) {
      return change.outcome == words.outcome;
    });
    if (count > 0) {
      counts.push_back(std::to_string(count) + " " + (_isDryRun ? words.dry : words.done));
    }
  }
  _session.Print(std::to_string(changes.size()) + (changes.size() == 1 ? " value" : " values") +
                 (counts.empty() ? "" : ": " + Join(counts)));
}

json SettingsWriter::ToJson(const std::vector<Change>& changes) const {
  json list = json::array();
  for (const Change& change : changes) {
    json object = {{"name", change.name}};
    if (change.param != nullptr) {
      const eParam_t id = change.param->GetParamID();
      if (change.now) object = _session.ToJson(id, *change.now);
      if (change.before) object["before"] = _session.ToJson(id, *change.before)["value"];
      object["asked"] = _session.ToJson(id, change.wanted)["value"];
    }
    object["outcome"] = Word(change.outcome, false);
    if (!change.remark.empty()) object["message"] = change.remark;
    list.push_back(object);
  }
  return {{"dry_run", _isDryRun}, {"values", list}};
}

}  // namespace configctl
