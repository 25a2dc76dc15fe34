#include "robust/scene.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "core/format.h"
#include "support/test_image.h"

namespace robust {
namespace {

using kel::imageprocess::bytes_per_pixel;
using kel::imageprocess::is_two_plane;

constexpr uint8_t kPaddingByte = 0xA5;

struct PlaneShape {
  int row_bytes;
  int rows;
  int pitch;
  size_t size;
};

// The caller's side of the contract, stated once more on its own.
PlaneShape plane_shape(const ImageSpec& spec, int plane, int padding) {
  const bool even = plane == 0 && is_two_plane(spec.format) && spec.packed;
  const int up = spec.chroma_up ? 1 : 0;
  const int bytes = bytes_per_pixel(spec.format);
  PlaneShape shape{(even ? spec.width & ~1 : spec.width) * bytes,
                   even ? spec.height & ~1 : spec.height,
                   std::max(spec.width, spec.width * bytes + padding), 0};
  if (plane == 1) {
    shape = {(spec.width + up) / 2 * 2, (spec.height + up) / 2,
             ((spec.width + 1) & ~1) + std::max(0, padding), 0};
  }
  if (shape.rows == 0 || shape.row_bytes == 0) return shape;
  const int step = spec.packed ? shape.row_bytes : shape.pitch;
  const int last = spec.last_row_whole ? shape.pitch : shape.row_bytes;
  shape.size =
      static_cast<size_t>(step) * static_cast<size_t>(shape.rows - 1) + static_cast<size_t>(last);
  return shape;
}

// One function per operation: adds images, values and the call itself to `call`.

ImageSpec sized(const Call& call, uint32_t format, bool packed) {
  return {format, call.width, call.height, packed};
}

void copy_call(Call& call, Choice&) {
  call.sources = {sized(call, call.variant.from, false)};
  call.destinations = {sized(call, call.variant.to, false)};
  call.run = [](Scene& s) { return mvk_copy(&s.dst[0], &s.src[0]); };
}

void convert_call(Call& call, Choice&) {
  const auto [operation, to, from] = call.variant;
  const bool up = to != QX_FMT_GRAY && from != QX_FMT_GRAY;
  const bool shifted = to == QX_FMT_NV12 && from == QX_FMT_GRAY;
  call.sources = {{from, call.width, call.height, false, up}};
  call.destinations = {{to, call.width, call.height, false, up, shifted}};
  call.run = [](Scene& s) { return mvk_convert(&s.dst[0], &s.src[0]); };
}

void resize_call(Call& call, Choice& choice) {
  const auto method = static_cast<uint32_t>(choice.pick(0, 3));
  const int width = choice.pick(1, 2 * call.width);
  const int height = choice.pick(1, 2 * call.height);
  call.sources = {sized(call, call.variant.from, false)};
  call.destinations = {{call.variant.to, width, height}};
  call.run = [method](Scene& s) { return mvk_resize(&s.dst[0], &s.src[0], method); };
}

void rotate_call(Call& call, Choice& choice) {
  const uint32_t format = call.variant.from;
  const int angle = 90 * choice.pick(0, 3);
  const bool turned = angle == 90 || angle == 270;
  const bool packed = angle != 0 && format != QX_FMT_RGB24 && format != QX_FMT_ARGB;
  int width = turned ? call.height : call.width;
  if (choice.pick(0, 7) == 0) width = choice.pick(1, 2 * call.width);
  call.sources = {sized(call, format, packed)};
  call.destinations = {{format, width, turned ? call.width : call.height, packed}};
  call.number = angle;
  call.run = [angle](Scene& s) { return mvk_rotate(&s.dst[0], &s.src[0], angle); };
}

void mask_smooth_call(Call& call, Choice& choice) {
  const auto mode = static_cast<uint32_t>(choice.pick(0, 1));
  const auto limit = static_cast<uint32_t>(choice.pick(0, 2 * std::max(call.width, call.height)));
  const int width = choice.pick(1, std::clamp(call.width - 1, 1, 520));
  const int height = choice.pick(1, std::clamp(call.height - 1, 1, 520));
  call.sources = {{QX_FMT_GRAY, width, height, true}, sized(call, QX_FMT_RGB24, true)};
  call.destinations = {sized(call, QX_FMT_GRAY, true)};
  call.run = [mode, limit](Scene& s) {
    return mvk_make_mask_smooth(&s.dst[0], &s.src[0], &s.src[1], mode, limit);
  };
}

void holes_call(Call& call, Choice& choice) {
  const auto level = static_cast<uint32_t>(choice.pick(0, 254));
  call.sources = call.destinations = {sized(call, QX_FMT_GRAY, true)};
  call.run = [level](Scene& s) { return mvk_make_up_holes(&s.dst[0], &s.src[0], level); };
}

void morph_call(Call& call, Choice& choice) {
  const int reach = choice.pick(0, 15) == 0 ? 200 : 24;
  const int amount = choice.pick(-reach, reach);
  call.sources = call.destinations = {sized(call, QX_FMT_GRAY, true)};
  call.number = amount;
  call.run = [amount](Scene& s) { return mvk_mask_morph(&s.dst[0], &s.src[0], amount); };
}

void smooth_call(Call& call, Choice& choice) {
  const auto type = static_cast<MKBlur>(choice.pick(0, 3));
  const int half = choice.pick(0, type == MKBlur::Bilateral ? 8 : 99);
  const uint32_t param1 = choice.next() >> choice.pick(0, 31);
  const uint32_t param2 = choice.next() >> choice.pick(0, 31);
  call.sources = call.destinations = {sized(call, call.variant.from, true)};
  call.run = [=](Scene& s) {
    const uint32_t side = 1 + 2 * static_cast<uint32_t>(half);
    return mvk_smooth(&s.src[0], &s.dst[0], side, type, 0, param1, param2);
  };
}

void fill_call(Call& call, Choice& choice) {
  const int count = choice.pick(0, 12);
  const int reach = choice.pick(0, 3) == 0 ? 3000 : 9;
  for (int i = 0; i < count; ++i) {
    call.values.push_back(choice.pick(-reach, call.width + reach));
    call.values.push_back(choice.pick(-reach, call.height + reach));
  }
  call.destinations = {sized(call, QX_FMT_GRAY, true)};
  call.run = [count](Scene& s) {
    return mvk_fill_area_up(&s.dst[0], static_cast<uint32_t>(count),
                            reinterpret_cast<const TPOINT*>(s.values));
  };
}

void box_call(Call& call, Choice& choice) {
  const int level = choice.pick(1, 254);
  call.sources = {sized(call, QX_FMT_GRAY, false)};
  call.results = 4;
  call.number = level;
  call.run = [level](Scene& s) {
    return mvk_get_mask_roi(&s.src[0], reinterpret_cast<MKRect*>(s.results),
                            static_cast<uint32_t>(level));
  };
}

void outline_call(Call& call, Choice& choice) {
  MKOutlineMode mode{};
  mode.mode = static_cast<uint32_t>(choice.pick(0, 8));
  mode.chain_approx = static_cast<uint32_t>(choice.pick(1, 2));
  mode.expand_size = static_cast<uint16_t>(choice.pick(0, call.width > 100 ? 500 : 20));
  mode.smooth_level = static_cast<MKOSmoothLevel>(choice.pick(0, 5));
  mode.approx_poly = static_cast<uint32_t>(choice.pick(0, 1));
  mode.threshold = static_cast<uint8_t>(choice.pick(0, 253));
  const bool centred = choice.pick(0, 1) == 1;
  for (const int side : {call.width, call.height}) {
    call.values.push_back(choice.pick(-5, side + 5));
  }
  call.sources = {sized(call, call.variant.from, call.variant.from == QX_FMT_GRAY)};
  call.run = [mode, centred](Scene& s) {
    MKOutlineMode own = mode;
    if (centred) own.center = reinterpret_cast<const TPOINT*>(s.values);
    if (s.handle == nullptr) s.handle = mvk_outline_create();
    return mvk_outline_expansion(s.handle, &s.src[0], &own, &s.outlines);
  };
}

// To a file and back into the results.
void files_call(Call& call, Choice& choice) {
  const int count = choice.pick(0, 106);
  const int is_float = choice.pick(0, 1);
  const int dims = choice.pick(2, 3);
  const auto separator = static_cast<char>(choice.pick(' ', '/'));
  call.results = static_cast<size_t>(count * dims);
  for (size_t i = 0; i < call.results; ++i) {
    const auto value = static_cast<int32_t>(choice.next() >> choice.pick(0, 31));
    const float as_float = static_cast<float>(value) * 0.37F;
    call.values.push_back(is_float != 0 ? std::bit_cast<int32_t>(as_float) : value);
  }
  call.number = is_float;
  call.run = [=](Scene& s) {
    const char* path = s.path.c_str();
    const uint32_t code = mvk_write_landmarks(s.values, count, path, is_float, dims, separator);
    return code | mvk_read_landmarks(s.results, count, path, is_float, dims, separator);
  };
}

// A contour like a face's with the rest of the layout around it; sometimes wild.
void forehead_call(Call& call, Choice& choice) {
  const int count = choice.pick(0, 1) == 1 ? 106 : 96;
  const int contour = count == 106 ? 33 : 19;
  const int wildness = choice.pick(0, 7);
  for (int i = 0; i < count; ++i) {
    const double turn = 3.14159265 * i / (contour - 1);
    const double reach = i < contour ? 0.4 : 0.2;
    const double x = call.width * (0.5 - reach * std::cos(turn)) + choice.pick(-3, 3);
    const double y = call.height * (0.5 + reach * std::sin(turn)) + choice.pick(-3, 3);
    call.values.push_back(wildness == 0 ? static_cast<int32_t>(choice.next())
                                        : static_cast<int32_t>(x));
    call.values.push_back(wildness == 1 ? 7 : static_cast<int32_t>(y));
  }
  call.results = 22;
  call.run = [count, width = call.width, height = call.height](Scene& s) {
    return mvk_guess_forehead_landmarks(s.results, s.values, static_cast<uint32_t>(count), width,
                                        height);
  };
}

struct Builder {
  const char* name;
  void (*build)(Call& call, Choice& choice);
};
// In the order of Operation.
constexpr Builder kBuilders[] = {{"copy", copy_call},
                                 {"convert", convert_call},
                                 {"resize", resize_call},
                                 {"rotate", rotate_call},
                                 {"make_mask_smooth", mask_smooth_call},
                                 {"make_up_holes", holes_call},
                                 {"mask_morph", morph_call},
                                 {"smooth", smooth_call},
                                 {"fill_area_up", fill_call},
                                 {"get_mask_roi", box_call},
                                 {"outline_expansion", outline_call},
                                 {"landmark files", files_call},
                                 {"guess_forehead_landmarks", forehead_call}};

}  // namespace

Choice random_choice(uint64_t seed) {
  const auto random = std::make_shared<test::Random>(seed);
  return {[random] { return random->next(); }};
}

std::vector<Variant> variants(Operation operation) {
  std::vector<Variant> list;
  for (const uint32_t to : test::kFormats) {
    for (const uint32_t from : test::kFormats) {
      bool takes = to == from;
      switch (operation) {
        case Operation::kConvert:
          takes = to != from;
          break;
        case Operation::kCopy:
        case Operation::kResize:
        case Operation::kRotate:
          takes = takes && to != QX_FMT_ABGR;
          break;
        case Operation::kSmooth:
          takes = takes && (to == QX_FMT_GRAY || to == QX_FMT_RGB24);
          break;
        case Operation::kOutline:
          takes = takes && (to == QX_FMT_GRAY || to == QX_FMT_NV21);
          break;
        default:
          takes = takes && to == QX_FMT_GRAY;
      }
      if (takes) list.push_back({operation, to, from});
    }
  }
  return list;
}

std::vector<Variant> all_variants() {
  std::vector<Variant> all;
  for (int i = 0; i <= static_cast<int>(Operation::kForehead); ++i) {
    const std::vector<Variant> some = variants(static_cast<Operation>(i));
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

Call make_call(Variant variant, int width, int height, Choice& choice) {
  const Builder& builder = kBuilders[static_cast<size_t>(variant.operation)];
  Call call{variant, width, height};
  call.name = std::string(builder.name) + ' ' + test::format_name(variant.to) + " <- " +
              test::format_name(variant.from) + ' ' + std::to_string(width) + 'x' +
              std::to_string(height);
  builder.build(call, choice);
  return call;
}

Scene::Scene(const Call& call, Flush flush, Choice& choice) : call_(call), flush_(flush) {
  for (const ImageSpec& spec : call.sources) add_image(spec, src, choice);
  planes_.emplace_back(call.values.size() * sizeof(int32_t), flush);
  std::copy(call.values.begin(), call.values.end(),
            reinterpret_cast<int32_t*>(planes_.back().data()));
  values = reinterpret_cast<const int32_t*>(planes_.back().data());
  for (Pages& plane : planes_) plane.make_read_only();
  sources_ = planes_.size();
  for (const ImageSpec& spec : call.destinations) add_image(spec, dst, choice);
  planes_.emplace_back(call.results * sizeof(int32_t), flush);
  results = reinterpret_cast<int32_t*>(planes_.back().data());
  static std::atomic<int> serial{0};
  const std::string name =
      "morvik_robust_" + std::to_string(getpid()) + '_' + std::to_string(serial++);
  path = std::filesystem::temp_directory_path() / name;
}

Scene::~Scene() {
  release();
  std::remove(path.c_str());
}

void Scene::release() {
  mvk_outline_destroy(handle, &outlines);
  handle = nullptr;
  outlines = {};
}

void Scene::add_image(const ImageSpec& spec, std::vector<QX_OFFSCREEN>& images, Choice& choice) {
  constexpr int kPaddings[] = {0, 0, 1, 5, 64, -1};
  QX_OFFSCREEN image{spec.format, spec.width, spec.height, {}, {}};
  for (int i = 0; i < (is_two_plane(spec.format) ? 2 : 1); ++i) {
    const PlaneShape shape = plane_shape(spec, i, kPaddings[choice.pick(0, 5)]);
    Pages& plane = planes_.emplace_back(shape.size, flush_);
    const Rows rows{spec.packed ? shape.row_bytes : shape.pitch,
                    shape.row_bytes + (spec.last_row_whole ? 1 : 0)};
    fill(plane, rows, choice);
    rows_.resize(planes_.size());
    rows_.back() = rows;
    image.plane[i] = plane.data();
    image.pitch[i] = shape.pitch;
  }
  images.push_back(image);
}

// Noise, or flat shapes as masks have them; a known byte in the padding.
void Scene::fill(Pages& plane, Rows rows, Choice& choice) {
  const bool noise = choice.pick(0, 2) == 0;
  test::Random random(choice.next());
  uint8_t* bytes = plane.data();
  for (size_t i = 0; noise && i < plane.size(); i += 4) {
    const uint32_t word = random.next();
    std::memcpy(bytes + i, &word, std::min<size_t>(4, plane.size() - i));
  }
  const int count = static_cast<int>(plane.size()) / std::max(rows.step, 1);
  for (int shapes = noise ? 0 : choice.pick(0, 6); shapes > 0 && count > 0; --shapes) {
    const int left = choice.pick(0, rows.step);
    const int top = choice.pick(0, count);
    const int side = choice.pick(1, std::max(rows.step, count));
    const int value = choice.pick(0, 1) == 0 ? choice.pick(0, 255) : 255;
    for (int y = top; y < std::min(count, top + side); ++y) {
      std::memset(bytes + static_cast<ptrdiff_t>(y) * rows.step + left, value,
                  static_cast<size_t>(std::min(side, rows.step - left)));
    }
  }
  for_each_padding(plane, rows, [](std::span<uint8_t> padding) {
    std::fill(padding.begin(), padding.end(), kPaddingByte);
  });
}

void Scene::for_each_padding(Pages& plane, Rows rows,
                             const std::function<void(std::span<uint8_t>)>& visit) {
  if (rows.step <= rows.used) return;
  const std::span<uint8_t> bytes(plane.data(), plane.size());
  for (size_t at = static_cast<size_t>(rows.used); at < bytes.size();
       at += static_cast<size_t>(rows.step)) {
    const auto length = static_cast<size_t>(rows.step - rows.used);
    visit(bytes.subspan(at, std::min(length, bytes.size() - at)));
  }
}

bool Scene::padding_is_intact() {
  bool intact = true;
  for (size_t i = sources_; i < rows_.size(); ++i) {
    for_each_padding(planes_[i], rows_[i], [&intact](std::span<uint8_t> padding) {
      const auto known = std::count(padding.begin(), padding.end(), kPaddingByte);
      intact = intact && known == static_cast<ptrdiff_t>(padding.size());
    });
  }
  return intact;
}

std::vector<uint8_t> Scene::outcome() const {
  std::vector<uint8_t> bytes{static_cast<uint8_t>(code_)};
  for (size_t i = sources_; i < planes_.size(); ++i) {
    bytes.insert(bytes.end(), planes_[i].data(), planes_[i].data() + planes_[i].size());
  }
  for (uint32_t i = 0; i < outlines.contour_count; ++i) {
    const auto* points = reinterpret_cast<const uint8_t*>(outlines.points[i]);
    bytes.insert(bytes.end(), points, points + size_t{outlines.point_counts[i]} * 8);
  }
  return bytes;
}

}  // namespace robust
