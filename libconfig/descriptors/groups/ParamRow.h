// A parameter of the catalogue as one row of data. Internal.
//
// A group's file lists its rows and hands them to the builder:
//
//   constexpr ParamRow kRows[] = {
//       Enum(PARAM(GenLock), "Genlock", "GenLock", kReferences, 0)
//           .Help("Selects the reference that ..."),
//       Text(PARAM(ReelName), "Reel Name", "Reel", 0, 24, "001").Help("..."),
//   };
//
// PARAM(x) gives the identifier and its symbolic name from the one enumerator eParamID_x.
#pragma once

#include <cstddef>

#include "libconfig/descriptors/ParamIDs.h"

#define PARAM(x) \
  ::qel::config::ParamName { eParamID_##x, "eParamID_" #x }

namespace qel::config {

struct ParamName {
  eParam_t id;
  const char* idName;
};

// One choice of an enumeration; without a short name the name serves for both.
struct Choice {
  unsigned value;
  const char* name;
  const char* shortName = nullptr;
};

// A list of choices in display order, written once and shared by the parameters that offer it.
struct Choices {
  constexpr Choices() = default;
  template <std::size_t N>
  constexpr Choices(const Choice (&list)[N]) : rows(list), count(N) {}  // NOLINT(runtime/explicit)

  const Choice* rows = nullptr;
  std::size_t count = 0;
};

// Tags that user interfaces and caches go by, to be combined with |.
enum Tag : unsigned {
  kReadOnly = 1 << 0,
  kVolatile = 1 << 1,
  kHidden = 1 << 2,
  kPanelHidden = 1 << 3,
  kRestHidden = 1 << 4,
  kWebHidden = 1 << 5,
  kDoNotValidate = 1 << 6,
  kAlarmSuppress = 1 << 7,
};

// What happens to a value over restarts, presets and factory resets.
enum class Keeping {
  kSetting,   // kept, in presets, restored by a factory reset
  kIdentity,  // kept, but neither in presets nor touched by a factory reset
  kWorking,   // kept and restored by a factory reset, but not in presets: where the work stands
  kState,     // what the device reports or is told to do: none of the three
};

class ParamRow {
  // First, because a constant expression may only call what stands before it.
  template <typename Change>
  constexpr ParamRow With(Change change) const {
    ParamRow row = *this;
    change(row);
    return row;
  }

 public:
  enum class Kind { kInteger, kEnum, kText };

  constexpr ParamRow(ParamName param, Kind rowKind, const char* displayName, const char* panelName)
      : id(param.id),
        idName(param.idName),
        kind(rowKind),
        name(displayName),
        shortName(panelName) {}

  // Each returns the row with one thing more.
  constexpr ParamRow Help(const char* sentences) const {
    return With([&](ParamRow& row) { row.help = sentences; });
  }
  constexpr ParamRow Keep(Keeping how) const {
    return With([&](ParamRow& row) { row.keeping = how; });
  }
  constexpr ParamRow Tagged(unsigned tagBits) const {
    return With([&](ParamRow& row) { row.tags = tagBits; });
  }
  // The usual keeping and tags of what the unit reports, of what it is told to do, and of how that
  // ended. A value that changes too fast for a cache, or must never come from one, is an outcome.
  constexpr ParamRow Report() const { return Keep(Keeping::kState).Tagged(kReadOnly); }
  constexpr ParamRow Command() const { return Keep(Keeping::kState).Tagged(kVolatile); }
  constexpr ParamRow Outcome() const { return Keep(Keeping::kState).Tagged(kReadOnly | kVolatile); }
  constexpr ParamRow Menu(const char* menu) const {
    return With([&](ParamRow& row) { row.menuNumber = menu; });
  }
  // The "ParamGroup" attribute where the identifier's own group does not tell it.
  constexpr ParamRow Group(unsigned paramGroup) const {
    return With([&](ParamRow& row) { row.group = paramGroup; });
  }
  constexpr ParamRow Feature(int featureType) const {
    return With([&](ParamRow& row) { row.feature = featureType; });
  }
  constexpr ParamRow Step(unsigned by) const {
    return With([&](ParamRow& row) { row.adjustBy = by; });
  }
  // What the number counts, and how it is shown: value * scale / 10^precision.
  constexpr ParamRow Unit(const char* unit, unsigned scale = 1, unsigned digits = 0) const {
    return With([&](ParamRow& row) {
      row.units = unit;
      row.scaleBy = scale;
      row.precision = digits;
    });
  }
  constexpr ParamRow Pattern(const char* regEx) const {
    return With([&](ParamRow& row) { row.pattern = regEx; });
  }
  // A flag among the attributes, such as "password".
  constexpr ParamRow Flag(const char* attribute) const {
    return With([&](ParamRow& row) { row.flag = attribute; });
  }
  // How tools read and write a number that is more than a number, such as "ipv4".
  constexpr ParamRow Format(const char* formatName) const {
    return With([&](ParamRow& row) { row.format = formatName; });
  }
  // Idle unless `param` holds `value`. Said more than once, any one of them is enough.
  constexpr ParamRow EnabledBy(eParam_t param, unsigned value) const {
    return With([&](ParamRow& row) { row.enabledBy[row.enabledByCount++] = {param, value}; });
  }
  // The parameters whose meaning changes with this one.
  template <typename... Params>
  constexpr ParamRow Dependents(Params... params) const {
    static_assert(sizeof...(params) <= kMaxDependents, "raise kMaxDependents");
    return With([&](ParamRow& row) { ((row.dependents[row.dependentCount++] = params), ...); });
  }

  struct EnabledByRelation {
    eParam_t param;
    unsigned value;
  };
  static constexpr std::size_t kMaxEnabledBy = 4;
  static constexpr std::size_t kMaxDependents = 8;

  eParam_t id;
  const char* idName;
  Kind kind;
  const char* name;
  const char* shortName;
  const char* help = "";
  Keeping keeping = Keeping::kSetting;
  unsigned tags = 0;
  int feature = 3;
  const char* menuNumber = nullptr;
  unsigned group = 0;
  const char* pattern = "*";
  const char* flag = nullptr;
  const char* format = nullptr;
  Choices choices;
  unsigned min = 0;  // of the number, or of the text's length
  unsigned max = 0xFFFFFFFF;
  unsigned number = 0;
  const char* text = "";
  unsigned adjustBy = 1;
  unsigned scaleBy = 1;
  unsigned precision = 0;
  const char* units = "";
  EnabledByRelation enabledBy[kMaxEnabledBy] = {};
  std::size_t enabledByCount = 0;
  eParam_t dependents[kMaxDependents] = {};
  std::size_t dependentCount = 0;
};

constexpr ParamRow Enum(ParamName param, const char* name, const char* shortName, Choices choices,
                        unsigned factoryDefault) {
  ParamRow row(param, ParamRow::Kind::kEnum, name, shortName);
  row.choices = choices;
  row.number = factoryDefault;
  return row;
}

constexpr ParamRow Integer(ParamName param, const char* name, const char* shortName, unsigned min,
                           unsigned max, unsigned factoryDefault) {
  ParamRow row(param, ParamRow::Kind::kInteger, name, shortName);
  row.min = min;
  row.max = max;
  row.number = factoryDefault;
  return row;
}

constexpr ParamRow Text(ParamName param, const char* name, const char* shortName,
                        unsigned minLength, unsigned maxLength, const char* factoryDefault) {
  ParamRow row(param, ParamRow::Kind::kText, name, shortName);
  row.min = minLength;
  row.max = maxLength;
  row.text = factoryDefault;
  return row;
}

}  // namespace qel::config
