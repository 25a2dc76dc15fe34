// smooth-mask, fill-holes, morph, fill-polygon and bbox.
#include <iostream>
#include <memory>

#include "drawing.h"
#include "masks.h"
#include "options.h"
#include "points.h"

namespace tool {
namespace {

constexpr int kMaxMaskSide = 520;
constexpr Color kBackdrop{88, 28, 160};  // covers what is outside the mask

void show_mask(Picture& photo, const Picture& mask) {
  for (int y = 0; y < photo.height(); ++y) {
    for (int x = 0; x < photo.width(); ++x) {
      blend(photo.row(y) + 3 * x, kBackdrop, 0.7 * (255 - mask.row(y)[x]) / 255.0);
    }
  }
}

// Runs a mask operation of the form (dst, src) -> code.
template <class Operation>
Picture filtered(Picture source, const char* function, Session& session, Operation operation) {
  const Picture mask = to_format(std::move(source), QX_FMT_GRAY, session);
  Picture result(QX_FMT_GRAY, mask.size());
  const QX_OFFSCREEN dst = result.view();
  const QX_OFFSCREEN src = mask.view();
  session.call(function, [&] { return operation(&dst, &src); });
  return result;
}

}  // namespace

void SmoothOptions::add_to(CLI::App& command) {
  command.add_flag("--snap", snap_, "Move the mask's edges to colour edges of the photograph");
  command
      .add_option("--limit", limit_,
                  "Working size in pixels; as large as the photograph or larger means no "
                  "binarising and no snapping")
      ->check(CLI::Range(1, kMaxSide))
      ->capture_default_str();
}

void SmoothOptions::check(Size photo, Size mask) const {
  const std::string given = "mask is " + to_string(mask) + "; ";
  if (mask.width > kMaxMaskSide || mask.height > kMaxMaskSide) {
    throw Failure(given + "at most 520x520 is accepted; scale it down with 'morvik resize'");
  }
  if (mask.width >= photo.width || mask.height >= photo.height) {
    throw Failure(given + "it has to be smaller than the photograph (" + to_string(photo) +
                  ") in both directions");
  }
  const int larger = std::max(mask.width, mask.height);
  const bool reduced = limit_ < static_cast<uint32_t>(std::max(photo.width, photo.height));
  if (reduced && 2 * static_cast<int64_t>(limit_) < larger) {
    throw Failure("a limit of " + std::to_string(limit_) + " is too small for a mask of " +
                  to_string(mask) + "; at least " + std::to_string((larger + 1) / 2) +
                  " is needed");
  }
}

Picture SmoothOptions::smooth(const Picture& photo, const Picture& mask, Session& session) const {
  check(photo.size(), mask.size());
  Picture smooth(QX_FMT_GRAY, photo.size());
  const QX_OFFSCREEN dst = smooth.view();
  const QX_OFFSCREEN src = mask.view();
  const QX_OFFSCREEN guide = photo.view();
  session.call("mvk_make_mask_smooth",
               [&] { return mvk_make_mask_smooth(&dst, &src, &guide, snap_ ? 1u : 0u, limit_); });
  return smooth;
}

void add_smooth_mask(CLI::App& app, Session& session) {
  struct Options {
    std::string photo;
    std::string mask;
    std::string output;
    bool overlay = false;
    RawOptions raw;
    SmoothOptions smooth;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "smooth-mask", "Enlarge a coarse mask to its photograph with smooth edges",
                  "morvik smooth-mask photo.jpg mask.png --snap --limit 640 -o smooth.png");
  command.add_option("PHOTO", options->photo, "Photograph that the mask belongs to")->required();
  command.add_option("MASK", options->mask, "Coarse mask, at most 520x520")->required();
  command.add_option("-o,--output", options->output, "Picture to write")->required();
  command.add_flag("--overlay", options->overlay,
                   "Write the photograph, what is masked shown in it");
  options->smooth.add_to(command);
  options->raw.add_to(command, "PHOTO");
  command.callback([options, &session] {
    check_output(options->output, {options->photo, options->mask});
    Picture photo = read_photo(options->photo, options->raw, session);
    Picture result = options->smooth.smooth(photo, read_mask(options->mask, session), session);
    if (options->overlay) {
      show_mask(photo, result);
      result = std::move(photo);
    }
    const uint32_t format = format_for_file(options->output, result.format());
    write_picture(options->output, to_format(std::move(result), format, session));
  });
}

void add_fill_holes(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    uint32_t level = 127;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "fill-holes", "Make a mask black and white and fill its holes",
                  "morvik fill-holes mask.png --level 127 -o solid.png");
  options->files.add_to(command, "MASK");
  command.add_option("--level", options->level, "Pixels above it are inside")
      ->check(CLI::Range(0, 254))
      ->capture_default_str();
  command.callback([options, &session] {
    const auto fill = [&](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
      return mvk_make_up_holes(dst, src, options->level);
    };
    options->files.run(
        [&](Picture it) { return filtered(std::move(it), "mvk_make_up_holes", session, fill); },
        session);
  });
}

void add_morph(CLI::App& app, Session& session) {
  struct Options {
    PictureFiles files;
    int amount = 0;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "morph", "Grow or shrink a mask",
                                  "morvik morph mask.png --amount -12 -o smaller.png");
  options->files.add_to(command, "MASK");
  command
      .add_option("--amount", options->amount,
                  "Pixels that a shape gains (or loses, below 0) from side to side")
      ->required()
      ->check(CLI::Range(-200, 200));
  command.callback([options, &session] {
    if (options->amount == 0)
      throw Failure("an amount of 0 changes nothing; -200 to 200 without 0");
    const auto morph = [&](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
      return mvk_mask_morph(dst, src, options->amount);
    };
    options->files.run(
        [&](Picture it) { return filtered(std::move(it), "mvk_mask_morph", session, morph); },
        session);
  });
}

void add_fill_polygon(CLI::App& app, Session& session) {
  struct Options {
    std::string points;
    std::string file;
    std::string size;
    std::string output;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(
      app, "fill-polygon", "Make a mask of a polygon",
      "morvik fill-polygon --points '10,10 90,20 50,80' --size 100x100 -o triangle.png");
  CLI::Option* points = command.add_option("--points", options->points, "Corners: 'X,Y X,Y ...'");
  CLI::Option* file = command.add_option("--file", options->file, "Text file with a corner a line");
  points->excludes(file);
  command.add_option("--size", options->size, "Size of the mask, WIDTHxHEIGHT")->required();
  command.add_option("-o,--output", options->output, "Picture to write")->required();
  command.callback([options, &session] {
    if (options->points.empty() && options->file.empty()) {
      throw Failure("--points or --file is needed");
    }
    if (!options->file.empty()) check_output(options->output, {options->file});
    const std::vector<TPOINT> corners = options->file.empty()
                                            ? parse_points(options->points)
                                            : rounded(read_points(options->file, session));
    Picture mask(QX_FMT_GRAY, parse_size(options->size));
    const QX_OFFSCREEN image = mask.view();
    session.call("mvk_fill_area_up", [&] {
      return mvk_fill_area_up(&image, static_cast<uint32_t>(corners.size()), corners.data());
    });
    const uint32_t format = format_for_file(options->output, mask.format());
    write_picture(options->output, to_format(std::move(mask), format, session));
  });
}

void add_bbox(CLI::App& app, Session& session) {
  struct Options {
    std::string mask;
    uint32_t level = 128;
    bool json = false;
    RawOptions raw;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, "bbox", "Print the box around a mask: left top right bottom",
                                  "morvik bbox mask.png --level 128");
  command.add_option("MASK", options->mask, "PNG, JPEG or raw file")->required();
  command.add_option("--level", options->level, "Pixels at or above it count")
      ->check(CLI::Range(1, 254))
      ->capture_default_str();
  command.add_flag("--json", options->json, "Print a JSON object");
  options->raw.add_to(command, "MASK");
  command.callback([options, &session] {
    const Picture mask =
        to_format(read_picture(options->mask, options->raw.layout()), QX_FMT_GRAY, session);
    const QX_OFFSCREEN image = mask.view();
    MKRect box{};
    if (session.call("mvk_get_mask_roi", [&] {
          return mvk_get_mask_roi(&image, &box, options->level);
        }) == MVK_NOT_FOUND) {
      throw Failure("no pixel is " + std::to_string(options->level) + " or more", kNothingFound);
    }
    const char* separator = options->json ? R"(, ")" : " ";
    const auto name = [&](const char* text) {
      return options->json ? std::string(text) + R"(": )" : std::string();
    };
    std::cout << (options->json ? "{\"" : "") << name("left") << box.left << separator
              << name("top") << box.top << separator << name("right") << box.right << separator
              << name("bottom") << box.bottom << (options->json ? "}\n" : "\n");
  });
}

}  // namespace tool
