#include <libexif/exif-data.h>

#include <memory>

#include "pictures/codecs.h"

namespace tool {

int exif_orientation(std::span<const uint8_t> tiff) {
  // libexif expects the six bytes that come before the header in a JPEG.
  constexpr std::string_view kMark("Exif\0\0", 6);
  Bytes block(kMark.begin(), kMark.end());
  block.insert(block.end(), tiff.begin(), tiff.end());
  const std::unique_ptr<ExifData, void (*)(ExifData*)> exif(exif_data_new(), exif_data_unref);
  if (exif == nullptr) throw std::bad_alloc();
  exif_data_unset_option(exif.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_load_data(exif.get(), block.data(), static_cast<unsigned>(block.size()));
  const ExifEntry* entry = exif_content_get_entry(exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->size < 2) return 1;
  const int value = exif_get_short(entry->data, exif_data_get_byte_order(exif.get()));
  return value >= 1 && value <= 8 ? value : 1;
}

}  // namespace tool
