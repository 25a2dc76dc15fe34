#include <algorithm>
#include <memory>

#include "commands/commands.h"
#include "cutout.h"
#include "formats.h"
#include "mask_fit.h"
#include "pictures/alpha.h"
#include "writing.h"

namespace tool {
namespace {

constexpr int kMostExpand = 500;

struct StickerOptions {
  PairOptions pair;
  SmoothOptions smooth{Edges::kHard};
  WriteOptions write;
  BatchOptions batch;
  std::optional<uint16_t> expand;
  std::string color = "#ffffff";
  bool hard_edge = false;
  bool crop = false;
  int fit = 0;
};

uint16_t border_width(const StickerOptions& options, Size size) {
  constexpr int kShare = 50;  // of the larger side
  const int width = std::clamp(std::max(size.width, size.height) / kShare, 1, kMostExpand);
  return options.expand.value_or(static_cast<uint16_t>(width));
}

// The part of a sticker that is not transparent.
Picture cropped(const Picture& sticker, Session& session) {
  const Picture alpha = alpha_of(sticker);
  MKRect box{};
  if (session.call("mvk_get_mask_roi", [&] {
        return mvk_get_mask_roi(alpha.view().record(), &box, 1);
      }) == MVK_NOT_FOUND) {
    throw Failure("nothing of the sticker can be seen", kNothingFound);
  }
  Picture part(QX_FMT_ARGB, {static_cast<int>(box.right - box.left + 1),
                             static_cast<int>(box.bottom - box.top + 1)});
  for (int y = 0; y < part.height(); ++y) {
    std::copy_n(sticker.row(y + static_cast<int>(box.top)) + size_t{4} * box.left, part.row_bytes(),
                part.row(y));
  }
  return part;
}

// As large as a square of this side allows, in its middle.
Picture fitted(const Picture& sticker, int side, Session& session) {
  const double scale = static_cast<double>(side) / std::max(sticker.width(), sticker.height());
  const auto scaled = [&](int value) {
    return std::clamp(static_cast<int>(value * scale + 0.5), 1, side);
  };
  const Size size{scaled(sticker.width()), scaled(sticker.height())};
  const Picture part =
      resized(sticker, size, scale < 1 ? MVK_RESIZE_AREA : MVK_RESIZE_CUBIC, session);
  Picture square(QX_FMT_ARGB, {side, side});
  const int left = (side - size.width) / 2;
  const int top = (side - size.height) / 2;
  for (int y = 0; y < size.height; ++y) {
    std::copy_n(part.row(y), part.row_bytes(), square.row(top + y) + ptrdiff_t{4} * left);
  }
  return square;
}

Picture make_sticker(const StickerOptions& options, const Photo& photo, const Picture& given,
                     Session& session) {
  const Picture mask = options.smooth.fit(photo.pixels, given, session);
  const bool as_it_is = options.hard_edge || (mask.bytes() == given.bytes() && is_soft(mask));
  const uint16_t expand = border_width(options, mask.size());
  const Picture covered = coverage(mask, as_it_is, session);
  const Picture border = expand == 0 ? covered : grown(mask, expand, session);
  Picture sticker = composed(photo.pixels, covered, border, parse_color(options.color));
  if (photo.alpha) limit_alpha(sticker, *photo.alpha);
  if (options.crop || options.fit > 0) sticker = cropped(sticker, session);
  return options.fit > 0 ? fitted(sticker, options.fit, session) : sticker;
}

void sticker_one(const StickerOptions& options, const Job& job, Session& session) {
  if (!holds_alpha(options.write.kind_of(job.output))) {
    throw Failure("a sticker is transparent around its border; write a .png, .webp or .argb file");
  }
  const Photo photo = options.pair.read_photo(job, session);
  Picture sticker = make_sticker(options, photo, options.pair.read_mask(job, session), session);
  options.write.write(job.output, {std::move(sticker), photo.color}, session);
}

void add_sticker_options(CLI::App& command, StickerOptions& options) {
  options.pair.add_to(command);
  options.write.add_to(command, "Picture to write, or a folder")->required();
  command
      .add_option("--expand", options.expand,
                  "Width of the border in pixels, 0 for none; else a 50th of the larger side")
      ->check(CLI::Range(0, kMostExpand));
  command.add_option("--color", options.color, "Colour of the border")->capture_default_str();
  command.add_flag("--hard-edge", options.hard_edge,
                   "Take the mask as it is, instead of a soft edge that shows no background");
  command.add_flag("--crop", options.crop, "Write no more than the sticker's box");
  command
      .add_option("--fit", options.fit,
                  "Scale the sticker into a square of this side; messengers want 512")
      ->check(CLI::Range(1, kMaxSide));
  options.smooth.add_to(command);
  options.batch.add_to(command);
}

}  // namespace

void add_sticker(CLI::App& app, Session& session) {
  const auto options = std::make_shared<StickerOptions>();
  CLI::App& command =
      add_command(app, "sticker", "Cut out what a mask covers and draw a border around it",
                  "morvik sticker photo.jpg mask.png -o sticker.webp --fit 512 --color '#ffffff'");
  add_sticker_options(command, *options);
  command.callback([options, &session] {
    parse_color(options->color);
    const WriteOptions& write = options->write;
    options->batch.run(
        options->pair.jobs(write.path(), write.kind_in_folder()),
        [&](const Job& job, Session& own) { sticker_one(*options, job, own); }, session);
  });
}

}  // namespace tool
