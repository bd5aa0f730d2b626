// 60 Suppressed alarms: which alarms an operator has chosen not to see.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kSuppress[] = {{0, "Normal"}, {1, "Suppress"}};

constexpr ParamRow kRows[] = {
    Enum(PARAM(SuppressPSAlarm), "Power Supply Alarm", "PS Alarm", kSuppress, 0)
        .Tagged(kAlarmSuppress)
        .Group(2)
        .Menu("60.1")
        .Help("Suppress silences the alarm that tells of a power supply that is off. Use it on a "
              "unit that is run from one supply on purpose."),
};

}  // namespace

void CreateGroup_AlarmSuppress(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
