// 9 Interval recording: a few frames now and then.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr unsigned kDay = 24 * 60 * 60;

constexpr ParamRow kRows[] = {
    Enum(PARAM(IntervalRecord), "Interval Record", "Interval", kOffOn, kOff)
        .Help("On records a few frames at regular intervals instead of continuously, for "
              "time-lapse. See: 9.2 Interval Frames, 9.3 Interval Time."),
    Integer(PARAM(IntervalFrames), "Interval Frames", "IntFrams", 1, 120, 1)
        .Unit("frames")
        .EnabledBy(eParamID_IntervalRecord, kOn)
        .Help("How many frames are recorded at each interval. Use 1 for the smoothest time-lapse."),
    Integer(PARAM(IntervalTime), "Interval Time", "Int Time", 1, kDay, 10)
        .Unit("s")
        .EnabledBy(eParamID_IntervalRecord, kOn)
        .Help("The time from the beginning of one interval to the next. At 25 frames per second, "
              "10 seconds and 1 frame make a day pass in under six minutes."),
};

}  // namespace

void CreateGroup_9(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
