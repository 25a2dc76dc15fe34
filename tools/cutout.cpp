#include "cutout.h"

#include <algorithm>
#include <array>

#include "outlines.h"
#include "sticker_colors.h"
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
  InnerColors inner(photo.row(0), 3, covered.row(0), photo.width(), photo.height(),
                    edge_kernel(photo.size()));
  for (int y = 0; y < photo.height(); ++y) {
    const uint8_t* from = photo.row(y);
    const uint8_t* cover = covered.row(y);
    const uint8_t* edge = border.row(y);
    uint8_t* to = sticker.row(y);
    for (int x = 0; x < photo.width(); ++x, from += 3, to += 4) {
      const unsigned share = cover[x];
      const unsigned alpha = std::max(cover[x], edge[x]);
      if (alpha == 0) continue;  // nothing of the background stays in the file
      std::array<uint8_t, 3> pixel{from[0], from[1], from[2]};
      if (share != 0 && share != 255) pixel = inner.color_at(x, y);
      for (size_t c = 0; c < 3; ++c) to[c] = mixed(pixel[c], outer[c], share * 255 / alpha);
      to[3] = static_cast<uint8_t>(alpha);
    }
  }
  return sticker;
}

}  // namespace tool
