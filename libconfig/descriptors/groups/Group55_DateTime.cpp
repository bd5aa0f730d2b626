// 55 Date and time: setting the unit's clock.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr ParamRow kRows[] = {
    Text(PARAM(DateSet), "Date", "Date", 10, 10, "2000-01-01")
        .Command()
        .Pattern("^20[0-9]{2}-(0[1-9]|1[0-2])-(0[1-9]|[12][0-9]|3[01])$")
        .Help("Sets the date of the unit's clock, as year, month and day. New clips carry it; set "
              "it when the unit was without power for weeks."),
    Text(PARAM(TimeSet), "Time", "Time", 8, 8, "00:00:00")
        .Command()
        .Pattern("^([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]$")
        .Help("Sets the time of the unit's clock, in hours, minutes and seconds of 24 hours. It "
              "is what the timecode source Time of Day counts. See: 8.0 Timecode In."),
};

}  // namespace

void CreateGroup_55(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
