#include "bench/Allocations.h"

#include <cerrno>

namespace {

thread_local std::size_t t_allocations = 0;

}  // namespace

namespace bench {

std::size_t CountAllocations() { return t_allocations; }

}  // namespace bench

extern "C" {

// The system's own, under its second names.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  ++t_allocations;
  return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  ++t_allocations;
  return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) {
  ++t_allocations;
  return __libc_realloc(memory, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment,
                                                           std::size_t size) {
  ++t_allocations;
  return __libc_memalign(alignment, size);
}

__attribute__((visibility("default"))) int posix_memalign(void** memory, std::size_t alignment,
                                                          std::size_t size) {
  ++t_allocations;
  void* const taken = __libc_memalign(alignment, size);
  if (taken == nullptr) return ENOMEM;
  *memory = taken;
  return 0;
}

}  // extern "C"
