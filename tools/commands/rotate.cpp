#include <memory>

#include "commands/commands.h"
#include "formats.h"
#include "picture_files.h"

namespace tool {

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
    options->files.run(
        [&](Image image, Session& its_session) {
          image.pixels = rotated(image.pixels, options->angle, its_session);
          return image;
        },
        session);
  });
}

}  // namespace tool
