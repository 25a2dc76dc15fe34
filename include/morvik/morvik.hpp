// Morvik for C++17: the functions of morvik.h with images that own their memory, views that know
// their rows, and exceptions. Header only; link the same library.
//
// Every function has a form that writes into a view of the caller's (destination first, as in C)
// and a form that returns an image. Where the C function would return MVK_OK and leave the
// destination alone, or take rows as packed that are not, these throw morvik::Error with a sentence
// or pack the source first. Results are the C functions' bytes. Out of memory is std::bad_alloc or
// OpenCV's exception, as in C.
//
//   morvik::Image smooth = morvik::smooth_mask(photo, mask);
//   for (const auto& outline : morvik::outlines(smooth))
//     for (TPOINT point : outline) draw(point.x, point.y);
#ifndef MORVIK_MORVIK_HPP
#define MORVIK_MORVIK_HPP

#include <morvik/morvik.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace morvik {

// A wrong argument; what() is a sentence.
class Error : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

enum class Format : uint32_t {
  rgb24 = QX_FMT_RGB24,  // B G R in memory
  argb = QX_FMT_ARGB,    // B G R A
  abgr = QX_FMT_ABGR,    // R G B A
  gray = QX_FMT_GRAY,
  nv12 = QX_FMT_NV12,
  nv21 = QX_FMT_NV21
};

struct Size {
  int width;
  int height;
  friend bool operator==(Size a, Size b) { return a.width == b.width && a.height == b.height; }
  friend bool operator!=(Size a, Size b) { return !(a == b); }
};

inline bool is_two_plane(Format format) { return format == Format::nv12 || format == Format::nv21; }

namespace detail {

inline const char* name(Format format) {
  switch (format) {
    case Format::rgb24:
      return "RGB24";
    case Format::argb:
      return "ARGB";
    case Format::abgr:
      return "ABGR";
    case Format::gray:
      return "GRAY";
    case Format::nv12:
      return "NV12";
    default:
      return "NV21";
  }
}

inline std::string text(Size size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

inline void require(bool holds, const std::string& sentence) {
  if (!holds) throw Error(sentence);
}

// The refusals of the library that no check before the call foresaw.
inline void check(uint32_t code, const char* function) {
  if (code == MVK_BAD_ARGUMENT) throw Error(std::string(function) + " refused its arguments");
}

inline int bytes_per_pixel(Format format) {
  return format == Format::rgb24 ? 3 : format == Format::argb || format == Format::abgr ? 4 : 1;
}

inline int row_bytes(Format format, Size size, int plane) {
  return plane == 0 ? size.width * bytes_per_pixel(format) : (size.width + 1) / 2 * 2;
}

inline int row_count(Size size, int plane) {
  return plane == 0 ? size.height : (size.height + 1) / 2;
}

inline int plane_count(Format format) { return is_two_plane(format) ? 2 : 1; }

// Within these limits the library always works.
inline void check_size(Format format, Size size) {
  constexpr int kMaxSide = 1 << 19;
  constexpr int64_t kMaxBytes = 0x7FFFFFFF;
  require(size.width >= 1 && size.height >= 1 && size.width <= kMaxSide && size.height <= kMaxSide,
          "an image of " + text(size) + " pixels; a side has 1 to " + std::to_string(kMaxSide));
  require(int64_t{row_bytes(format, size, 0)} * size.height <= kMaxBytes,
          "an image of " + text(size) + " pixels; it has less than 2 GiB");
}

}  // namespace detail

class Image;

// Pixels in memory owned by someone else, to be read. Copies of it see the same pixels.
class ConstView {
 public:
  // One plane; pitch 0 means packed rows. Two planes: the chroma has the rounded-up half size.
  ConstView(Format format, Size size, const uint8_t* pixels, int pitch = 0)
      : ConstView(format, size, pixels, pitch, nullptr, 0) {}
  ConstView(Format format, Size size, const uint8_t* pixels, int pitch, const uint8_t* chroma,
            int chroma_pitch = 0) {
    detail::check_size(format, size);
    record_.format = static_cast<uint32_t>(format);
    record_.width = size.width;
    record_.height = size.height;
    set_plane(0, pixels, pitch);
    if (is_two_plane(format)) set_plane(1, chroma, chroma_pitch);
  }
  ConstView(const Image& image);

  Format format() const { return static_cast<Format>(record_.format); }
  Size size() const { return {record_.width, record_.height}; }
  int width() const { return record_.width; }
  int height() const { return record_.height; }
  int planes() const { return detail::plane_count(format()); }
  int rows(int plane = 0) const { return detail::row_count(size(), plane); }
  int row_bytes(int plane = 0) const { return detail::row_bytes(format(), size(), plane); }
  int pitch(int plane = 0) const { return record_.pitch[plane]; }
  const uint8_t* row(int y, int plane = 0) const {
    return record_.plane[plane] + ptrdiff_t{y} * record_.pitch[plane];
  }
  bool is_packed() const {
    bool packed = true;
    for (int plane = 0; plane < planes(); ++plane) packed &= pitch(plane) == row_bytes(plane);
    return packed;
  }
  // For the C functions.
  const QX_OFFSCREEN* record() const { return &record_; }

 protected:
  // The library does not write to a source, so that a view of constant memory may lend its record.
  QX_OFFSCREEN record_{};

 private:
  void set_plane(int plane, const uint8_t* start, int pitch) {
    const int row = detail::row_bytes(format(), size(), plane);
    detail::require(start != nullptr, std::string(detail::name(format())) + " without its plane " +
                                          std::to_string(plane));
    detail::require(pitch == 0 || pitch >= row,
                    "a pitch of " + std::to_string(pitch) + " for rows of " + std::to_string(row));
    detail::require(int64_t{pitch} * rows(plane) <= 0x7FFFFFFF, "a plane has less than 2 GiB");
    record_.plane[plane] = const_cast<uint8_t*>(start);
    record_.pitch[plane] = pitch == 0 ? row : pitch;
  }
};

// Pixels in memory owned by someone else, to be written.
class View : public ConstView {
 public:
  View(Format format, Size size, uint8_t* pixels, int pitch = 0)
      : ConstView(format, size, pixels, pitch) {}
  View(Format format, Size size, uint8_t* pixels, int pitch, uint8_t* chroma, int chroma_pitch = 0)
      : ConstView(format, size, pixels, pitch, chroma, chroma_pitch) {}
  View(Image& image);
  uint8_t* row(int y, int plane = 0) const {
    return record_.plane[plane] + ptrdiff_t{y} * record_.pitch[plane];
  }
};

// An image with packed rows that owns its memory. Black at first, with neutral chroma.
class Image {
 public:
  Image(Format format, Size size) : format_(format), size_(size) {
    detail::check_size(format, size);
    pixels_.resize(plane_bytes(0));
    if (is_two_plane(format)) pixels_.resize(plane_bytes(0) + plane_bytes(1), 128);
  }
  explicit Image(const ConstView& from) : Image(from.format(), from.size()) {
    for (int plane = 0; plane < from.planes(); ++plane) {
      for (int y = 0; y < from.rows(plane); ++y) {
        std::memcpy(view().row(y, plane), from.row(y, plane),
                    static_cast<size_t>(from.row_bytes(plane)));
      }
    }
  }

  Format format() const { return format_; }
  Size size() const { return size_; }
  uint8_t* data() { return pixels_.data(); }
  const uint8_t* data() const { return pixels_.data(); }
  size_t bytes() const { return pixels_.size(); }
  uint8_t* row(int y, int plane = 0) { return data() + row_start(y, plane); }
  const uint8_t* row(int y, int plane = 0) const { return data() + row_start(y, plane); }

  View view() { return {format_, size_, data(), 0, data() + plane_bytes(0), 0}; }
  ConstView view() const { return {format_, size_, data(), 0, data() + plane_bytes(0), 0}; }

 private:
  size_t plane_bytes(int plane) const {
    return static_cast<size_t>(detail::row_bytes(format_, size_, plane)) *
           static_cast<size_t>(detail::row_count(size_, plane));
  }
  ptrdiff_t row_start(int y, int plane) const {
    return static_cast<ptrdiff_t>(plane == 0 ? 0 : plane_bytes(0)) +
           ptrdiff_t{y} * detail::row_bytes(format_, size_, plane);
  }

  Format format_;
  Size size_;
  std::vector<uint8_t> pixels_;
};

inline ConstView::ConstView(const Image& image) : ConstView(image.view()) {}
inline View::View(Image& image) : View(image.view()) {}

namespace detail {

// A source whose rows are packed: the view itself, or a copy.
class Packed {
 public:
  explicit Packed(const ConstView& view) : view_(view) {
    if (view.is_packed()) return;
    copy_.emplace(view);
    view_ = copy_->view();
  }
  Packed(const Packed&) = delete;
  Packed& operator=(const Packed&) = delete;
  const QX_OFFSCREEN* record() const { return view_.record(); }

 private:
  std::optional<Image> copy_;
  ConstView view_;
};

inline void require_format(const ConstView& image, std::initializer_list<Format> formats,
                           const char* function) {
  require(std::find(formats.begin(), formats.end(), image.format()) != formats.end(),
          std::string(function) + " does not take " + name(image.format()));
}

inline void require_destination(const ConstView& dst, Format format, Size size) {
  require(dst.format() == format,
          std::string("the destination is ") + name(dst.format()) + ", not " + name(format));
  require(dst.size() == size,
          "the destination is " + text(dst.size()) + ", " + text(size) + " is needed");
}

// Whether two planes share bytes; views side by side in one image do not.
inline bool share_bytes(const ConstView& a, int plane_a, const ConstView& b, int plane_b) {
  const auto start = [](const ConstView& view, int plane) {
    return reinterpret_cast<intptr_t>(view.row(0, plane));
  };
  const intptr_t pitch = b.pitch(plane_b);
  for (int y = 0; y < a.rows(plane_a); ++y) {
    const intptr_t from = start(a, plane_a) + intptr_t{y} * a.pitch(plane_a) - start(b, plane_b);
    const intptr_t to = from + a.row_bytes(plane_a);
    if (to <= 0) continue;
    const intptr_t last = std::min<intptr_t>((to - 1) / pitch, b.rows(plane_b) - 1);
    if (last * pitch + b.row_bytes(plane_b) > from) return true;
  }
  return false;
}

// Of a destination and a source, and of the destination's own planes.
inline void require_apart(const ConstView& dst, const ConstView& src) {
  bool apart = dst.planes() == 1 || !share_bytes(dst, 0, dst, 1);
  for (int to = 0; to < dst.planes(); ++to) {
    for (int from = 0; from < src.planes(); ++from) apart &= !share_bytes(dst, to, src, from);
  }
  require(apart, "the destination overlaps a source or itself");
}

// Of functions that can work in place: the very pixels of the source, or others.
inline void require_apart_or_same(const ConstView& dst, const ConstView& src) {
  if (dst.row(0) != src.row(0) || dst.pitch() != src.pitch()) require_apart(dst, src);
}

inline void require_packed(const ConstView& dst) {
  require(dst.is_packed(), "the destination has padded rows; this function writes packed ones");
}

inline void require_range(int64_t value, int64_t low, int64_t high, const char* what) {
  require(value >= low && value <= high, std::string(what) + " is " + std::to_string(value) + "; " +
                                             std::to_string(low) + " to " + std::to_string(high) +
                                             " is accepted");
}

inline bool has_conversion(Format to, Format from) {
  if (to == from) return false;
  return is_two_plane(to) || is_two_plane(from) || (to != Format::abgr && from != Format::abgr);
}

inline Size even(Size size) { return {size.width & ~1, size.height & ~1}; }

inline void require_pairs(Size size) {
  require(size.width > 1 && size.height > 1,
          "of a frame with one row or column nothing would be written");
}

// A two-plane view without its odd last row and column, which belong to no whole pair.
inline ConstView even_part(const ConstView& image) {
  if (!is_two_plane(image.format())) return image;
  require_pairs(image.size());
  return {image.format(), even(image.size()), image.row(0),
          image.pitch(),  image.row(0, 1),    image.pitch(1)};
}

}  // namespace detail

// For wrong arguments without exceptions: what the call returns, and true where it returns nothing.
// When it throws Error, error is std::errc::invalid_argument and the result empty, or false.
//   std::error_code error;
//   auto smooth = morvik::attempt(error, [&] { return morvik::smooth_mask(photo, mask); });
template <class Call>
auto attempt(std::error_code& error, Call&& call) {
  using Result = std::invoke_result_t<Call>;
  error.clear();
  if constexpr (std::is_void_v<Result>) {
    return attempt(error, [&] { return call(), true; }).value_or(false);
  } else {
    try {
      return std::optional<Result>(std::in_place, call());
    } catch (const Error&) {
      error = std::make_error_code(std::errc::invalid_argument);
      return std::optional<Result>();
    }
  }
}

inline const char* version() { return qxMorvik_version(); }

// Images of equal format (not ABGR) and size. Of odd two-plane sizes the even part is copied.
inline void copy(const View& dst, const ConstView& src) {
  detail::require_format(
      src, {Format::rgb24, Format::argb, Format::gray, Format::nv12, Format::nv21}, "copy");
  detail::require_destination(dst, src.format(), src.size());
  if (is_two_plane(src.format())) detail::require_pairs(src.size());
  detail::require_apart(dst, src);
  detail::check(mvk_copy(dst.record(), src.record()), "mvk_copy");
}

// Of odd sizes, gray to NV12 and NV21 writes the even part.
inline void convert(const View& dst, const ConstView& src) {
  detail::require(detail::has_conversion(dst.format(), src.format()),
                  std::string("there is no conversion from ") + detail::name(src.format()) +
                      " to " + detail::name(dst.format()));
  detail::require_destination(dst, dst.format(), src.size());
  if (src.format() == Format::gray && is_two_plane(dst.format())) {
    detail::require_pairs(src.size());
  }
  detail::require_apart(dst, src);
  detail::check(mvk_convert(dst.record(), src.record()), "mvk_convert");
}

inline Image convert(const ConstView& src, Format format) {
  Image dst(format, src.size());
  convert(dst, src);
  return dst;
}

enum class Scaling : uint32_t {
  nearest = MVK_RESIZE_NEAREST,
  linear = MVK_RESIZE_LINEAR,
  cubic = MVK_RESIZE_CUBIC,
  area = MVK_RESIZE_AREA
};

// Not ABGR. Two-plane images have even sizes afterwards; an odd last row and column is left out.
inline void resize(const View& dst, const ConstView& src, Scaling method = Scaling::area) {
  detail::require(src.format() != Format::abgr, "resize does not take ABGR");
  detail::require_destination(dst, src.format(), dst.size());
  detail::require(
      !is_two_plane(dst.format()) || dst.size() == detail::even(dst.size()),
      "a two-plane image is scaled to even sizes; " + detail::text(dst.size()) + " is odd");
  detail::require_apart(dst, src);
  detail::check(
      mvk_resize(dst.record(), detail::even_part(src).record(), static_cast<uint32_t>(method)),
      "mvk_resize");
}

inline Image resize(const ConstView& src, Size size, Scaling method = Scaling::area) {
  Image dst(src.format(), size);
  resize(dst, src, method);
  return dst;
}

// The size of an image that is turned; of two-plane images the even part is turned.
inline Size turned_size(const ConstView& src, int degrees) {
  const Size size = detail::even_part(src).size();
  return degrees % 180 == 0 ? size : Size{size.height, size.width};
}

// Clockwise by 0 (a copy), 90, 180 or 270 degrees. Not ABGR.
inline void rotate(const View& dst, const ConstView& src, int degrees) {
  detail::require(degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270,
                  "turns are 0, 90, 180 or 270 degrees, not " + std::to_string(degrees));
  detail::require(src.format() != Format::abgr, "rotate does not take ABGR");
  const ConstView even = detail::even_part(src);
  detail::require_destination(dst, src.format(), turned_size(src, degrees));
  detail::require_apart(dst, src);
  if (detail::bytes_per_pixel(src.format()) > 1) {  // rows by pitch
    return detail::check(mvk_rotate(dst.record(), even.record(), degrees), "mvk_rotate");
  }
  detail::require_packed(dst);
  detail::check(mvk_rotate(dst.record(), detail::Packed(even).record(), degrees), "mvk_rotate");
}

inline Image rotate(const ConstView& src, int degrees) {
  Image dst(src.format(), turned_size(src, degrees));
  rotate(dst, src, degrees);
  return dst;
}

struct SmoothOptions {
  bool snap = false;     // move edges to steps in brightness of the photograph
  uint32_t limit = 640;  // working size in pixels
};

// A coarse GRAY mask at the size of its RGB24 photograph, with smooth edges.
inline void smooth_mask(const View& dst, const ConstView& mask, const ConstView& photo,
                        SmoothOptions options = {}) {
  detail::require_format(mask, {Format::gray}, "smooth_mask (as mask)");
  detail::require_format(photo, {Format::rgb24}, "smooth_mask (as photograph)");
  detail::require_destination(dst, Format::gray, photo.size());
  detail::require_packed(dst);
  const std::string given = "the mask is " + detail::text(mask.size());
  detail::require(mask.width() <= 520 && mask.height() <= 520,
                  given + "; at most 520 x 520 is accepted");
  detail::require(mask.width() < photo.width() && mask.height() < photo.height(),
                  given + "; it has to be smaller than the photograph (" +
                      detail::text(photo.size()) + ") in both directions");
  detail::require_apart(dst, mask);
  detail::require_apart(dst, photo);
  detail::check(
      mvk_make_mask_smooth(dst.record(), detail::Packed(mask).record(),
                           detail::Packed(photo).record(), options.snap ? 1u : 0u, options.limit),
      "the limit is too small for the mask: mvk_make_mask_smooth");
}

inline Image smooth_mask(const ConstView& photo, const ConstView& mask,
                         SmoothOptions options = {}) {
  Image dst(Format::gray, photo.size());
  smooth_mask(dst, mask, photo, options);
  return dst;
}

// Black and white (above level, 0 to 254) without holes. dst may be the source.
inline void fill_holes(const View& dst, const ConstView& mask, int level = 127) {
  detail::require_format(mask, {Format::gray}, "fill_holes");
  detail::require_destination(dst, Format::gray, mask.size());
  detail::require_packed(dst);
  detail::require_range(level, 0, 254, "the level");
  detail::require_apart_or_same(dst, mask);
  detail::check(
      mvk_make_up_holes(dst.record(), detail::Packed(mask).record(), static_cast<uint32_t>(level)),
      "mvk_make_up_holes");
}

inline Image fill_holes(const ConstView& mask, int level = 127) {
  Image dst(Format::gray, mask.size());
  fill_holes(dst, mask, level);
  return dst;
}

// Grows (amount above 0) or shrinks a mask by about half the amount on each side; -200 to 200
// without 0. dst may be the source.
inline void morph(const View& dst, const ConstView& mask, int amount) {
  detail::require_format(mask, {Format::gray}, "morph");
  detail::require_destination(dst, Format::gray, mask.size());
  detail::require_packed(dst);
  detail::require_range(amount, -200, 200, "the amount");
  detail::require(amount != 0, "an amount of 0 changes nothing");
  detail::require_apart_or_same(dst, mask);
  detail::check(mvk_mask_morph(dst.record(), detail::Packed(mask).record(), amount),
                "mvk_mask_morph");
}

inline Image morph(const ConstView& mask, int amount) {
  Image dst(Format::gray, mask.size());
  morph(dst, mask, amount);
  return dst;
}

struct BlurOptions {
  MKBlur filter = MKBlur::Gaussian;
  int kernel = 9;  // side in pixels, odd, 1 to 199; of Bilateral the diameter
  // Gaussian: across, in pixels, 0 derives it from kernel; Bilateral: in colours, 40 by default.
  std::optional<uint32_t> sigma_first = std::nullopt;
  // Gaussian: down, 0 takes the first; Bilateral: in pixels, 40 by default.
  std::optional<uint32_t> sigma_second = std::nullopt;
};

// GRAY and RGB24. dst may be the source.
inline void blur(const View& dst, const ConstView& src, BlurOptions options = {}) {
  detail::require_format(src, {Format::gray, Format::rgb24}, "blur");
  detail::require_destination(dst, src.format(), src.size());
  detail::require_packed(dst);
  detail::require_range(options.kernel, 1, 199, "the kernel");
  detail::require(options.kernel % 2 == 1, "the kernel is even; an odd number is needed");
  detail::require_apart_or_same(dst, src);
  const uint32_t sigma = options.filter == MKBlur::Bilateral ? 40 : 0;
  detail::check(
      mvk_smooth(detail::Packed(src).record(), dst.record(), static_cast<uint32_t>(options.kernel),
                 options.filter, 0, options.sigma_first.value_or(sigma),
                 options.sigma_second.value_or(sigma)),
      "mvk_smooth");
}

inline Image blur(const ConstView& src, BlurOptions options = {}) {
  Image dst(src.format(), src.size());
  blur(dst, src, options);
  return dst;
}

// 255 inside a polygon and on its border, 0 elsewhere.
inline void fill_polygon(const View& dst, const std::vector<TPOINT>& points) {
  detail::require_format(dst, {Format::gray}, "fill_polygon");
  detail::require_packed(dst);
  const TPOINT none{};
  detail::check(mvk_fill_area_up(dst.record(), static_cast<uint32_t>(points.size()),
                                 points.empty() ? &none : points.data()),
                "mvk_fill_area_up");
}

inline Image fill_polygon(const std::vector<TPOINT>& points, Size size) {
  Image dst(Format::gray, size);
  fill_polygon(dst, points);
  return dst;
}

// The box around the pixels that are level (1 to 254) or more.
inline std::optional<MKRect> bounding_box(const ConstView& mask, int level = 128) {
  detail::require_format(mask, {Format::gray}, "bounding_box");
  detail::require_range(level, 1, 254, "the level");
  MKRect box{};
  const uint32_t code = mvk_get_mask_roi(mask.record(), &box, static_cast<uint32_t>(level));
  detail::check(code, "mvk_get_mask_roi");
  if (code == MVK_NOT_FOUND) return std::nullopt;
  return box;
}

// One outline of an Outlines: a range of points in memory of the library.
class Outline {
 public:
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;  // points are made as they are asked for
    using value_type = TPOINT;
    using difference_type = ptrdiff_t;
    using pointer = const TPOINT*;
    using reference = TPOINT;
    explicit iterator(const int32_t* at) : at_(at) {}
    TPOINT operator*() const { return {at_[0], at_[1]}; }
    iterator& operator++() {
      at_ += 2;
      return *this;
    }
    iterator operator++(int) {
      const iterator before = *this;
      at_ += 2;
      return before;
    }
    friend bool operator==(iterator a, iterator b) { return a.at_ == b.at_; }
    friend bool operator!=(iterator a, iterator b) { return a.at_ != b.at_; }

   private:
    const int32_t* at_;
  };

  Outline(const int32_t* points, size_t count) : points_(points), count_(count) {}
  size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  TPOINT operator[](size_t i) const { return {points_[2 * i], points_[2 * i + 1]}; }
  iterator begin() const { return iterator(points_); }
  iterator end() const { return iterator(points_ + 2 * count_); }

 private:
  const int32_t* points_;
  size_t count_;
};

// What outlines() found; owns the library's arrays.
class Outlines {
 public:
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Outline;
    using difference_type = ptrdiff_t;
    using pointer = const Outline*;
    using reference = Outline;
    iterator(const Outlines* of, size_t at) : of_(of), at_(at) {}
    Outline operator*() const { return (*of_)[at_]; }
    iterator& operator++() {
      ++at_;
      return *this;
    }
    iterator operator++(int) { return {of_, at_++}; }
    friend bool operator==(iterator a, iterator b) { return a.at_ == b.at_; }
    friend bool operator!=(iterator a, iterator b) { return a.at_ != b.at_; }

   private:
    const Outlines* of_;
    size_t at_;
  };

  // By the record of the C interface; outlines() has options with defaults.
  Outlines(const ConstView& mask, const MKOutlineMode& mode) : found_(new MKGetOutline{}) {
    const bool by_pitch = mask.format() == Format::nv21;
    trace(by_pitch || mask.is_packed() ? mask : Image(mask).view(), mode);
  }

  size_t size() const { return found_ ? found_->contour_count : 0; }
  bool empty() const { return size() == 0; }
  Outline operator[](size_t i) const { return {found_->points[i], found_->point_counts[i]}; }
  iterator begin() const { return {this, 0}; }
  iterator end() const { return {this, size()}; }

 private:
  struct ReleaseHandle {
    void operator()(void* handle) const { mvk_outline_destroy(handle, nullptr); }
  };
  struct ReleaseArrays {
    void operator()(MKGetOutline* found) const {
      mvk_outline_destroy(nullptr, found);
      delete found;
    }
  };
  void trace(const ConstView& mask, const MKOutlineMode& mode) {
    const std::unique_ptr<void, ReleaseHandle> handle(mvk_outline_create());
    if (handle == nullptr) throw std::bad_alloc();
    const uint32_t code = mvk_outline_expansion(handle.get(), mask.record(), &mode, found_.get());
    detail::check(code, "mvk_outline_expansion");
  }
  std::unique_ptr<MKGetOutline, ReleaseArrays> found_;
};

struct OutlineOptions {
  uint32_t mode = MK_OMODE_STROKE;
  int expand = 12;                              // pixels, 0 to 500
  int smooth = 0;                               // per cent of an outline's length, 0 to 5
  bool ends_only = false;                       // the ends of straight runs instead of every pixel
  bool as_polygons = false;                     // simplified to within 1 % of the length
  int threshold = 127;                          // pixels above it are shape, 0 to 253
  std::optional<TPOINT> center = std::nullopt;  // MK_OMODE_POLAR_CENTER, MK_OMODE_VECTOR_CENTER
};

// Grows the shapes of a GRAY mask (or of the Y plane of an NV21 frame) and traces them. A mask
// without shapes has no outlines.
inline Outlines outlines(const ConstView& mask, const OutlineOptions& options = {}) {
  detail::require_format(mask, {Format::gray, Format::nv21}, "outlines");
  detail::require_range(options.mode, 0, MK_OMODE_VECTOR_CENTER, "the mode");
  detail::require_range(options.expand, 0, 500, "expand");
  detail::require_range(options.smooth, 0, 5, "smooth");
  detail::require_range(options.threshold, 0, 253, "the threshold");
  const bool about_center =
      options.mode == MK_OMODE_POLAR_CENTER || options.mode == MK_OMODE_VECTOR_CENTER;
  detail::require(!options.center || about_center, "this mode has no center");
  MKOutlineMode mode{};
  mode.mode = options.mode;
  mode.chain_approx = options.ends_only ? MK_OCHAIN_SIMPLE : MK_OCHAIN_ALL;
  mode.expand_size = static_cast<uint16_t>(options.expand);
  mode.smooth_level = static_cast<MKOSmoothLevel>(options.smooth);
  mode.approx_poly = options.as_polygons ? 1 : 0;
  mode.center = options.center ? &*options.center : nullptr;
  mode.threshold = static_cast<uint8_t>(options.threshold);
  return {mask, mode};
}

// Eleven points of the forehead of a face of 106 or 96 landmarks.
inline std::array<TPOINT, 11> forehead(const std::vector<TPOINT>& landmarks, Size image) {
  detail::require(landmarks.size() == 106 || landmarks.size() == 96,
                  std::to_string(landmarks.size()) + " landmarks; 106 or 96 are expected");
  detail::check_size(Format::gray, image);
  static_assert(sizeof(TPOINT) == 2 * sizeof(int32_t));
  std::array<TPOINT, 11> points{};
  detail::check(mvk_guess_forehead_landmarks(&points[0].x, &landmarks[0].x,
                                             static_cast<uint32_t>(landmarks.size()), image.width,
                                             image.height),
                "mvk_guess_forehead_landmarks");
  return points;
}

namespace detail {

inline size_t line_count(const std::string& path) {
  std::error_code none;
  require(std::filesystem::is_regular_file(path, none), path + " cannot be read");
  std::ifstream file(path, std::ios::binary);
  size_t lines = 0;
  char last = '\n';
  for (char character = 0; file.get(character); last = character) lines += character == '\n';
  require(file.is_open() && !file.bad(), path + " cannot be read");
  return last == '\n' ? lines : lines + 1;
}

}  // namespace detail

struct PointF {
  float x;
  float y;
};

// The points of a landmark file: PointF, or TPOINT for whole numbers.
template <class Point = PointF>
std::vector<Point> read_landmarks(const std::string& path, char separator = ',') {
  static_assert(std::is_same_v<Point, PointF> || std::is_same_v<Point, TPOINT>);
  const size_t lines = detail::line_count(path);
  std::vector<Point> points(lines);
  detail::check(mvk_read_landmarks(points.data(), static_cast<int>(points.size()), path.c_str(),
                                   std::is_same_v<Point, PointF> ? 1 : 0, 2, separator),
                "mvk_read_landmarks");
  return points;
}

template <class Point>
void write_landmarks(const std::string& path, const std::vector<Point>& points,
                     char separator = ',') {
  static_assert(std::is_same_v<Point, PointF> || std::is_same_v<Point, TPOINT>);
  using std::filesystem::file_type;
  std::error_code none;  // the type says what is wrong
  const file_type type = std::filesystem::status(path, none).type();
  detail::require(type == file_type::regular || type == file_type::not_found,
                  path + " is no regular file");
  detail::require(std::ofstream(path).good(), path + " cannot be written");
  detail::check(mvk_write_landmarks(points.data(), static_cast<int>(points.size()), path.c_str(),
                                    std::is_same_v<Point, PointF> ? 1 : 0, 2, separator),
                "mvk_write_landmarks");
  detail::require(detail::line_count(path) == points.size(), path + " was not written as a whole");
}

}  // namespace morvik

#endif  // MORVIK_MORVIK_HPP
