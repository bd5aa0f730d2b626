// A diagnostic of the process, for a wait that timed out.
#pragma once

#include "libconfig/base/Export.h"

// Writes the call stack to standard error and lets "vmstat" report on the process's output. Takes a
// second at most; a second call meanwhile writes the stack alone.
LIBCONFIG_API void dump_context();
