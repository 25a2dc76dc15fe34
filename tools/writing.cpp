#include "writing.h"

#include <algorithm>

#include "formats.h"
#include "pictures/alpha.h"

namespace tool {

CLI::Option* WriteOptions::add_to(CLI::App& command, const std::string& description,
                                  const std::vector<std::string>& kinds) {
  kinds_ = kinds;
  if (!kinds.empty()) as_ = kinds.front();
  CLI::Option* output =
      command.add_option("-o,--output", path_, description + "; - is standard output");
  as_option_ = command.add_option("--as", as_, "What is written to a folder or to standard output")
                   ->check(CLI::IsMember(known_kinds()))
                   ->capture_default_str();
  command
      .add_option("--quality", encoding_.quality, "Of JPEG and WebP; a WebP of 100 loses nothing")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  command
      .add_option("--png-level", encoding_.png_level,
                  "Size of PNG files against time: 1 is fast, 12 small")
      ->check(CLI::Range(1, 12))
      ->capture_default_str();
  return output;
}

std::vector<std::string> WriteOptions::known_kinds() const {
  std::vector<std::string> kinds = kinds_;
  kinds.insert(kinds.end(), {"png", "jpg", "webp"});
  const std::vector<std::string> raw = format_names();
  kinds.insert(kinds.end(), raw.begin(), raw.end());
  return kinds;
}

std::string WriteOptions::kind_of(const std::string& path) const {
  if (as_option_->count() > 0 || path == kStandard) return as_;
  std::string kind = ending_of(path);
  if (kind == "jpeg") kind = "jpg";
  const std::vector<std::string> kinds = known_kinds();
  if (std::count(kinds.begin(), kinds.end(), kind) != 0) return kind;
  throw Failure(path + ": the ending says what is written; png, jpg, webp, or for raw frames " +
                CLI::detail::join(format_names(), ", ") +
                (kinds_.empty() ? "" : "; " + CLI::detail::join(kinds_, ", ")));
}

void WriteOptions::write(const std::string& path, Image image, Session& session) const {
  const std::string kind = kind_of(path);
  const Picture picture = for_kind(std::move(image.pixels), kind, session);
  if (kind == "png") return write_file(path, encode_png(picture, image.color, encoding_));
  if (kind == "jpg") return write_file(path, encode_jpeg(picture, image.color, encoding_));
  if (kind == "webp") return write_file(path, encode_webp(picture, image.color, encoding_));
  write_file(path, picture.bytes());
}

bool holds_alpha(const std::string& kind) {
  return kind == "png" || kind == "webp" || kind == "argb";
}

Picture for_kind(Picture picture, const std::string& kind, Session& session) {
  if (const uint32_t raw = find_format(kind); raw != 0) {
    return to_format(std::move(picture), raw, session);
  }
  const uint32_t format = picture.format();
  if (format == QX_FMT_GRAY || (format == QX_FMT_ARGB && holds_alpha(kind))) return picture;
  if (format == QX_FMT_ARGB && is_transparent(picture)) {
    session.note("transparency cannot be kept in a JPEG; white lies behind it");
    return over_white(picture);
  }
  return to_format(std::move(picture), QX_FMT_RGB24, session);
}

}  // namespace tool
