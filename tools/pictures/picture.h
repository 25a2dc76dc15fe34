// Pixels in the tool's own memory. Rows are always packed, so that a picture suits every operation
// of the library, those that ignore the pitch included.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "morvik/morvik.hpp"

namespace tool {

using Bytes = std::vector<uint8_t>;

// Formats as typed on the command line and as ending of raw files: "rgb24", "nv21" and so on.
std::vector<std::string> format_names();
std::string format_name(uint32_t code);
uint32_t find_format(std::string_view name);  // 0 for an unknown name
int planes_of(uint32_t code);

// Larger pictures are refused before memory is taken: OpenCV's warp, for turns by any angle, ends
// at 32766 a side, and 100 million pixels keep a run within about a gigabyte.
inline constexpr int kMaxSide = 32766;
inline constexpr int64_t kMaxPixels = 100'000'000;

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};
std::string to_string(Size size);  // "640x480"

// Throws a Failure that says what is accepted.
void check_size(int64_t width, int64_t height);

class Picture {
 public:
  // Black and transparent; the chroma of two-plane formats is neutral. Its rows have room for the
  // rounded-up number of pairs.
  Picture(uint32_t format, Size size);

  uint32_t format() const { return format_; }
  Size size() const { return size_; }
  int width() const { return size_.width; }
  int height() const { return size_.height; }

  size_t row_bytes(int plane = 0) const;
  int rows(int plane = 0) const;
  uint8_t* row(int y, int plane = 0);
  const uint8_t* row(int y, int plane = 0) const;
  const Bytes& bytes() const { return bytes_; }  // plane 0, then plane 1

  // What the library is given: view().record().
  morvik::View view();
  morvik::ConstView view() const;

 private:
  uint32_t format_;
  Size size_;
  Bytes bytes_;
};

// What a file says about its colours. It travels with the pixels and is never applied to them.
struct ColorTags {
  Bytes icc{};
  int gamma = 0;  // a PNG's gAMA, times 100,000; 0 without one
};

// Whether a profile describes pixels of a format: gray ones or coloured ones.
bool profile_fits(const Bytes& icc, uint32_t format);

}  // namespace tool
