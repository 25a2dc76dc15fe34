// Small value types shared by the pixel and the landmark code.
#pragma once

namespace kel {

template <typename T>
struct Point2D_ {
  T x;
  T y;
};

template <typename T>
struct Size_ {
  T width;
  T height;
};

template <typename T>
struct Scalar_ {
  T v[4];
};

}  // namespace kel
