#include <map>
#include <memory>

#include "commands/commands.h"
#include "formats.h"
#include "picture_files.h"

namespace tool {

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
    options->files.run(
        [&](Image image, Session& its_session) {
          image.pixels = resized(image.pixels, size, method, its_session);
          return image;
        },
        session);
  });
}

}  // namespace tool
