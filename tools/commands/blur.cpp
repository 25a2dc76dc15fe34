#include <map>
#include <memory>

#include "commands/commands.h"
#include "formats.h"
#include "picture_files.h"
#include "pictures/alpha.h"

namespace tool {
namespace {

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

Picture blurred(const Picture& input, const BlurOptions& options, Session& session) {
  Picture result(input.format(), input.size());
  const MKBlur filter = kFilters.at(options.filter);
  const bool bilateral = filter == MKBlur::Bilateral;
  session.call("mvk_smooth", [&] {
    return mvk_smooth(input.view().record(), result.view().record(), options.kernel, filter, 0,
                      bilateral ? options.sigma_color : options.sigma_x,
                      bilateral ? options.sigma_space : options.sigma_y);
  });
  return result;
}

// Colours are blurred, transparency stays as it is.
Image blur(Image image, const BlurOptions& options, Session& session) {
  if (image.pixels.format() == QX_FMT_GRAY) {
    image.pixels = blurred(image.pixels, options, session);
    return image;
  }
  const Photo photo = as_photo(std::move(image), session);
  Picture result = blurred(photo.pixels, options, session);
  if (photo.alpha) {
    result = to_format(std::move(result), QX_FMT_ARGB, session);
    set_alpha(result, *photo.alpha);
  }
  return {std::move(result), photo.color};
}

void warn_of_unused(const BlurOptions& options, const Session& session) {
  const BlurOptions unset;
  const bool of_gaussian = options.sigma_x != unset.sigma_x || options.sigma_y != unset.sigma_y;
  const bool of_bilateral =
      options.sigma_color != unset.sigma_color || options.sigma_space != unset.sigma_space;
  if (of_gaussian && options.filter != "gaussian") {
    session.warn("--sigma-x and --sigma-y do nothing with the filter " + options.filter);
  }
  if (of_bilateral && options.filter != "bilateral") {
    session.warn("--sigma-color and --sigma-space do nothing with the filter " + options.filter);
  }
}

void add_blur_options(CLI::App& command, BlurOptions& options) {
  command.add_option("--filter", options.filter, "mean, median, gaussian or bilateral")
      ->check(CLI::IsMember(kFilters))
      ->capture_default_str();
  command.add_option("--kernel", options.kernel, "Kernel side in pixels, an odd number")
      ->check(CLI::Range(1, 199))
      ->capture_default_str();
  command.add_option("--sigma-x", options.sigma_x, "gaussian: pixels, 0 follows the kernel");
  command.add_option("--sigma-y", options.sigma_y, "gaussian: pixels, 0 takes --sigma-x");
  command.add_option("--sigma-color", options.sigma_color, "bilateral: range of colours")
      ->capture_default_str();
  command.add_option("--sigma-space", options.sigma_space, "bilateral: pixels")
      ->capture_default_str();
}

}  // namespace

void add_blur(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    BlurOptions blur;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "blur", "Blur masks and photographs",
                                  "morvik blur photo.jpg --filter median --kernel 9 -o calm.jpg");
  options->files.add_to(command, "INPUT");
  add_blur_options(command, options->blur);
  command.callback([options, &session] {
    if (options->blur.kernel % 2 == 0) {
      throw Failure("the kernel has " + std::to_string(options->blur.kernel) +
                    " pixels; an odd number is needed");
    }
    warn_of_unused(options->blur, session);
    options->files.run(
        [&](Image image, Session& its_session) {
          return blur(std::move(image), options->blur, its_session);
        },
        session);
  });
}

}  // namespace tool
