// Memory flush against unreadable pages: an access outside it ends the program, also one that
// compiled code of other libraries makes.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace robust {

enum class Flush { kAtStart, kAtEnd };

class Pages {
 public:
  Pages(size_t size, Flush flush) : size_(size) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    inner_ = (size + page - 1) / page * page;
    void* block = mmap(nullptr, inner_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) throw std::bad_alloc();
    start_ = static_cast<uint8_t*>(block) + page;
    protect(PROT_READ | PROT_WRITE);
    data_ = flush == Flush::kAtStart ? start_ : start_ + (inner_ - size);
  }
  Pages(Pages&& other) noexcept
      : size_(other.size_),
        inner_(other.inner_),
        start_(std::exchange(other.start_, nullptr)),
        data_(other.data_) {}
  Pages& operator=(Pages&&) = delete;
  ~Pages() {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    if (start_ != nullptr) munmap(start_ - page, inner_ + 2 * page);
  }

  uint8_t* data() { return data_; }
  const uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  void make_read_only() { protect(PROT_READ); }

 private:
  void protect(int access) {
    if (inner_ > 0 && mprotect(start_, inner_, access) != 0) throw std::bad_alloc();
  }

  size_t size_;
  size_t inner_ = 0;
  uint8_t* start_ = nullptr;
  uint8_t* data_ = nullptr;
};

}  // namespace robust
