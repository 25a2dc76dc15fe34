#include "reading.h"

#include <algorithm>

#include "formats.h"
#include "pictures/alpha.h"

namespace tool {
namespace {

constexpr const char* kI420 = "i420";

int brightest(const Picture& mask) {
  return *std::max_element(mask.row(0),
                           mask.row(0) + mask.row_bytes() * static_cast<size_t>(mask.rows()));
}

void stretch(Picture& mask) {
  const int highest = brightest(mask);
  if (highest == 0) return;
  for (int y = 0; y < mask.height(); ++y) {
    uint8_t* row = mask.row(y);
    std::transform(row, row + mask.width(), row, [&](uint8_t value) {
      return static_cast<uint8_t>((value * 255 + highest / 2) / highest);
    });
  }
}

}  // namespace

FrameReader::FrameReader(const std::string& path, const RawLayout& layout)
    : path_(path), file_(path), layout_(layout) {}

std::optional<Picture> FrameReader::next() {
  const FrameBytes expected = frame_bytes(layout_);
  const Bytes frame = file_.read(expected.full);
  if (frame.empty() && done_ > 0) return std::nullopt;
  if (frame.size() < expected.least) {
    throw Failure(shown_name(path_) + ": frame " + std::to_string(done_ + 1) + " has " +
                  std::to_string(frame.size()) + " bytes; " + describe(layout_) + " has " +
                  std::to_string(expected.full) + "; frames done before: " + std::to_string(done_));
  }
  ++done_;
  return decode_raw(frame, layout_);
}

void ReadOptions::add_to(CLI::App& command, const std::string& input) {
  std::vector<std::string> formats = format_names();
  formats.emplace_back(kI420);
  CLI::Option* raw = command
                         .add_option("--raw", format_,
                                     input +
                                         " has no header but pixels of this format; i420 is "
                                         "nv12 with its chroma in two planes")
                         ->check(CLI::IsMember(formats));
  CLI::Option* size =
      command.add_option("--size", size_, "Size of a raw frame, WIDTHxHEIGHT")->needs(raw);
  raw->needs(size);
  command.add_option("--stride", stride_, "Bytes from row to row of a raw frame")
      ->needs(raw)
      ->check(CLI::PositiveNumber);
  command
      .add_option("--stride-uv", stride_uv_,
                  "The same of its chroma, if it differs (i420: if it is not the half)")
      ->needs(raw)
      ->check(CLI::PositiveNumber);
  command
      .add_option("--offset-uv", offset_uv_,
                  "Bytes from the start of a raw frame to its chroma, if it is not right behind")
      ->needs(raw)
      ->check(CLI::PositiveNumber);
  command.add_flag("--no-orient", as_stored_,
                   "Take pictures as they are stored, whatever EXIF says of their orientation");
}

std::optional<RawLayout> ReadOptions::raw() const {
  if (format_.empty()) return std::nullopt;
  RawLayout layout;
  layout.i420 = format_ == kI420;
  layout.format = layout.i420 ? QX_FMT_NV12 : find_format(format_);
  layout.size = parse_size(size_);
  layout.stride = stride_;
  layout.stride_uv = stride_uv_;
  layout.offset_uv = offset_uv_;
  if (planes_of(layout.format) == 1 && (stride_uv_ || offset_uv_)) {
    throw Failure("--stride-uv and --offset-uv are for nv12, nv21 and i420; " + format_ +
                  " has no chroma of its own");
  }
  return layout;
}

Image ReadOptions::read(const std::string& path, Session& session) const {
  const std::optional<RawLayout> layout = raw();
  if (!layout) return read_file(path, session);
  FrameReader frames(path, *layout);
  Picture frame = *frames.next();
  if (frames.next()) {
    throw Failure(shown_name(path) + " has more than one frame; only raw output takes several");
  }
  return {std::move(frame), {}};
}

Image ReadOptions::read_file(const std::string& path, Session& session) const {
  const Bytes file = tool::read_file(path);
  try {
    Decoded decoded = decode_picture(file);
    if (!decoded.remark.empty()) session.warn(shown_name(path) + ": " + decoded.remark);
    const int orientation = as_stored_ ? 1 : decoded.orientation;
    return {upright(std::move(decoded.picture), orientation, session), std::move(decoded.color)};
  } catch (const Failure& failure) {
    throw Failure(shown_name(path) + ": " + failure.what());
  }
}

Photo ReadOptions::read_photo(const std::string& path, Session& session) const {
  return as_photo(read(path, session), session);
}

Photo as_photo(Image image, Session& session) {
  std::optional<Picture> alpha;
  if (is_transparent(image.pixels)) alpha = alpha_of(image.pixels);
  return {to_format(std::move(image.pixels), QX_FMT_RGB24, session), std::move(alpha),
          std::move(image.color)};
}

void MaskOptions::add_to(CLI::App& command) {
  command
      .add_option(
          "--mask-channel", channel_,
          "What of a picture is the mask: alpha, luma (brightness), or auto: alpha where it "
          "varies")
      ->check(CLI::IsMember({"alpha", "luma", "auto"}))
      ->capture_default_str();
  command.add_flag("--stretch", stretch_,
                   "Make the mask's brightest pixel 255, the others in "
                   "proportion");
}

Picture MaskOptions::as_mask(Picture picture, Session& session) const {
  if (channel_ == "alpha" && picture.format() != QX_FMT_ARGB) {
    throw Failure("the mask has no alpha channel");
  }
  const bool alpha = channel_ == "alpha" || (channel_ == "auto" && alpha_varies(picture));
  Picture mask = alpha ? alpha_of(picture) : to_format(std::move(picture), QX_FMT_GRAY, session);
  if (stretch_) stretch(mask);
  return mask;
}

std::string advice_on(const Picture& mask) {
  const int highest = brightest(mask);
  if (highest == 0) return "; the mask is black";
  const std::string value = std::to_string(highest);
  return "; its brightest pixel is " + value + " (--stretch maps 0.." + value + " to 0..255)";
}

void warn_if_dark(const Picture& mask, int level, const Session& session) {
  if (brightest(mask) > level) return;
  session.warn("no pixel of the mask is above " + std::to_string(level) + advice_on(mask));
}

}  // namespace tool
