// Picture files in memory. Decoders take any bytes: what is damaged, too large or of an unknown
// kind gives a Failure, never a half-read picture.
#pragma once

#include <optional>
#include <span>

#include "pictures/picture.h"

namespace tool {

struct Decoded {
  Picture picture;
  ColorTags color{};
  int orientation = 1;   // 1 to 8 as EXIF counts; pixels are as they are stored
  std::string remark{};  // what is odd about the file, though no pixel is lost; mostly empty
};

struct Encoding {
  int quality = 92;   // of JPEG and WebP, 1 to 100; a WebP of 100 loses nothing
  int png_level = 1;  // 1 is fast, up to 12 for smaller files
};

// Pixels are GRAY, RGB24, or ARGB where the file has transparency. Values are taken as they are
// stored: neither a gamma nor a profile is applied.
bool is_png(std::span<const uint8_t> file);
Decoded decode_png(std::span<const uint8_t> file);
Bytes encode_png(const Picture& picture, const ColorTags& color = {}, const Encoding& how = {});

// GRAY or RGB24.
bool is_jpeg(std::span<const uint8_t> file);
Decoded decode_jpeg(std::span<const uint8_t> file);
Bytes encode_jpeg(const Picture& picture, const ColorTags& color = {}, const Encoding& how = {});

// RGB24 or ARGB; GRAY pictures are masks more often than not and are written without loss.
bool is_webp(std::span<const uint8_t> file);
Decoded decode_webp(std::span<const uint8_t> file);
Bytes encode_webp(const Picture& picture, const ColorTags& color = {}, const Encoding& how = {});

// Any of these by its first bytes; what else they tell, such as HEIC, becomes part of the sentence.
Decoded decode_picture(std::span<const uint8_t> file);

// Orientation in an EXIF block that starts with its TIFF header; 1 when there is none.
int exif_orientation(std::span<const uint8_t> tiff);

// Pixels without a header. Distances are in bytes; those that are not given follow from the size:
// packed rows, planes one behind the other.
struct RawLayout {
  uint32_t format = QX_FMT_GRAY;
  bool i420 = false;  // three planes Y, U, V; format is NV12, into which they are joined
  Size size;
  std::optional<int> stride;
  std::optional<int> stride_uv;
  std::optional<int64_t> offset_uv;  // start of the frame to start of its chroma
};
// Of one frame; the padding behind its last row may be missing.
struct FrameBytes {
  size_t full = 0;
  size_t least = 0;
};
FrameBytes frame_bytes(const RawLayout& layout);
std::string describe(const RawLayout& layout);  // "a 640x480 nv21 frame with rows of ..."
Picture decode_raw(std::span<const uint8_t> frame, const RawLayout& layout);

}  // namespace tool
