#include "support/samples.h"

#include <png.h>
#include <turbojpeg.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test {
namespace {

constexpr const char* kFolder = MORVIK_SAMPLES_DIR "/";  // also used before main()

}  // namespace

TestImage sample_mask(const std::string& name) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png_image_begin_read_from_file(&png, (kFolder + name).c_str());
  png.format = PNG_FORMAT_GRAY;
  TestImage image(QX_FMT_GRAY, static_cast<int>(png.width), static_cast<int>(png.height));
  if (png_image_finish_read(&png, nullptr, image.row(0), 0, nullptr) == 0) {
    throw std::runtime_error(png.message);
  }
  return image;
}

TestImage sample_photo(const std::string& name) {
  std::ifstream stream(kFolder + name, std::ios::binary);
  const std::vector<uint8_t> file{std::istreambuf_iterator<char>(stream), {}};
  const tjhandle decoder = tjInitDecompress();
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colorspace = 0;
  tjDecompressHeader3(decoder, file.data(), file.size(), &width, &height, &subsampling,
                      &colorspace);
  TestImage image(QX_FMT_RGB24, width, height);
  const int failed = tjDecompress2(decoder, file.data(), file.size(), image.row(0), width,
                                   3 * width, height, TJPF_BGR, TJFLAG_ACCURATEDCT);
  tjDestroy(decoder);
  if (failed != 0) throw std::runtime_error("sample cannot be decoded: " + name);
  return image;
}

TestImage scaled_mask(const TestImage& mask, int width, int height) {
  TestImage scaled(QX_FMT_GRAY, width, height);
  for (int y = 0; y < height; ++y) {
    const uint8_t* from = mask.row(y * mask.height() / height);
    for (int x = 0; x < width; ++x) scaled.row(y)[x] = from[x * mask.width() / width];
  }
  return scaled;
}

}  // namespace test
