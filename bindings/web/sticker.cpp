// A sticker of a photograph and a mask of the same size: what lies between the library's calls.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "morvik/morvik.h"
#include "tools/sticker_colors.h"
#include "tools/sticker_shape.h"

namespace {

using Mask = std::vector<uint8_t>;

struct Size {
  int width;
  int height;
};

QX_OFFSCREEN gray(uint8_t* pixels, Size size) {
  QX_OFFSCREEN image{};
  image.format = QX_FMT_GRAY;
  image.width = size.width;
  image.height = size.height;
  image.plane[0] = pixels;
  image.pitch[0] = size.width;
  return image;
}

int edge_kernel(Size size) { return tool::edge_kernel(size.width, size.height); }

void blur(uint8_t* dst, uint8_t* src, Size size, int kernel) {
  const QX_OFFSCREEN from = gray(src, size);
  const QX_OFFSCREEN to = gray(dst, size);
  mvk_smooth(&from, &to, static_cast<uint32_t>(kernel), MKBlur::Gaussian, 0, 0, 0);
}

bool is_soft(const uint8_t* mask, Size size) {
  return std::any_of(mask, mask + ptrdiff_t{size.width} * size.height,
                     [](uint8_t value) { return value != 0 && value != 255; });
}

// A soft edge inside the mask's.
Mask softened(uint8_t* mask, Size size) {
  Mask soft(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
  blur(soft.data(), mask, size, edge_kernel(size));
  for (uint8_t& value : soft) value = static_cast<uint8_t>(std::max(0, 2 * value - 255));
  return soft;
}

// How the mask's edge is taken: kOwn means as it is where the mask is soft.
enum class Edge : uint32_t { kSoftened, kAsItIs, kOwn };

struct Range {
  int32_t low = std::numeric_limits<int32_t>::max();
  int32_t high = 0;
  void add(int32_t value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  int32_t length() const { return high - low + 1; }
};

// The outline's pixels become 255; only its box is worked on.
void fill(Mask& shape, Size size, const int32_t* coordinates, uint32_t count) {
  Range across;
  Range down;
  for (uint32_t i = 0; i < count; ++i) {
    across.add(coordinates[2 * i]);
    down.add(coordinates[2 * i + 1]);
  }
  std::vector<TPOINT> points(count);
  for (uint32_t i = 0; i < count; ++i) {
    points[i] = {coordinates[2 * i] - across.low, coordinates[2 * i + 1] - down.low};
  }
  const Size box{across.length(), down.length()};
  Mask part(static_cast<size_t>(box.width) * static_cast<size_t>(box.height));
  const QX_OFFSCREEN image = gray(part.data(), box);
  mvk_fill_area_up(&image, count, points.data());
  const uint8_t* from = part.data();
  for (int32_t y = down.low; y <= down.high; ++y, from += box.width) {
    uint8_t* to = shape.data() + ptrdiff_t{y} * size.width + across.low;
    std::transform(to, to + box.width, from, to,
                   [](uint8_t a, uint8_t b) { return std::max(a, b); });
  }
}

// The mask grown by the border, its outlines smoothed, with soft edges; empty when no pixel is
// above 127.
Mask grown(uint8_t* mask, Size size, uint16_t expand) {
  const MKOutlineMode mode = tool::border_mode(expand);
  const QX_OFFSCREEN image = gray(mask, size);
  void* handle = mvk_outline_create();
  MKGetOutline found{};
  const uint32_t code = mvk_outline_expansion(handle, &image, &mode, &found);
  Mask shape;
  if (code == MVK_OK) {
    shape.resize(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
    for (uint32_t i = 0; i < found.contour_count; ++i) {
      if (found.point_counts[i] > 0) fill(shape, size, found.points[i], found.point_counts[i]);
    }
    blur(shape.data(), shape.data(), size, edge_kernel(size) + 2);
  }
  mvk_outline_destroy(handle, &found);
  return shape;
}

// Photograph where it is covered, colour around it, nothing beyond.
void compose(uint8_t* dst, const uint8_t* photo, const uint8_t* covered, const uint8_t* border,
             Size size, const std::array<uint8_t, 3>& color) {
  tool::InnerColors inner(photo, 4, covered, size.width, size.height, edge_kernel(size));
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x, dst += 4, photo += 4) {
      const unsigned share = *covered++;
      const unsigned alpha = std::max(share, unsigned{*border++});
      if (share == 255) {
        std::copy_n(photo, 4, dst);
        continue;
      }
      if (alpha == 0) {
        std::fill_n(dst, 4, uint8_t{0});  // nothing of the background stays
        continue;
      }
      std::copy_n(color.begin(), 3, dst);
      if (share != 0) {
        const std::array<uint8_t, 3> pixel = inner.color_at(x, y);
        for (size_t c = 0; c < 3; ++c)
          dst[c] = tool::mixed(pixel[c], color[c], share * 255 / alpha);
      }
      dst[3] = static_cast<uint8_t>((alpha * photo[3] + 127) / 255);
    }
  }
}

}  // namespace

extern "C" {

// dst and photo have 4 bytes a pixel, alpha last; `color` is that of the border, its first byte the
// lowest. Returns MVK_NOT_FOUND when no pixel of the mask is above 127.
uint32_t web_sticker(uint8_t* dst, const uint8_t* photo, uint8_t* mask, int width, int height,
                     uint32_t expand, uint32_t color, Edge edge) {
  const Size size{width, height};
  Mask soft;
  Mask shape;
  const bool as_it_is = edge == Edge::kAsItIs || (edge == Edge::kOwn && is_soft(mask, size));
  if (!as_it_is) soft = softened(mask, size);
  const uint8_t* covered = as_it_is ? mask : soft.data();
  if (expand != 0) {
    shape = grown(mask, size, static_cast<uint16_t>(expand));
    if (shape.empty()) return MVK_NOT_FOUND;
  }
  const std::array<uint8_t, 3> bytes{static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8),
                                     static_cast<uint8_t>(color >> 16)};
  compose(dst, photo, covered, expand != 0 ? shape.data() : covered, size, bytes);
  return MVK_OK;
}

}  // extern "C"
