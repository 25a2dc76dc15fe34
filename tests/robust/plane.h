// Memory flush against unreadable pages: an access outside it ends the program, also one that
// compiled code of other libraries makes.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace robust {

enum class Flush { kAtStart, kAtEnd };

inline const auto kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));

// Single pages that planes have left: small images take less time than mapping memory does.
struct KeptPages {
  size_t count = 0;
  std::array<uint8_t*, 8> pages;
  ~KeptPages() {
    while (count > 0) munmap(pages[--count] - kPage, 3 * kPage);
  }
};

class Plane {
 public:
  Plane(size_t bytes, Flush flush) : size(bytes), inner_((bytes + kPage - 1) / kPage * kPage) {
    if (!reuse()) {
      void* block =
          mmap(nullptr, inner_ + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (block == MAP_FAILED) throw std::bad_alloc();
      start_ = static_cast<uint8_t*>(block) + kPage;
    }
    protect(PROT_READ | PROT_WRITE);
    data = flush == Flush::kAtStart ? start_ : start_ + (inner_ - size);
    std::memset(data, 0, size);
  }
  Plane(const Plane&) = delete;
  Plane& operator=(const Plane&) = delete;
  ~Plane() {
    if (inner_ == kPage && kept_.count < kept_.pages.size()) {
      kept_.pages[kept_.count++] = start_;
    } else {
      munmap(start_ - kPage, inner_ + 2 * kPage);
    }
  }
  void protect(int access) {
    if (inner_ > 0 && mprotect(start_, inner_, access) != 0) throw std::bad_alloc();
  }

  const size_t size;
  uint8_t* data;
  bool source = false;
  size_t step = 1;
  size_t used = 1;  // of a row; the rest is padding

 private:
  bool reuse() {
    if (inner_ != kPage || kept_.count == 0) return false;
    start_ = kept_.pages[--kept_.count];
    return true;
  }

  inline static thread_local KeptPages kept_;
  const size_t inner_;
  uint8_t* start_;
};

}  // namespace robust
