#include "commands/commands.h"
#include "mask_files.h"

namespace tool {

void add_morph(CLI::App& app, Session& session) {
  struct Options {
    MaskFiles files;
    int amount = 0;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "morph", "Grow or shrink a mask",
                                  "morvik morph mask.png --amount -12 -o smaller.png");
  options->files.add_to(command);
  command
      .add_option("--amount", options->amount,
                  "Pixels that a shape gains (or loses, below 0) from side to side")
      ->required()
      ->check(CLI::Range(-200, 200));
  command.callback([options, &session] {
    if (options->amount == 0) {
      throw Failure("an amount of 0 changes nothing; -200 to 200 without 0");
    }
    const auto morph = [&](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
      return mvk_mask_morph(dst, src, options->amount);
    };
    options->files.run("mvk_mask_morph", session, [](const Picture&, Session&) {}, morph);
  });
}

}  // namespace tool
