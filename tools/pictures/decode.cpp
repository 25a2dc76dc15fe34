#include <cstring>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

// Kinds that are told apart only to say what to do with them: all have a box "ftyp" at byte 4.
std::string advice(std::span<const uint8_t> file) {
  const std::string_view start(reinterpret_cast<const char*>(file.data()),
                               std::min<size_t>(file.size(), 12));
  if (start.size() == 12 && start.substr(4, 4) == "ftyp") {
    const std::string_view brand = start.substr(8);
    if (brand == "avif" || brand == "avis") {
      return "this is AVIF, which is not read; convert it with 'avifdec photo.avif photo.png'";
    }
    for (const std::string_view heic : {"heic", "heix", "heim", "heis", "hevc", "mif1", "msf1"}) {
      if (brand == heic) {
        return "this is HEIC, which is not read; convert it with 'heif-convert photo.heic "
               "photo.jpg'";
      }
    }
  }
  return "neither PNG nor JPEG nor WebP; for a raw frame add --raw FORMAT --size WIDTHxHEIGHT";
}

}  // namespace

Decoded decode_picture(std::span<const uint8_t> file) {
  if (is_png(file)) return decode_png(file);
  if (is_jpeg(file)) return decode_jpeg(file);
  if (is_webp(file)) return decode_webp(file);
  throw Failure(advice(file));
}

}  // namespace tool
