#pragma once

#include <memory>
#include <new>
#include <utility>

namespace kel {

// For std::vector: memory that is written before it is read need not be zero.
template <typename T>
struct Uninitialised : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = Uninitialised<U>;
  };
  template <typename U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Values>
  void construct(U* place, Values&&... values) {
    ::new (static_cast<void*>(place)) U(std::forward<Values>(values)...);
  }
};

}  // namespace kel
