#include <memory>

#include "commands/commands.h"
#include "drawing.h"
#include "mask_fit.h"
#include "writing.h"

namespace tool {
namespace {

constexpr Color kBackdrop{88, 28, 160};  // covers what is outside the mask

struct SmoothMaskOptions {
  PairOptions pair;
  SmoothOptions smooth{Edges::kSoft};
  WriteOptions write;
  BatchOptions batch;
  bool overlay = false;
};

void show_mask(Picture& photo, const Picture& mask) {
  for (int y = 0; y < photo.height(); ++y) {
    for (int x = 0; x < photo.width(); ++x) {
      blend(photo.row(y) + 3 * x, kBackdrop, 0.7 * (255 - mask.row(y)[x]) / 255.0);
    }
  }
}

void smooth_one(const SmoothMaskOptions& options, const Job& job, Session& session) {
  Photo photo = options.pair.read_photo(job, session);
  Picture mask = options.smooth.smooth(photo.pixels, options.pair.read_mask(job, session), session);
  Image result{std::move(mask), {}};
  if (options.overlay) {
    show_mask(photo.pixels, result.pixels);
    result = {std::move(photo.pixels), std::move(photo.color)};
  }
  options.write.write(job.output, std::move(result), session);
}

}  // namespace

void add_smooth_mask(CLI::App& app, Session& session) {
  const auto options = std::make_shared<SmoothMaskOptions>();
  CLI::App& command =
      add_command(app, "smooth-mask", "Enlarge a coarse mask to its photograph with smooth edges",
                  "morvik smooth-mask photo.jpg mask.png --snap --limit 640 -o smooth.png");
  options->pair.add_to(command);
  options->write.add_to(command, "Picture to write, or a folder")->required();
  command.add_flag("--overlay", options->overlay,
                   "Write the photograph, what is masked shown in it");
  options->smooth.add_to(command);
  options->batch.add_to(command);
  command.callback([options, &session] {
    const WriteOptions& write = options->write;
    options->batch.run(
        options->pair.jobs(write.path(), write.kind_in_folder()),
        [&](const Job& job, Session& its_session) { smooth_one(*options, job, its_session); },
        session);
  });
}

}  // namespace tool
