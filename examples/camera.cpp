// From a camera frame, its coarse mask and the landmarks of a face to a smooth mask, the border of
// a sticker and a mask of the face up to the hairline. Reads raw pixels:
//   camera FRAME.nv21 WIDTH HEIGHT MASK.gray WIDTH HEIGHT LANDMARKS.txt
#include <morvik/morvik.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

//! [view]
using Pixels = std::vector<uint8_t>;

// Describes packed pixels in memory of ours to the library.
QX_OFFSCREEN view(uint32_t format, int width, int height, Pixels& pixels) {
  QX_OFFSCREEN image{};
  image.format = format;
  image.width = width;
  image.height = height;
  image.plane[0] = pixels.data();
  image.pitch[0] = format == QX_FMT_RGB24 ? 3 * width : width;
  if (format == QX_FMT_NV21) {  // of even size: the V, U pairs follow the brightness
    image.plane[1] = pixels.data() + static_cast<size_t>(width) * static_cast<size_t>(height);
    image.pitch[1] = width;
  }
  return image;
}

void check(uint32_t code, const char* call) {
  if (code != MVK_OK) throw std::runtime_error(call);
}
//! [view]

//! [smooth]
// The coarse mask of an NV21 frame as a smooth one of the frame's size.
Pixels smooth_mask(const QX_OFFSCREEN& frame, const QX_OFFSCREEN& coarse) {
  const size_t count = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
  Pixels colors(3 * count);
  const QX_OFFSCREEN photo = view(QX_FMT_RGB24, frame.width, frame.height, colors);
  check(mvk_convert(&photo, &frame), "mvk_convert");

  Pixels smooth(count);
  const QX_OFFSCREEN mask = view(QX_FMT_GRAY, frame.width, frame.height, smooth);
  const uint32_t snap = 1;     // move edges to edges of the photograph
  const uint32_t limit = 512;  // pixels; the size at which the work is done
  check(mvk_make_mask_smooth(&mask, &coarse, &photo, snap, limit), "mvk_make_mask_smooth");
  return smooth;
}
//! [smooth]

//! [border]
using Outline = std::vector<TPOINT>;

// The outlines of a mask grown by width pixels: where the border of a sticker ends.
std::vector<Outline> sticker_border(const QX_OFFSCREEN& mask, uint16_t width) {
  MKOutlineMode mode{};
  mode.mode = MK_OMODE_FILL_STROKE;
  mode.chain_approx = MK_OCHAIN_SIMPLE;
  mode.expand_size = width;
  mode.smooth_level = MK_OSMOOTH_1;
  mode.threshold = 127;

  void* handle = mvk_outline_create();
  MKGetOutline found{};
  std::vector<Outline> outlines;
  if (mvk_outline_expansion(handle, &mask, &mode, &found) == MVK_OK) {
    for (uint32_t i = 0; i < found.contour_count; ++i) {
      Outline& outline = outlines.emplace_back();
      for (uint32_t j = 0; j < found.point_counts[i]; ++j) {
        outline.push_back({found.points[i][2 * j], found.points[i][2 * j + 1]});
      }
    }
  }
  mvk_outline_destroy(handle, &found);
  return outlines;
}
//! [border]

//! [face]
// A mask of the face with its forehead: along the contour (points 0 to 32 of the 106), then back
// over the predicted points from the contour's end to its start.
Pixels face_mask(const std::string& landmarks, int width, int height) {
  std::vector<TPOINT> face(106);
  check(mvk_read_landmarks(face.data(), 106, landmarks.c_str(), 0, 2, ','), "mvk_read_landmarks");
  TPOINT forehead[11];
  check(mvk_guess_forehead_landmarks(&forehead[0].x, &face[0].x, 106, width, height),
        "mvk_guess_forehead_landmarks");

  std::vector<TPOINT> around(face.begin(), face.begin() + 33);
  around.insert(around.end(), std::rbegin(forehead), std::rend(forehead));
  Pixels pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
  const QX_OFFSCREEN mask = view(QX_FMT_GRAY, width, height, pixels);
  check(mvk_fill_area_up(&mask, static_cast<uint32_t>(around.size()), around.data()),
        "mvk_fill_area_up");
  return pixels;
}
//! [face]

Pixels read(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void print_box(const char* name, const QX_OFFSCREEN& mask) {
  MKRect box{};
  check(mvk_get_mask_roi(&mask, &box, 128), "mvk_get_mask_roi");
  std::printf("%s: columns %u to %u, rows %u to %u\n", name, box.left, box.right, box.top,
              box.bottom);
}

void run(char** arguments) {
  const int width = std::atoi(arguments[2]);
  const int height = std::atoi(arguments[3]);
  Pixels frame_pixels = read(arguments[1]);
  Pixels coarse_pixels = read(arguments[4]);
  const QX_OFFSCREEN frame = view(QX_FMT_NV21, width, height, frame_pixels);
  const QX_OFFSCREEN coarse =
      view(QX_FMT_GRAY, std::atoi(arguments[5]), std::atoi(arguments[6]), coarse_pixels);
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  if (frame_pixels.size() != count / 2 * 3 ||
      coarse_pixels.size() !=
          static_cast<size_t>(coarse.width) * static_cast<size_t>(coarse.height)) {
    throw std::runtime_error("a file does not have the size that was said");
  }
  Pixels smooth = smooth_mask(frame, coarse);
  const QX_OFFSCREEN mask = view(QX_FMT_GRAY, width, height, smooth);
  print_box("mask", mask);
  for (const Outline& outline : sticker_border(mask, 12)) {
    std::printf("border: %zu points\n", outline.size());
  }
  Pixels face = face_mask(arguments[7], width, height);
  print_box("face", view(QX_FMT_GRAY, width, height, face));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 8) {
    std::fprintf(stderr, "camera FRAME.nv21 WIDTH HEIGHT MASK.gray WIDTH HEIGHT LANDMARKS.txt\n");
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
