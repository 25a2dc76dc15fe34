// convert, rotate, resize and blur: one picture in, one out.
#include <map>
#include <memory>

#include "options.h"

namespace tool {
namespace {

// Rows of the header's table of conversions.
bool has_conversion(uint32_t to, uint32_t from) {
  const bool to_nv = to == QX_FMT_NV12 || to == QX_FMT_NV21;
  const bool from_nv = from == QX_FMT_NV12 || from == QX_FMT_NV21;
  return to_nv || from_nv || (to != QX_FMT_ABGR && from != QX_FMT_ABGR);
}

// Turning and scaling leave the odd last column and row of two-plane frames alone; cut them off, so
// that the result has none that was never written.
Picture cut_to_even(const Picture& picture) {
  const Size even{picture.width() & ~1, picture.height() & ~1};
  if (format_of(picture.format()).planes == 1 || even == picture.size()) return picture;
  Picture cut(picture.format(), even);
  for (int plane = 0; plane < 2; ++plane) {
    for (int y = 0; y < cut.rows(plane); ++y) {
      std::copy_n(picture.row(y, plane), cut.row_bytes(plane), cut.row(y, plane));
    }
  }
  return cut;
}

void refuse_abgr(const Picture& picture) {
  if (picture.format() == QX_FMT_ABGR) {
    throw Failure("abgr frames can only be converted; to nv12 or nv21, for instance");
  }
}

Picture rotate(const Picture& source, int angle, Session& session) {
  refuse_abgr(source);
  const Picture even = cut_to_even(source);
  const bool swap = angle % 180 != 0;
  Picture turned(even.format(), swap ? Size{even.height(), even.width()} : even.size());
  const QX_OFFSCREEN dst = turned.view();
  const QX_OFFSCREEN src = even.view();
  session.call("mvk_rotate", [&] { return mvk_rotate(&dst, &src, angle); });
  return turned;
}

Picture resize(const Picture& source, Size size, uint32_t method, Session& session) {
  refuse_abgr(source);
  const Picture even = cut_to_even(source);
  if (format_of(even.format()).planes == 2 && (size.width % 2 != 0 || size.height % 2 != 0)) {
    throw Failure("nv12 and nv21 frames have even sizes; " + to_string(size) + " is odd");
  }
  Picture scaled(even.format(), size);
  const QX_OFFSCREEN dst = scaled.view();
  const QX_OFFSCREEN src = even.view();
  session.call("mvk_resize", [&] { return mvk_resize(&dst, &src, method); });
  return scaled;
}

struct BlurOptions {
  std::string filter = "gaussian";
  uint32_t kernel = 9;
  uint32_t sigma_x = 0;
  uint32_t sigma_y = 0;
  uint32_t sigma_color = 40;
  uint32_t sigma_space = 40;
};

const std::map<std::string, MKBlur> kFilters{{"mean", MKBlur::Mean},
                                             {"median", MKBlur::Median},
                                             {"gaussian", MKBlur::Gaussian},
                                             {"bilateral", MKBlur::Bilateral}};

Picture blur(Picture source, const BlurOptions& options, Session& session) {
  if (options.kernel % 2 == 0) {
    throw Failure("the kernel has " + std::to_string(options.kernel) +
                  " pixels; an odd number is needed");
  }
  const bool gray = source.format() == QX_FMT_GRAY;
  const Picture input =
      gray ? std::move(source) : to_format(std::move(source), QX_FMT_RGB24, session);
  Picture blurred(input.format(), input.size());
  const MKBlur filter = kFilters.at(options.filter);
  const bool bilateral = filter == MKBlur::Bilateral;
  const QX_OFFSCREEN src = input.view();
  const QX_OFFSCREEN dst = blurred.view();
  session.call("mvk_smooth", [&] {
    return mvk_smooth(&src, &dst, options.kernel, filter, 0,
                      bilateral ? options.sigma_color : options.sigma_x,
                      bilateral ? options.sigma_space : options.sigma_y);
  });
  return blurred;
}

}  // namespace

Picture to_format(Picture picture, uint32_t format, Session& session) {
  if (picture.format() == format) return picture;
  if (!has_conversion(format, picture.format())) {
    throw Failure("there is no conversion from " + std::string(format_of(picture.format()).name) +
                  " to " + std::string(format_of(format).name));
  }
  Picture converted(format, picture.size());
  const QX_OFFSCREEN dst = converted.view();
  const QX_OFFSCREEN src = picture.view();
  session.call("mvk_convert", [&] { return mvk_convert(&dst, &src); });
  return converted;
}

void add_convert(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    std::string format;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "convert", "Convert between picture files, raw frames and pixel formats",
                  "morvik convert camera.nv21 --raw nv21 --size 640x480 -o camera.png");
  options->files.add_to(command, "INPUT");
  command.add_option("--format", options->format, "Pixel format to go through, such as gray")
      ->check(CLI::IsMember(format_names()));
  command.callback([options, &session] {
    const Format* format = find_format(options->format);
    options->files.run(
        [&](Picture picture) {
          const uint32_t code = format != nullptr ? format->code : picture.format();
          return to_format(std::move(picture), code, session);
        },
        session);
  });
}

void add_rotate(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    int angle = 0;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "rotate", "Turn pictures clockwise by right angles",
                                  "morvik rotate photo.jpg --angle 90 -o turned.jpg");
  options->files.add_to(command, "INPUT");
  command.add_option("--angle", options->angle, "Degrees, clockwise")
      ->required()
      ->check(CLI::IsMember({0, 90, 180, 270}));
  command.callback([options, &session] {
    options->files.run([&](const Picture& it) { return rotate(it, options->angle, session); },
                       session);
  });
}

void add_resize(CLI::App& app, Session& session) {
  static const std::map<std::string, uint32_t> kMethods{{"nearest", MVK_RESIZE_NEAREST},
                                                        {"linear", MVK_RESIZE_LINEAR},
                                                        {"cubic", MVK_RESIZE_CUBIC},
                                                        {"area", MVK_RESIZE_AREA}};
  struct Options {
    PictureFiles files;
    std::string size;
    std::string method = "area";
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "resize", "Scale pictures to a size",
                                  "morvik resize photo.jpg --to 256x256 -o small.png");
  options->files.add_to(command, "INPUT");
  command.add_option("--to", options->size, "New size, WIDTHxHEIGHT")->required();
  command.add_option("--method", options->method, "nearest, linear, cubic or area")
      ->check(CLI::IsMember(kMethods))
      ->capture_default_str();
  command.callback([options, &session] {
    const Size size = parse_size(options->size);
    const uint32_t method = kMethods.at(options->method);
    options->files.run([&](const Picture& it) { return resize(it, size, method, session); },
                       session);
  });
}

void add_blur(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    BlurOptions blur;
  };
  const auto options = std::make_shared<Options>();
  BlurOptions& blurring = options->blur;
  CLI::App& command = add_command(app, "blur", "Blur masks and photographs",
                                  "morvik blur photo.jpg --filter median --kernel 9 -o calm.jpg");
  options->files.add_to(command, "INPUT");
  command.add_option("--filter", blurring.filter, "mean, median, gaussian or bilateral")
      ->check(CLI::IsMember(kFilters))
      ->capture_default_str();
  command.add_option("--kernel", blurring.kernel, "Kernel side in pixels, an odd number")
      ->check(CLI::Range(1, 199))
      ->capture_default_str();
  command.add_option("--sigma-x", blurring.sigma_x, "gaussian: pixels, 0 follows the kernel");
  command.add_option("--sigma-y", blurring.sigma_y, "gaussian: pixels, 0 takes --sigma-x");
  command.add_option("--sigma-color", blurring.sigma_color, "bilateral: range of colours")
      ->capture_default_str();
  command.add_option("--sigma-space", blurring.sigma_space, "bilateral: pixels")
      ->capture_default_str();
  command.callback([options, &session] {
    options->files.run([&](Picture it) { return blur(std::move(it), options->blur, session); },
                       session);
  });
}

}  // namespace tool
