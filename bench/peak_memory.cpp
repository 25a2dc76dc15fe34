#include "peak_memory.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

// glibc's own allocator under its second name; the replacements below count and forward to it.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);
}

namespace bench {
namespace {

std::atomic<size_t> held{0};
std::atomic<size_t> peak{0};
std::atomic<size_t> held_at_reset{0};

void* count(void* memory) {
  const size_t now = held += malloc_usable_size(memory);
  size_t seen = peak;
  while (now > seen && !peak.compare_exchange_weak(seen, now)) {
  }
  return memory;
}

void discount(void* memory) { held -= malloc_usable_size(memory); }

}  // namespace

void reset_peak() {
  held_at_reset = held.load();
  peak = held.load();
}

size_t peak_since_reset() { return peak - held_at_reset; }

}  // namespace bench

// Exported, so that the shared libraries use them, too.
#pragma GCC visibility push(default)
extern "C" {
void* malloc(size_t size) { return bench::count(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return bench::count(__libc_calloc(count, size)); }
void* realloc(void* memory, size_t size) {
  bench::discount(memory);
  return bench::count(__libc_realloc(memory, size));
}
void* memalign(size_t alignment, size_t size) {
  return bench::count(__libc_memalign(alignment, size));
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** memory, size_t alignment, size_t size) {
  *memory = memalign(alignment, size);
  return *memory != nullptr ? 0 : ENOMEM;
}
void free(void* memory) {
  bench::discount(memory);
  __libc_free(memory);
}
}
#pragma GCC visibility pop
