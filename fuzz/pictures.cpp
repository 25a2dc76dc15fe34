// The tool's readers on any bytes: a failure is told, or a whole picture comes out.
#include "pictures/codecs.h"
#include "pictures/failure.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> file(data, size);
  try {
    if (tool::is_png(file)) {
      tool::encode_png(tool::decode_png(file));
    } else if (tool::is_jpeg(file)) {
      tool::decode_jpeg(file);
    } else if (size > 4) {
      const uint32_t format = tool::kFormats[data[0] % tool::kFormats.size()].code;
      tool::decode_raw(file.subspan(4), {format, {data[1], data[2]}, static_cast<int8_t>(data[3])});
    }
  } catch (const tool::Failure&) {
  }
  return 0;
}
