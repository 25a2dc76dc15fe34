// A camera frame with padded rows, from the sensor's position to a sticker on a page: upright, at
// the network's size, the network's mask back on the frame, its outline, the sticker.
//   upright FRAME.nv21 WIDTH HEIGHT STRIDE DEGREES MASK.gray WIDTH HEIGHT
// The network is not part of it: MASK is what it would return for the upright frame.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <morvik/morvik.hpp>

namespace {

using morvik::ConstView;
using morvik::Format;
using morvik::Image;
using morvik::Size;

//! [upright]
// The frame as a person sees it, in blue, green, red. degrees is how far the picture has to be
// turned clockwise; rows of both planes may be padded.
Image upright(const ConstView& frame, int degrees) {
  return morvik::convert(morvik::rotate(frame, degrees), Format::rgb24);
}

// What the network gets, and its mask at the size of the upright picture.
Image network_input(const ConstView& picture) { return morvik::resize(picture, {256, 256}); }
Image full_mask(const ConstView& picture, const ConstView& from_network) {
  return morvik::smooth_mask(picture, from_network, {/*snap=*/true, /*limit=*/400});
}
//! [upright]

//! [sticker]
// The picture where the mask is, white up to 12 pixels around it, transparent beyond.
Image sticker(const ConstView& picture, const ConstView& mask) {
  Image shape(Format::gray, mask.size());
  for (const auto& outline : morvik::outlines(mask, {MK_OMODE_FILL_STROKE})) {
    const Image part = morvik::fill_polygon({outline.begin(), outline.end()}, mask.size());
    std::transform(shape.data(), shape.data() + shape.bytes(), part.data(), shape.data(),
                   [](uint8_t a, uint8_t b) { return std::max(a, b); });
  }
  const Image border = morvik::blur(shape, {MKBlur::Gaussian, 5});
  Image result = morvik::convert(picture, Format::argb);
  for (int y = 0; y < mask.height(); ++y) {
    for (int x = 0; x < mask.width(); ++x) {
      const int inside = mask.row(y)[x];
      uint8_t* pixel = result.row(y) + 4 * x;
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<uint8_t>((pixel[c] * inside + 255 * (255 - inside) + 127) / 255);
      }
      pixel[3] = std::max(mask.row(y)[x], border.row(y)[x]);
    }
  }
  return result;
}

// Lays a picture with alpha (not multiplied into its colours) over an opaque one of its size.
void lay_over(Image& page, const Image& picture) {
  for (int y = 0; y < page.size().height; ++y) {
    for (int x = 0; x < page.size().width; ++x) {
      const uint8_t* over = picture.row(y) + 4 * x;
      uint8_t* under = page.row(y) + 3 * x;
      for (int c = 0; c < 3; ++c) {
        under[c] =
            static_cast<uint8_t>((over[c] * over[3] + under[c] * (255 - over[3]) + 127) / 255);
      }
    }
  }
}
//! [sticker]

//! [back]
// The mask of the upright picture on the frame as the camera delivered it.
Image on_the_frame(const ConstView& mask, int degrees) {
  return morvik::rotate(mask, (360 - degrees) % 360);
}
//! [back]

std::vector<uint8_t> read(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void print(const char* what, const ConstView& mask) {
  const MKRect box = morvik::bounding_box(mask).value();
  std::printf("%s: %d x %d, columns %u to %u, rows %u to %u\n", what, mask.width(), mask.height(),
              box.left, box.right, box.top, box.bottom);
}

void run(char** arguments) {
  const Size size{std::atoi(arguments[2]), std::atoi(arguments[3])};
  const int stride = std::atoi(arguments[4]);
  const int degrees = std::atoi(arguments[5]);
  const Size mask_size{std::atoi(arguments[7]), std::atoi(arguments[8])};
  const std::vector<uint8_t> bytes = read(arguments[1]);
  const std::vector<uint8_t> mask_bytes = read(arguments[6]);
  const auto luma = static_cast<size_t>(stride) * static_cast<size_t>(size.height);
  if (bytes.size() < luma / 2 * 3 ||
      mask_bytes.size() <
          static_cast<size_t>(mask_size.width) * static_cast<size_t>(mask_size.height)) {
    throw morvik::Error("a file is too short");
  }
  const ConstView frame(Format::nv21, size, bytes.data(), stride, bytes.data() + luma, stride);
  const Image picture = upright(frame, degrees);
  const Image input = network_input(picture);
  std::printf("network input: %d x %d\n", input.size().width, input.size().height);
  const Image mask = full_mask(picture, ConstView(Format::gray, mask_size, mask_bytes.data()));
  print("upright", mask);
  print("on the frame", on_the_frame(mask, degrees));
  const Image cut_out = sticker(picture, mask);
  Image page(Format::rgb24, picture.size());
  lay_over(page, cut_out);
  print("page", morvik::convert(page, Format::gray));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 9) {
    std::fprintf(stderr, "upright FRAME.nv21 WIDTH HEIGHT STRIDE DEGREES MASK.gray WIDTH HEIGHT\n");
    return 2;
  }
  try {
    run(arguments);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "failed: %s\n", error.what());
    return 1;
  }
}
