// The tool's readers on any bytes: they report a failure or return a whole picture.
#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace {

// What was read can be written again, profile included.
void read_and_write(std::span<const uint8_t> file) {
  const tool::Decoded decoded = tool::decode_picture(file);
  tool::encode_png(decoded.picture, decoded.color);
  const int64_t pixels = int64_t{decoded.picture.width()} * decoded.picture.height();
  if (pixels < 10'000) tool::encode_webp(decoded.picture, decoded.color);
}

void read_raw(std::span<const uint8_t> data) {
  const std::vector<std::string> names = tool::format_names();
  const bool i420 = data[0] >= 128;
  const uint32_t format = i420 ? QX_FMT_NV12 : tool::find_format(names[data[0] % names.size()]);
  tool::RawLayout layout{format, i420, {data[1], data[2]}, {}, {}, {}};
  if (data[3] != 0) layout.stride = data[3];
  if (data[4] != 0) layout.stride_uv = data[4];
  if (data[5] != 0) layout.offset_uv = 16 * data[5];
  tool::decode_raw(data.subspan(6), layout);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> file(data, size);
  tool::exif_orientation(file);
  try {
    if (tool::is_png(file) || tool::is_jpeg(file) || tool::is_webp(file)) {
      read_and_write(file);
    } else if (size > 6) {
      read_raw(file);
    }
  } catch (const tool::Failure&) {
  }
  return 0;
}
