#include <algorithm>
#include <memory>

#include "commands/commands.h"
#include "drawing.h"
#include "mask_fit.h"
#include "outlines.h"
#include "pictures/alpha.h"
#include "writing.h"

namespace tool {
namespace {

struct StickerOptions {
  PairOptions pair;
  SmoothOptions smooth;
  WriteOptions write;
  BatchOptions batch;
  uint16_t expand = 12;
  std::string color = "#ffffff";
  bool crop = false;
};

// The mask grown by the border, its outlines smoothed, with soft edges.
Picture grown(const Picture& mask, uint16_t expand, Session& session) {
  MKOutlineMode mode{};
  mode.mode = MK_OMODE_FILL_STROKE;
  mode.chain_approx = MK_OCHAIN_SIMPLE;
  mode.expand_size = expand;
  mode.smooth_level = MK_OSMOOTH_1;
  mode.threshold = 127;
  Picture shape(QX_FMT_GRAY, mask.size());
  Picture part(QX_FMT_GRAY, mask.size());
  const QX_OFFSCREEN image = part.view();
  for (const Outline& outline : trace(mask, mode, session)) {
    session.call("mvk_fill_area_up", [&] {
      return mvk_fill_area_up(&image, static_cast<uint32_t>(outline.size()), outline.data());
    });
    for (int y = 0; y < shape.height(); ++y) {
      std::transform(shape.row(y), shape.row(y) + shape.width(), part.row(y), shape.row(y),
                     [](uint8_t a, uint8_t b) { return std::max(a, b); });
    }
  }
  const QX_OFFSCREEN hard = shape.view();
  session.call("mvk_smooth",
               [&] { return mvk_smooth(&hard, &image, 5, MKBlur::Gaussian, 0, 0, 0); });
  return part;
}

// The photograph where the mask is, the colour around it, nothing beyond the border.
Picture composed(const Picture& photo, const Picture& mask, const Picture& border, Color color) {
  Picture sticker(QX_FMT_ARGB, photo.size());
  for (int y = 0; y < photo.height(); ++y) {
    for (int x = 0; x < photo.width(); ++x) {
      uint8_t* pixel = sticker.row(y) + 4 * x;
      std::copy_n(photo.row(y) + 3 * x, 3, pixel);
      blend(pixel, color, 1 - mask.row(y)[x] / 255.0);
      pixel[3] = std::max(mask.row(y)[x], border.row(y)[x]);
    }
  }
  return sticker;
}

// The part of a sticker that is not transparent.
Picture cropped(const Picture& sticker, const Picture& border, Session& session) {
  const QX_OFFSCREEN image = border.view();
  MKRect box{};
  session.call("mvk_get_mask_roi", [&] { return mvk_get_mask_roi(&image, &box, 1); });
  Picture part(QX_FMT_ARGB, {static_cast<int>(box.right - box.left + 1),
                             static_cast<int>(box.bottom - box.top + 1)});
  for (int y = 0; y < part.height(); ++y) {
    std::copy_n(sticker.row(y + static_cast<int>(box.top)) + size_t{4} * box.left, part.row_bytes(),
                part.row(y));
  }
  return part;
}

void sticker_one(const StickerOptions& options, const Job& job, Session& session) {
  if (!holds_alpha(options.write.kind_of(job.output))) {
    throw Failure("a sticker is transparent around its border; write a .png, .webp or .argb file");
  }
  Photo photo = options.pair.read_photo(job, session);
  const Picture mask =
      options.smooth.fit(photo.pixels, options.pair.read_mask(job, session), session);
  const Picture border = grown(mask, options.expand, session);
  Picture sticker = composed(photo.pixels, mask, border, parse_color(options.color));
  if (photo.alpha) limit_alpha(sticker, *photo.alpha);
  if (options.crop) sticker = cropped(sticker, border, session);
  options.write.write(job.output, {std::move(sticker), std::move(photo.color)}, session);
}

}  // namespace

void add_sticker(CLI::App& app, Session& session) {
  const auto options = std::make_shared<StickerOptions>();
  CLI::App& command =
      add_command(app, "sticker", "Cut out what a mask covers and draw a border around it",
                  "morvik sticker photo.jpg mask.png -o sticker.png --expand 12 --color '#ffffff'");
  options->pair.add_to(command);
  options->write.add_to(command, "Picture to write, or a folder")->required();
  command.add_option("--expand", options->expand, "Width of the border in pixels")
      ->check(CLI::Range(0, 500))
      ->capture_default_str();
  command.add_option("--color", options->color, "Colour of the border")->capture_default_str();
  command.add_flag("--crop", options->crop, "Write no more than the sticker's box");
  options->smooth.add_to(command);
  options->batch.add_to(command);
  command.callback([options, &session] {
    parse_color(options->color);
    const WriteOptions& write = options->write;
    options->batch.run(
        options->pair.jobs(write.path(), write.kind_in_folder()),
        [&](const Job& job, Session& own) { sticker_one(*options, job, own); }, session);
  });
}

}  // namespace tool
