#include "commands/commands.h"
#include "mask_files.h"

namespace tool {

void add_fill_holes(CLI::App& app, Session& session) {
  struct Options {
    MaskFiles files;
    uint32_t level = 127;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "fill-holes", "Make a mask black and white and fill its holes",
                  "morvik fill-holes mask.png --level 127 -o solid.png");
  options->files.add_to(command);
  command.add_option("--level", options->level, "Pixels above it are inside")
      ->check(CLI::Range(0, 254))
      ->capture_default_str();
  command.callback([options, &session] {
    const auto check = [&](const Picture& mask, const Session& its_session) {
      warn_if_dark(mask, static_cast<int>(options->level), its_session);
    };
    const auto fill = [&](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
      return mvk_make_up_holes(dst, src, options->level);
    };
    options->files.run("mvk_make_up_holes", session, check, fill);
  });
}

}  // namespace tool
