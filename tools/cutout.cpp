#include "cutout.h"

#include <algorithm>
#include <array>

#include "outlines.h"
#include "sticker_shape.h"

namespace tool {
namespace {

int edge_kernel(Size size) { return tool::edge_kernel(size.width, size.height); }

Picture blurred(const Picture& mask, int kernel, Session& session) {
  Picture result(QX_FMT_GRAY, mask.size());
  session.call("mvk_smooth", [&] {
    return mvk_smooth(mask.view().record(), result.view().record(), static_cast<uint32_t>(kernel),
                      MKBlur::Gaussian, 0, 0, 0);
  });
  return result;
}

// The outline's pixels become 255; only its box is worked on.
void fill(Picture& shape, Outline outline, Session& session) {
  const auto [left, right] = std::minmax_element(outline.begin(), outline.end(),
                                                 [](TPOINT a, TPOINT b) { return a.x < b.x; });
  const auto [top, bottom] = std::minmax_element(outline.begin(), outline.end(),
                                                 [](TPOINT a, TPOINT b) { return a.y < b.y; });
  const TPOINT start{left->x, top->y};
  Picture part(QX_FMT_GRAY, {right->x - left->x + 1, bottom->y - top->y + 1});
  for (TPOINT& point : outline) point = {point.x - start.x, point.y - start.y};
  session.call("mvk_fill_area_up", [&] {
    return mvk_fill_area_up(part.view().record(), static_cast<uint32_t>(outline.size()),
                            outline.data());
  });
  for (int y = 0; y < part.height(); ++y) {
    uint8_t* to = shape.row(y + start.y) + start.x;
    std::transform(to, to + part.width(), part.row(y), to,
                   [](uint8_t a, uint8_t b) { return std::max(a, b); });
  }
}

// Mean colour of the fully covered pixels around each pixel of a row. Sums of columns follow the
// row downwards, so that a pixel costs one step across the window only.
class InnerColors {
 public:
  InnerColors(const Picture& photo, const Picture& covered, int radius)
      : photo_(photo), covered_(covered), radius_(radius) {
    for (Sums& sums : columns_) sums.resize(static_cast<size_t>(photo.width()));
    for (int y = 0; y < std::min(radius, photo.height()); ++y) add_row(y, 1);
  }

  // Rows are asked for in order, from the first.
  void go_to(int y) {
    if (y + radius_ < photo_.height()) add_row(y + radius_, 1);
    if (y > radius_) add_row(y - radius_ - 1, -1);
  }

  // False when no covered pixel is near.
  bool color_at(int x, uint8_t* pixel) const {
    std::array<int32_t, 4> sums{};
    const auto begin = static_cast<size_t>(std::max(0, x - radius_));
    const auto end = static_cast<size_t>(std::min(photo_.width(), x + radius_ + 1));
    for (size_t c = 0; c < sums.size(); ++c) {
      for (size_t i = begin; i < end; ++i) sums[c] += columns_[c][i];
    }
    if (sums[3] == 0) return false;
    for (size_t c = 0; c < 3; ++c) {
      pixel[c] = static_cast<uint8_t>((sums[c] + sums[3] / 2) / sums[3]);
    }
    return true;
  }

 private:
  using Sums = std::vector<int32_t>;

  void add_row(int y, int32_t sign) {
    const uint8_t* pixel = photo_.row(y);
    const uint8_t* cover = covered_.row(y);
    for (size_t x = 0; x < columns_[3].size(); ++x, pixel += 3) {
      const int32_t count = cover[x] == 255 ? sign : 0;
      columns_[0][x] += count * pixel[0];
      columns_[1][x] += count * pixel[1];
      columns_[2][x] += count * pixel[2];
      columns_[3][x] += count;
    }
  }

  const Picture& photo_;
  const Picture& covered_;
  int radius_;
  std::array<Sums, 4> columns_;  // blue, green, red and the number of pixels
};

uint8_t mixed(unsigned inner, unsigned outer, unsigned share) {
  return static_cast<uint8_t>((inner * share + outer * (255 - share) + 127) / 255);
}

}  // namespace

bool is_soft(const Picture& mask) {
  return std::any_of(mask.bytes().begin(), mask.bytes().end(),
                     [](uint8_t value) { return value != 0 && value != 255; });
}

Picture coverage(const Picture& mask, bool as_it_is, Session& session) {
  if (as_it_is) return mask;
  Picture soft = blurred(mask, edge_kernel(mask.size()), session);
  uint8_t* row = soft.row(0);
  std::transform(row, row + soft.bytes().size(), row,
                 [](int value) { return static_cast<uint8_t>(std::max(0, 2 * value - 255)); });
  return soft;
}

Picture grown(const Picture& mask, uint16_t expand, Session& session) {
  Picture shape(QX_FMT_GRAY, mask.size());
  for (Outline& outline : trace(mask, border_mode(expand), session)) {
    fill(shape, std::move(outline), session);
  }
  return blurred(shape, edge_kernel(mask.size()) + 2, session);
}

Picture composed(const Picture& photo, const Picture& covered, const Picture& border, Color color) {
  const unsigned outer[3] = {color.blue, color.green, color.red};
  Picture sticker(QX_FMT_ARGB, photo.size());
  InnerColors inner(photo, covered, edge_kernel(photo.size()));
  for (int y = 0; y < photo.height(); ++y) {
    inner.go_to(y);
    const uint8_t* from = photo.row(y);
    const uint8_t* cover = covered.row(y);
    const uint8_t* edge = border.row(y);
    uint8_t* to = sticker.row(y);
    for (int x = 0; x < photo.width(); ++x, from += 3, to += 4) {
      const unsigned share = cover[x];
      const unsigned alpha = std::max(cover[x], edge[x]);
      if (alpha == 0) continue;  // nothing of the background stays in the file
      uint8_t pixel[3] = {from[0], from[1], from[2]};
      if (share != 0 && share != 255) inner.color_at(x, pixel);
      for (int c = 0; c < 3; ++c) to[c] = mixed(pixel[c], outer[c], share * 255 / alpha);
      to[3] = static_cast<uint8_t>(alpha);
    }
  }
  return sticker;
}

}  // namespace tool
