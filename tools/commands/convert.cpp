#include <memory>

#include "commands/commands.h"
#include "formats.h"
#include "picture_files.h"

namespace tool {

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
    const uint32_t format = find_format(options->format);
    options->files.run(
        [&](Image image, Session& its_session) {
          if (format != 0) image.pixels = to_format(std::move(image.pixels), format, its_session);
          return image;
        },
        session);
  });
}

}  // namespace tool
