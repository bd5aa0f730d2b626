// The wall clock of this test program. It stands still, and goes where a test puts it.
#pragma once

namespace testing_support {

void SetClock(long seconds, long microseconds);
void AdvanceClock(long milliseconds);

}  // namespace testing_support
