// Counts what the calling thread takes from the heap, by whatever way: the program's malloc stands
// before the system's, for the library too.
#pragma once

#include <cstddef>

namespace bench {

std::size_t CountAllocations();

}  // namespace bench
