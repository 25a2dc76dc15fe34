#include "robust/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

#include "core/format.h"
#include "reference/judge.h"
#include "reference/mask.h"
#include "reference/outline.h"
#include "support/test_image.h"

namespace robust {
namespace {

using as_written::block;
using kel::imageprocess::bytes_per_pixel;
using kel::imageprocess::is_two_plane;

// Sources have another byte in their padding than destinations, so that copied padding shows.
uint8_t padding_of(const Plane& plane) { return plane.source ? 0x5A : 0xA5; }

// The part of a plane that copies and rotations move.
struct Rows {
  uint8_t* data;
  size_t step;
  cv::Size size;
  int type;

  uint8_t* at(int y) const { return data + step * static_cast<size_t>(y); }
  size_t row_bytes() const { return static_cast<size_t>(size.width * CV_MAT_CN(type)); }
  cv::Mat read() const {
    cv::Mat pixels(size, type);
    for (int y = 0; y < size.height; ++y) std::memcpy(pixels.ptr(y), at(y), row_bytes());
    return pixels;
  }
  // What is read after that: where rows overlap, later ones replace parts of those before.
  cv::Mat write(const cv::Mat& pixels) const {
    std::vector<uint8_t> memory(step * static_cast<size_t>(size.height) + row_bytes());
    const Rows rows{memory.data(), step, size, type};
    for (int y = 0; y < size.height; ++y) std::memcpy(rows.at(y), pixels.ptr(y), row_bytes());
    return rows.read();
  }
};

Rows rows_of(const QX_OFFSCREEN& image, int plane, bool packed) {
  const bool two = is_two_plane(image.format);
  const int w = two ? image.width / 2 * (2 - plane) : image.width;
  const int h = two ? image.height / 2 * (2 - plane) : image.height;
  const int bytes = plane == 1 ? 2 : bytes_per_pixel(image.format);
  const auto step = static_cast<size_t>(packed ? w * bytes : image.pitch[plane]);
  return {image.plane[plane], step, {w, h}, CV_8UC(bytes)};
}

bool is_turned(const Scene& s, int angle, bool packed) {
  for (int i = 0; i < (is_two_plane(s.src[0].format) ? 2 : 1); ++i) {
    const Rows from = rows_of(s.src[0], i, packed);
    const Rows to = rows_of(s.dst[0], i, packed);
    if (from.size.empty()) continue;
    cv::Mat turned = from.read();
    if (angle != 0) cv::rotate(turned.clone(), turned, angle / 90 - 1);
    if (cv::norm(to.read(), to.write(turned), cv::NORM_INF) != 0) return false;
  }
  return s.code == MVK_OK;
}

bool shows(const Scene& s, const cv::Mat& wanted) {
  return s.code == MVK_OK && cv::norm(block(s.dst[0]), wanted, cv::NORM_INF) == 0;
}

// A slope with a little noise.
void paint_slope(cv::Mat pixels, Choice& choice) {
  cv::RNG(choice.next()).fill(pixels, cv::RNG::UNIFORM, 0, 9);
  const int across = choice.pick(-3, 3);
  const int down = choice.pick(-3, 3);
  for (int y = 0; y < pixels.rows; ++y) {
    for (int x = 0; x < pixels.cols; ++x) {
      uint8_t& value = pixels.at<uint8_t>(y, x);
      value = static_cast<uint8_t>(value + std::abs(across * x + down * y) / 3);
    }
  }
}

// One function per operation adds the images, the other arguments, the call and its judge.

void set_copy(Scene& s) {
  s.add_pair(false);
  s.call = [&s] { return mvk_copy(&s.dst[0], &s.src[0]); };
  s.judge = [&s] { return is_turned(s, 0, false); };
}

void set_convert(Scene& s) {
  s.add_pair(false);
  s.call = [&s] { return mvk_convert(&s.dst[0], &s.src[0]); };
}

void set_resize(Scene& s) {
  const auto method = static_cast<uint32_t>(s.argument(0, 3));
  const int width = s.choice.pick(1, 2 * s.width);
  s.note("method", method);
  s.add(s.src, s.variant.from, s.width, s.height, false);
  s.add(s.dst, s.variant.to, width, s.choice.pick(1, 2 * s.height), false);
  s.call = [=, &s] { return mvk_resize(&s.dst[0], &s.src[0], method); };
}

void set_rotate(Scene& s) {
  const auto [function, to, from] = s.variant;
  const int angle = 90 * s.argument(0, 3);
  s.note("angle", angle);
  const bool packed = angle != 0 && from != QX_FMT_RGB24 && from != QX_FMT_ARGB;
  const int turned = angle % 180 == 0 ? s.width : s.height;
  const int width = s.choice.pick(0, 7) == 0 ? s.choice.pick(1, 2 * s.width) : turned;
  s.add(s.src, from, s.width, s.height, packed);
  s.add(s.dst, to, width, s.width + s.height - turned, packed);
  s.call = [=, &s] { return mvk_rotate(&s.dst[0], &s.src[0], angle); };
  if (width == turned) s.judge = [=, &s] { return is_turned(s, angle, packed); };
}

void set_mask_smooth(Scene& s) {
  const auto mode = static_cast<uint32_t>(s.choice.pick(0, 1));
  const auto limit = static_cast<uint32_t>(s.choice.pick(0, 2 * std::max(s.width, s.height)));
  s.note("mode", mode);
  s.note("limit", limit);
  const int width = s.choice.pick(1, std::clamp(s.width - 1, 1, 520));
  const int height = s.choice.pick(1, std::clamp(s.height - 1, 1, 520));
  s.add(s.src, QX_FMT_GRAY, width, height, true);
  s.add(s.src, QX_FMT_RGB24, s.width, s.height, true);
  s.add(s.dst, QX_FMT_GRAY, s.width, s.height, true);
  s.call = [=, &s] { return mvk_make_mask_smooth(&s.dst[0], &s.src[0], &s.src[1], mode, limit); };
  s.judge = [=, &s] {
    if (width == s.width || height == s.height) return s.is_refused();
    const cv::Mat smooth = as_written::smooth_mask(block(s.src[0]), s.src[1], mode, limit);
    return smooth.empty() ? s.is_refused() : shows(s, smooth);
  };
}

void set_holes(Scene& s) {
  const int level = s.argument(0, 254);
  s.note("level", level);
  s.add_pair(true);
  s.call = [=, &s] {
    return mvk_make_up_holes(&s.dst[0], &s.src[0], static_cast<uint32_t>(level));
  };
  s.judge = [=, &s] { return shows(s, as_written::fill_holes(block(s.src[0]), level)); };
}

void set_morph(Scene& s) {
  const int amount = s.choice.pick(0, 15) == 0 ? s.argument(-200, 200) : s.choice.pick(-24, 24);
  s.note("amount", amount);
  s.add_pair(true);
  s.call = [=, &s] { return mvk_mask_morph(&s.dst[0], &s.src[0], amount); };
  s.judge = [=, &s] {
    if (amount == 0) return s.code == MVK_BAD_ARGUMENT && cv::countNonZero(block(s.dst[0])) == 0;
    return shows(s, as_written::morph(block(s.src[0]), amount));
  };
}

void set_smooth(Scene& s) {
  const auto type = static_cast<MKBlur>(s.choice.pick(0, 3));
  const int half = type == MKBlur::Bilateral ? s.choice.pick(0, 8) : s.argument(0, 99);
  const uint32_t param1 = s.choice.next() >> s.choice.pick(0, 31);
  const uint32_t param2 = s.choice.next() >> s.choice.pick(0, 31);
  s.note("type", static_cast<int>(type));
  s.note("ksize", 1 + 2 * half);
  s.note("param1", param1);
  s.note("param2", param2);
  s.add_pair(true);
  s.call = [=, &s] {
    const auto side = static_cast<uint32_t>(1 + 2 * half);
    return mvk_smooth(&s.src[0], &s.dst[0], side, type, 0, param1, param2);
  };
  s.judge = [=, &s] {
    return shows(s, as_written::blur(block(s.src[0]), {}, 1 + 2 * half, type, param1, param2));
  };
}

void set_fill(Scene& s) {
  const int reach = s.choice.pick(0, 3) == 0 ? 3000 : 9;
  const bool wild = s.choice.pick(0, 15) == 0;
  std::vector<int32_t> numbers;
  for (int count = s.choice.pick(0, 12); count > 0; --count) {
    numbers.push_back(s.choice.pick(-reach, s.width + reach));
    const int y = s.choice.pick(-reach, s.height + reach);
    numbers.push_back(wild ? static_cast<int>(s.choice.next()) : y);
  }
  for (const int32_t number : numbers) s.note("coordinate", number);
  s.set_values(numbers);
  s.add(s.dst, QX_FMT_GRAY, s.width, s.height, true);
  const size_t count = numbers.size() / 2;
  s.call = [=, &s] {
    const auto* points = reinterpret_cast<const TPOINT*>(s.values);
    return mvk_fill_area_up(&s.dst[0], static_cast<uint32_t>(count), points);
  };
  if (wild) return;  // OpenCV's filler would take minutes
  s.judge = [=, &s] {
    const auto* points = reinterpret_cast<const cv::Point*>(s.values);
    return shows(s, as_written::fill_area(s.width, s.height, {points, points + count}));
  };
}

void set_box(Scene& s) {
  const auto level = static_cast<uint32_t>(s.argument(1, 254));
  s.note("level", level);
  s.add(s.src, QX_FMT_GRAY, s.width, s.height, false);
  s.set_results(4);
  s.call = [=, &s] {
    return mvk_get_mask_roi(&s.src[0], reinterpret_cast<MKRect*>(s.results), level);
  };
  s.judge = [=, &s] {
    const cv::Rect edges = as_written::box(s.src[0], level);
    const bool none = edges.x == INT_MAX;
    const cv::Rect found(s.results[0], s.results[1], s.results[2], s.results[3]);
    return s.code == (none ? MVK_NOT_FOUND : MVK_OK) && found == (none ? cv::Rect() : edges);
  };
}

void set_outline(Scene& s) {
  const int expand = s.choice.pick(0, 7) == 0 ? s.argument(0, 500) : s.choice.pick(0, 20);
  const bool centred = s.choice.pick(0, 1) == 1;
  s.set_values({s.choice.pick(-5, s.width + 5), s.choice.pick(-5, s.height + 5)});
  const MKOutlineMode mode{static_cast<uint32_t>(s.argument(0, 8)),
                           static_cast<uint32_t>(s.argument(1, 2)),
                           static_cast<uint16_t>(expand),
                           static_cast<MKOSmoothLevel>(s.argument(0, 5)),
                           static_cast<uint32_t>(s.choice.pick(0, 1)),
                           centred ? reinterpret_cast<const TPOINT*>(s.values) : nullptr,
                           static_cast<uint8_t>(s.argument(0, 253))};
  s.note("mode", mode.mode);
  s.note("chain", mode.chain_approx);
  s.note("expand", expand);
  s.note("smooth", mode.smooth_level);
  s.note("polygon", mode.approx_poly);
  s.note("threshold", mode.threshold);
  if (centred) s.note("centre x", s.values[0]);
  if (centred) s.note("centre y", s.values[1]);
  s.add(s.src, s.variant.from, s.width, s.height, s.variant.from == QX_FMT_GRAY);
  s.call = [=, &s] {
    if (s.handle == nullptr) s.handle = mvk_outline_create();
    return mvk_outline_expansion(s.handle, &s.src[0], &mode, &s.outlines);
  };
  s.judge = [=, &s] {
    QX_OFFSCREEN gray = s.src[0];
    const auto step = static_cast<size_t>(gray.format == QX_FMT_GRAY ? 0 : gray.pitch[0]);
    cv::Mat rows = cv::Mat(gray.height, gray.width, CV_8UC1, gray.plane[0], step).clone();
    gray.plane[0] = rows.data;
    as_written::Outlines found;
    for (uint32_t i = 0; i < s.outlines.contour_count; ++i) {
      const int32_t* points = s.outlines.points[i];
      found.emplace_back(points, points + size_t{2} * s.outlines.point_counts[i]);
    }
    return s.code == (found.empty() ? MVK_NOT_FOUND : MVK_OK) &&
           found == as_written::outlines(gray, mode);
  };
}

// To a file and back into the results.
void set_files(Scene& s) {
  const int count = s.choice.pick(0, 106);
  const bool is_float = s.choice.pick(0, 1) == 1;
  const int dims = s.choice.pick(2, 3);
  const auto separator = static_cast<char>(s.choice.pick(' ', '/'));
  s.note("count", count);
  s.note("is_float", is_float);
  s.note("dims", dims);
  s.note("separator", separator);
  std::vector<int32_t> numbers(static_cast<size_t>(count * dims));
  for (int32_t& number : numbers) {
    number = static_cast<int32_t>(s.choice.next() >> s.choice.pick(0, 31));
    const float fraction = static_cast<float>(number) * 0.37F;
    if (is_float) std::memcpy(&number, &fraction, sizeof number);
  }
  s.set_values(numbers);
  s.set_results(numbers.size());
  s.call = [=, &s] {
    const uint32_t written =
        mvk_write_landmarks(s.values, count, s.path.c_str(), is_float, dims, separator);
    return written |
           mvk_read_landmarks(s.results, count, s.path.c_str(), is_float, dims, separator);
  };
  if (is_float || separator == '+' || separator == '-') return;  // which numbers contain
  s.judge = [=, &s] { return std::equal(numbers.begin(), numbers.end(), s.results); };
}

// A contour like that of a face, the rest of the layout around it; sometimes wild.
void set_forehead(Scene& s) {
  const int count = s.choice.pick(0, 1) == 1 ? 106 : 96;
  const int wildness = s.choice.pick(0, 7);
  s.note("count", count);
  s.note("wildness", wildness);
  std::vector<int32_t> points;
  for (int i = 0; i < count; ++i) {
    const double turn = CV_PI * i / (count == 106 ? 32 : 18);
    const double x = s.width * (0.5 - 0.4 * std::cos(turn)) + s.choice.pick(-3, 3);
    const double y = s.height * (0.5 + 0.4 * std::sin(turn)) + s.choice.pick(-3, 3);
    points.push_back(wildness == 0 ? static_cast<int>(s.choice.next()) : static_cast<int>(x));
    points.push_back(wildness == 1 ? 7 : static_cast<int>(y));
  }
  s.set_values(points);
  s.set_results(22);
  const auto guess = [&s, count](int32_t* out, const int32_t* in) {
    return mvk_guess_forehead_landmarks(out, in, static_cast<uint32_t>(count), s.width, s.height);
  };
  s.call = [=, &s] { return guess(s.results, s.values); };
  s.judge = [=, &s] {  // results may take the place of the landmarks
    std::vector<int32_t> both = points;
    return guess(both.data(), both.data()) == MVK_OK &&
           std::equal(s.results, s.results + 22, both.begin());
  };
}

const std::vector<uint32_t> kGray{QX_FMT_GRAY};
const std::vector<uint32_t> kMovable{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                     QX_FMT_NV21};
const std::vector<uint32_t> kAny{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_ABGR,
                                 QX_FMT_GRAY,  QX_FMT_NV12, QX_FMT_NV21};
const Function kFunctions[] = {
    {"plain", "copy", kMovable, set_copy},
    {"plain", "convert", kAny, set_convert, true},
    {"plain", "resize", kMovable, set_resize},
    {"plain", "rotate", kMovable, set_rotate},
    {"mask", "make_mask_smooth", kGray, set_mask_smooth},
    {"mask", "make_up_holes", kGray, set_holes},
    {"mask", "mask_morph", kGray, set_morph},
    {"mask", "smooth", {QX_FMT_GRAY, QX_FMT_RGB24}, set_smooth},
    {"mask", "fill_area_up", kGray, set_fill},
    {"mask", "get_mask_roi", kGray, set_box},
    {"outline", "outline_expansion", {QX_FMT_GRAY, QX_FMT_NV21}, set_outline},
    {"face", "landmark files", kGray, set_files},
    {"face", "guess_forehead_landmarks", kGray, set_forehead}};

}  // namespace

Choice random_choice(uint64_t seed) {
  return {[random = test::Random(seed)]() mutable { return random.next(); }};
}

std::vector<Variant> variants(const std::string& family) {
  std::vector<Variant> list;
  for (const Function& function : kFunctions) {
    if (!family.empty() && family != function.family) continue;
    for (const uint32_t to : function.formats) {
      for (const uint32_t from : function.formats) {
        if ((to != from) == function.converts) list.push_back({&function, to, from});
      }
    }
  }
  return list;
}

Scene::Scene(const Variant& of, int w, int h, Flush flush, Choice& decide)
    : variant(of),
      width(w),
      height(h),
      name(std::string(of.function->name) + ' ' + test::format_name(of.to) + " <- " +
           test::format_name(of.from) + ' ' + std::to_string(w) + 'x' + std::to_string(h)),
      choice(decide),
      flush_(flush) {
  path =
      std::filesystem::temp_directory_path() /
      (std::to_string(getpid()) + ".morvik." + std::to_string(reinterpret_cast<uintptr_t>(this)));
  judge = [this] { return code == MVK_OK; };
  of.function->set(*this);
  refused_ = outcome();
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

int Scene::argument(int low, int high) {
  if (choice.pick(0, 15) != 0) return choice.pick(low, high);
  const int edges[] = {low - 1, low, high, high + 1};
  const int edge = edges[choice.pick(0, 3)];
  hostile_ = hostile_ || edge < low || edge > high;
  return edge;
}

void Scene::note(const std::string& what, int64_t value) {
  notes_ += ", " + what + ' ' + std::to_string(value);
}

std::string Scene::description() const {
  std::string text = name + notes_;
  for (const auto* images : {&dst, &src}) {
    for (const QX_OFFSCREEN& image : *images) {
      text += images == &dst ? ", dst " : ", src ";
      text += std::to_string(image.width) + 'x' + std::to_string(image.height) + " pitch " +
              std::to_string(image.pitch[0]) + '/' + std::to_string(image.pitch[1]);
    }
  }
  return text;
}

void Scene::set_values(const std::vector<int32_t>& numbers) {
  Plane& plane = planes_.emplace_back(numbers.size() * sizeof(int32_t), flush_);
  values = reinterpret_cast<const int32_t*>(plane.data);
  std::copy(numbers.begin(), numbers.end(), reinterpret_cast<int32_t*>(plane.data));
  plane.source = true;
  plane.protect(PROT_READ);
}

void Scene::set_results(size_t count) {
  results = reinterpret_cast<int32_t*>(planes_.emplace_back(count * sizeof(int32_t), flush_).data);
}

void Scene::add_pair(bool packed) {
  add(src, variant.from, width, height, packed);
  add(dst, variant.to, width, height, packed);
}

// The caller's side of the contract, written independently of the library.
void Scene::add(std::vector<QX_OFFSCREEN>& images, uint32_t format, int w, int h, bool packed) {
  constexpr int kPaddings[] = {0, 0, 1, 5, 64, -1};
  const auto [function, to, from] = variant;
  const int up = function->converts && to != QX_FMT_GRAY && from != QX_FMT_GRAY ? 1 : 0;
  const bool shifted = function->converts && format == QX_FMT_NV12 && from == QX_FMT_GRAY;
  const bool two = is_two_plane(format);
  const int even = two && packed ? ~1 : ~0;
  const int bytes = bytes_per_pixel(format);
  QX_OFFSCREEN& image = images.emplace_back(QX_OFFSCREEN{format, w, h, {}, {}});
  for (int i = 0; i < (two ? 2 : 1); ++i) {
    const int padding = kPaddings[choice.pick(0, 5)];
    const int pitch = i == 0 ? std::max(w, w * bytes + padding) : w + w % 2 + std::max(0, padding);
    const int row = i == 0 ? (w & even) * bytes : (w + up) / 2 * 2;
    const int rows = row == 0 ? 0 : i == 0 ? h & even : (h + up) / 2;
    const int step = packed ? row : pitch;
    const int size = rows == 0 ? 0 : step * (rows - 1) + (shifted ? pitch : row);
    Plane& plane = planes_.emplace_back(static_cast<size_t>(size), flush_);
    plane.source = &images == &src;
    plane.step = static_cast<size_t>(std::max(step, 1));
    plane.used = static_cast<size_t>(shifted ? row + 1 : row);
    paint(cv::Mat(rows, std::min(row, step), CV_8UC1, plane.data, plane.step), plane);
    image.plane[i] = plane.data;
    image.pitch[i] = pitch;
  }
}

// Noise, slopes with a little noise as in photographs, or flat shapes as in masks; a known byte in
// the padding.
void Scene::paint(cv::Mat pixels, Plane& plane) {
  if (pixels.empty()) return;
  std::memset(plane.data, padding_of(plane), plane.size);
  const int kind = choice.pick(0, 3);
  if (kind == 0) {
    cv::RNG(choice.next()).fill(pixels, cv::RNG::UNIFORM, 0, 256);
  } else if (kind == 1) {
    paint_slope(pixels, choice);
  } else {
    pixels.setTo(0);
    for (int shapes = choice.pick(0, 6); shapes > 0; --shapes) {
      const cv::Point corner{choice.pick(0, pixels.cols), choice.pick(0, pixels.rows)};
      const int side = choice.pick(1, std::max(pixels.cols, pixels.rows));
      const int value = choice.pick(0, 1) == 0 ? choice.pick(0, 255) : 255;
      cv::rectangle(pixels, {corner, cv::Size(side, side)}, value, cv::FILLED);
    }
  }
  if (plane.source) plane.protect(PROT_READ);
}

// Where OpenCV is no judge, the stored digests are.
bool Scene::is_right() const {
  if (!padding_is_intact()) return false;
  if (hostile_) return is_refused();
  return !as_written::kOpenCvIsJudge || judge();
}

bool Scene::padding_is_intact() const {
  for (const Plane& plane : planes_) {
    for (size_t i = 0; i < plane.size; ++i) {
      if (i % plane.step >= plane.used && plane.data[i] != padding_of(plane)) return false;
    }
  }
  return true;
}

std::vector<uint8_t> Scene::outcome() const {
  std::vector<uint8_t> bytes{static_cast<uint8_t>(code)};
  for (const Plane& plane : planes_) {
    if (!plane.source) bytes.insert(bytes.end(), plane.data, plane.data + plane.size);
  }
  for (uint32_t i = 0; i < outlines.contour_count; ++i) {
    const auto* points = reinterpret_cast<const uint8_t*>(outlines.points[i]);
    bytes.insert(bytes.end(), points, points + size_t{outlines.point_counts[i]} * 8);
  }
  return bytes;
}

}  // namespace robust
