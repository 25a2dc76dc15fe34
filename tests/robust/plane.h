// Memory flush against unreadable pages: an access outside it ends the program, also one that
// compiled code of other libraries makes.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace robust {

enum class Flush { kAtStart, kAtEnd };

class Plane {
 public:
  Plane(size_t bytes, Flush flush) : size(bytes), inner_((bytes + page_ - 1) / page_ * page_) {
    void* block = mmap(nullptr, inner_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) throw std::bad_alloc();
    start_ = static_cast<uint8_t*>(block) + page_;
    protect(PROT_READ | PROT_WRITE);
    data = flush == Flush::kAtStart ? start_ : start_ + (inner_ - size);
  }
  Plane(const Plane&) = delete;
  Plane& operator=(const Plane&) = delete;
  ~Plane() { munmap(start_ - page_, inner_ + 2 * page_); }
  void protect(int access) {
    if (inner_ > 0 && mprotect(start_, inner_, access) != 0) throw std::bad_alloc();
  }

  const size_t size;
  uint8_t* data;
  bool source = false;
  size_t step = 1;
  size_t used = 1;  // of a row; the rest is padding

 private:
  const size_t page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t inner_;
  uint8_t* start_;
};

}  // namespace robust
