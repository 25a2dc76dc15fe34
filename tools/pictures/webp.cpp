#include <webp/decode.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cstring>
#include <memory>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

constexpr int kLossless = 100;  // quality from which nothing is lost

using Mux = std::unique_ptr<WebPMux, void (*)(WebPMux*)>;

Bytes chunk_of(const Mux& mux, const char* name) {
  WebPData data{};
  if (WebPMuxGetChunk(mux.get(), name, &data) != WEBP_MUX_OK) return {};
  return {data.bytes, data.bytes + data.size};
}

// Some writers copy the mark of a JPEG's EXIF block along.
int orientation_of(const Bytes& exif) {
  constexpr std::string_view kMark("Exif\0\0", 6);
  const std::string_view text(reinterpret_cast<const char*>(exif.data()), exif.size());
  return exif_orientation(std::span(exif).subspan(text.starts_with(kMark) ? kMark.size() : 0));
}

Bytes with_profile(const Bytes& file, const Bytes& icc) {
  const Mux mux(WebPMuxNew(), WebPMuxDelete);
  const WebPData image{file.data(), file.size()};
  const WebPData profile{icc.data(), icc.size()};
  WebPData joined{};
  if (mux == nullptr || WebPMuxSetImage(mux.get(), &image, 0) != WEBP_MUX_OK ||
      WebPMuxSetChunk(mux.get(), "ICCP", &profile, 0) != WEBP_MUX_OK ||
      WebPMuxAssemble(mux.get(), &joined) != WEBP_MUX_OK) {
    throw Failure("the WebP's colour profile cannot be written");
  }
  const std::unique_ptr<WebPData, void (*)(WebPData*)> owner(&joined, WebPDataClear);
  return {joined.bytes, joined.bytes + joined.size};
}

// The encoder's own picture.
struct Import : WebPPicture {
  Import() : WebPPicture{} {
    if (WebPPictureInit(this) == 0) throw Failure("libwebp is of another version");
  }
  ~Import() { WebPPictureFree(this); }
  Import(const Import&) = delete;
  Import& operator=(const Import&) = delete;
};

void import_pixels(Import& to, const Picture& picture) {
  if (picture.width() > WEBP_MAX_DIMENSION || picture.height() > WEBP_MAX_DIMENSION) {
    throw Failure("a WebP has at most " + std::to_string(WEBP_MAX_DIMENSION) +
                  " pixels a side; the picture is " + to_string(picture.size()));
  }
  to.use_argb = 1;
  to.width = picture.width();
  to.height = picture.height();
  const int stride = static_cast<int>(picture.row_bytes());
  int done = 0;
  if (picture.format() == QX_FMT_ARGB) {
    done = WebPPictureImportBGRA(&to, picture.row(0), stride);
  } else if (picture.format() == QX_FMT_RGB24) {
    done = WebPPictureImportBGR(&to, picture.row(0), stride);
  } else if (picture.format() == QX_FMT_GRAY) {
    Bytes colored(3 * picture.bytes().size());
    for (size_t i = 0; i < colored.size(); ++i) colored[i] = picture.bytes()[i / 3];
    done = WebPPictureImportBGR(&to, colored.data(), 3 * stride);
  } else {
    throw Failure("a WebP holds gray, rgb24 or argb pixels");
  }
  if (done == 0) throw std::bad_alloc();
}

}  // namespace

bool is_webp(std::span<const uint8_t> file) {
  return file.size() >= 12 && std::memcmp(file.data(), "RIFF", 4) == 0 &&
         std::memcmp(file.data() + 8, "WEBP", 4) == 0;
}

Decoded decode_webp(std::span<const uint8_t> file) {
  WebPBitstreamFeatures features{};
  if (WebPGetFeatures(file.data(), file.size(), &features) != VP8_STATUS_OK) {
    throw Failure("damaged WebP: its header is broken");
  }
  if (features.has_animation != 0)
    throw Failure("the WebP is an animation; single pictures are read");
  check_size(features.width, features.height);
  const bool alpha = features.has_alpha != 0;
  Decoded result{Picture(alpha ? QX_FMT_ARGB : QX_FMT_RGB24, {features.width, features.height})};
  Picture& picture = result.picture;
  const auto decode = alpha ? WebPDecodeBGRAInto : WebPDecodeBGRInto;
  if (decode(file.data(), file.size(), picture.row(0), picture.bytes().size(),
             static_cast<int>(picture.row_bytes())) == nullptr) {
    throw Failure("damaged WebP: its pixels cannot be decoded");
  }
  const WebPData data{file.data(), file.size()};
  if (const Mux mux(WebPMuxCreate(&data, 0), WebPMuxDelete); mux != nullptr) {
    result.color.icc = chunk_of(mux, "ICCP");
    result.orientation = orientation_of(chunk_of(mux, "EXIF"));
  }
  return result;
}

Bytes encode_webp(const Picture& picture, const ColorTags& color, const Encoding& how) {
  Import image;
  import_pixels(image, picture);
  WebPConfig config;
  if (WebPConfigInit(&config) == 0) throw Failure("libwebp is of another version");
  config.lossless = how.quality >= kLossless || picture.format() == QX_FMT_GRAY ? 1 : 0;
  config.exact = config.lossless;  // colours below an alpha of 0 stay
  config.quality = config.lossless != 0 ? 75.0F : static_cast<float>(how.quality);
  WebPMemoryWriter writer;
  WebPMemoryWriterInit(&writer);
  const std::unique_ptr<WebPMemoryWriter, void (*)(WebPMemoryWriter*)> owner(&writer,
                                                                             WebPMemoryWriterClear);
  image.writer = WebPMemoryWrite;
  image.custom_ptr = &writer;
  if (WebPEncode(&config, &image) == 0) {
    throw Failure("the WebP cannot be made: error " + std::to_string(image.error_code));
  }
  const Bytes file(writer.mem, writer.mem + writer.size);
  return profile_fits(color.icc, QX_FMT_RGB24) ? with_profile(file, color.icc) : file;
}

}  // namespace tool
