// Preloaded into a program, so that its allocations fail at random. The file that the environment
// names in FAIL_ALLOCATIONS holds how many of 10,000 are to fail; it is looked at every now and
// then, and may be changed while the program runs.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<unsigned> g_rate{0};
std::atomic<unsigned> g_count{0};

unsigned ReadRate() {
  const char* const path = std::getenv("FAIL_ALLOCATIONS");
  const int fd = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  char text[16] = {};
  const ssize_t size = ::read(fd, text, sizeof text - 1);
  ::close(fd);
  return size <= 0 ? 0 : static_cast<unsigned>(std::atoi(text));
}

bool Fails() {
  const unsigned count = g_count++;
  if (count % 256 == 0) g_rate = ReadRate();
  const unsigned rate = g_rate;
  if (rate == 0) return false;
  // A mixed counter.
  unsigned x = count * 2654435761U;
  x ^= x >> 15;
  x *= 2246822519U;
  x ^= x >> 13;
  return x % 10000 < rate;
}

void* Allocate(std::size_t size) { return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size); }

void* AllocateOrThrow(std::size_t size) {
  void* const block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
