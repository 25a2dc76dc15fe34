// outline and sticker.
#include <iostream>
#include <map>
#include <memory>
#include <sstream>

#include "drawing.h"
#include "masks.h"
#include "options.h"

namespace tool {
namespace {

using Outline = std::vector<TPOINT>;

const std::map<std::string, uint32_t> kModes{{"stroke", MK_OMODE_STROKE},
                                             {"fill-stroke", MK_OMODE_FILL_STROKE},
                                             {"hull-fill-stroke", MK_OMODE_HULL_FILL_STROKE},
                                             {"polar", MK_OMODE_POLAR},
                                             {"hull-polar", MK_OMODE_HULL_POLAR},
                                             {"polar-center", MK_OMODE_POLAR_CENTER},
                                             {"vector", MK_OMODE_VECTOR},
                                             {"hull-vector", MK_OMODE_HULL_VECTOR},
                                             {"vector-center", MK_OMODE_VECTOR_CENTER}};

// The outline service for one call.
class Service {
 public:
  Service() : handle_(mvk_outline_create()) {
    if (handle_ == nullptr) throw std::bad_alloc();
  }
  ~Service() { mvk_outline_destroy(handle_, &found_); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  std::vector<Outline> trace(const Picture& image, const MKOutlineMode& mode, Session& session) {
    const QX_OFFSCREEN src = image.view();
    if (session.call("mvk_outline_expansion", [&] {
          return mvk_outline_expansion(handle_, &src, &mode, &found_);
        }) == MVK_NOT_FOUND) {
      throw Failure("no pixel is above " + std::to_string(mode.threshold), kNothingFound);
    }
    std::vector<Outline> outlines(found_.contour_count);
    for (size_t i = 0; i < outlines.size(); ++i) {
      for (uint32_t j = 0; j < found_.point_counts[i]; ++j) {
        outlines[i].push_back({found_.points[i][2 * j], found_.points[i][2 * j + 1]});
      }
    }
    return outlines;
  }

 private:
  void* handle_;
  MKGetOutline found_{};
};

std::string json(const std::vector<Outline>& outlines, Size size) {
  std::ostringstream text;
  text << "{\"width\": " << size.width << ", \"height\": " << size.height << ", \"outlines\": [";
  for (size_t i = 0; i < outlines.size(); ++i) {
    text << (i == 0 ? "\n  [" : ",\n  [");
    const char* separator = "";
    for (const TPOINT& point : outlines[i]) {
      text << separator << '[' << point.x << ',' << point.y << ']';
      separator = ",";
    }
    text << "]";
  }
  text << "\n]}\n";
  return text.str();
}

// Points are pixel centres, so the picture's corner lies half a pixel before the origin.
std::string svg(const std::vector<Outline>& outlines, Size size) {
  std::ostringstream text;
  text << R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="-0.5 -0.5 )" << size.width << ' '
       << size.height << R"(" width=")" << size.width << R"(" height=")" << size.height << R"(">
<path fill="#8884" fill-rule="evenodd" stroke="#e11d48" stroke-linejoin="round" d=")";
  for (const Outline& outline : outlines) {
    char command = 'M';
    for (const TPOINT& point : outline) {
      text << command << point.x << ',' << point.y << ' ';
      command = 'L';
    }
    text << "Z\n";
  }
  text << "\"/>\n</svg>\n";
  return text.str();
}

void draw(Picture& photo, const std::vector<Outline>& outlines, Size traced, Color color) {
  Ink halo(photo.size());
  Ink ink(photo.size());
  for (const Outline& outline : outlines) {
    Polyline line;
    for (const TPOINT& point : outline) {
      line.push_back(scaled({static_cast<double>(point.x), static_cast<double>(point.y)}, traced,
                            photo.size()));
    }
    halo.polyline(line, true, 5);
    ink.polyline(line, true, 2.5);
  }
  halo.paint(photo, {0, 0, 0});
  ink.paint(photo, color);
}

struct OutlineOptions {
  std::string mask;
  std::string mode = "fill-stroke";
  uint16_t expand = 12;
  std::string points = "all";
  uint32_t smooth = 0;
  bool polygon = false;
  std::string center;
  int threshold = 127;
  bool json = false;
  std::string svg;
  std::string photo;
  std::string output;
  std::string color = "#ffd60a";
  RawOptions raw;
};

void add_outline_options(CLI::App& command, OutlineOptions& options) {
  command.add_option("MASK", options.mask, "Mask, or a camera frame whose brightness is one")
      ->required();
  command.add_option("--mode", options.mode, "How shapes grow")
      ->check(CLI::IsMember(kModes))
      ->capture_default_str();
  command.add_option("--expand", options.expand, "Pixels to grow by")
      ->check(CLI::Range(0, 500))
      ->capture_default_str();
  command.add_option("--points", options.points, "all, or simple: ends of straight runs only")
      ->check(CLI::IsMember({"all", "simple"}))
      ->capture_default_str();
  command.add_option("--smooth", options.smooth, "Smoothing, 0 to 5 per cent of an outline")
      ->check(CLI::Range(0, 5))
      ->capture_default_str();
  command.add_flag("--polygon", options.polygon, "Simplify to polygons");
  command.add_option("--center", options.center, "X,Y for the modes polar-center, vector-center");
  command.add_option("--threshold", options.threshold, "Pixels above it are shape")
      ->check(CLI::Range(0, 253))
      ->capture_default_str();
  CLI::Option* output = command.add_option("-o,--output", options.output, "Picture to write");
  CLI::Option* overlay =
      command.add_option("--overlay", options.photo, "Photograph to draw the outlines over")
          ->needs(output);
  output->needs(overlay);
  command.add_option("--color", options.color, "Colour of the lines")->capture_default_str();
  command.add_option("--svg", options.svg, "SVG file to write");
  command.add_flag("--json", options.json, "Print the points as JSON; the default without outputs");
  options.raw.add_to(command, "MASK");
}

// NV21 goes to the service as it is, everything else as gray.
Picture read_shapes(const OutlineOptions& options, Session& session) {
  Picture image = read_picture(options.mask, options.raw.layout());
  if (image.format() == QX_FMT_NV21) return image;
  return to_format(std::move(image), QX_FMT_GRAY, session);
}

void run_outline(const OutlineOptions& options, Session& session) {
  MKOutlineMode mode{};
  mode.mode = kModes.at(options.mode);
  mode.chain_approx = options.points == "all" ? MK_OCHAIN_ALL : MK_OCHAIN_SIMPLE;
  mode.expand_size = options.expand;
  mode.smooth_level = static_cast<MKOSmoothLevel>(options.smooth);
  mode.approx_poly = options.polygon ? 1 : 0;
  mode.threshold = static_cast<uint8_t>(options.threshold);
  const std::vector<TPOINT> center = parse_points(options.center);
  if (center.size() > 1) throw Failure("--center takes one point, such as 128,100");
  if (!center.empty()) mode.center = center.data();

  std::vector<std::string> inputs{options.mask};
  if (!options.photo.empty()) inputs.push_back(options.photo);
  for (const std::string& output : {options.svg, options.output}) {
    if (!output.empty()) check_output(output, inputs);
  }
  const Color color = parse_color(options.color);
  const Picture shapes = read_shapes(options, session);
  const std::vector<Outline> outlines = Service().trace(shapes, mode, session);

  if (!options.svg.empty()) write_file(options.svg, svg(outlines, shapes.size()));
  if (!options.photo.empty()) {
    Picture photo = to_format(read_picture(options.photo), QX_FMT_RGB24, session);
    draw(photo, outlines, shapes.size(), color);
    const uint32_t format = format_for_file(options.output, photo.format());
    write_picture(options.output, to_format(std::move(photo), format, session));
  }
  if (options.json || (options.svg.empty() && options.photo.empty())) {
    std::cout << json(outlines, shapes.size());
  }
}

struct StickerOptions {
  std::string photo;
  std::string mask;
  std::string output;
  uint16_t expand = 12;
  std::string color = "#ffffff";
  bool crop = false;
  RawOptions raw;
  SmoothOptions smooth;
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
  for (const Outline& outline : Service().trace(mask, mode, session)) {
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

void run_sticker(const StickerOptions& options, Session& session) {
  check_output(options.output, {options.photo, options.mask});
  if (format_for_file(options.output, QX_FMT_ARGB) != QX_FMT_ARGB) {
    throw Failure("a sticker is transparent around its border; write a .png or .argb file");
  }
  const Color color = parse_color(options.color);
  const Picture photo = read_photo(options.photo, options.raw, session);
  const Picture given = read_mask(options.mask, session);
  const Picture mask =
      given.size() == photo.size() ? given : options.smooth.smooth(photo, given, session);
  const Picture border = grown(mask, options.expand, session);
  const Picture sticker = composed(photo, mask, border, color);
  write_picture(options.output, options.crop ? cropped(sticker, border, session) : sticker);
}

}  // namespace

void add_outline(CLI::App& app, Session& session) {
  const auto options = std::make_shared<OutlineOptions>();
  CLI::App& command = add_command(
      app, "outline", "Grow the shapes of a mask and trace their outlines",
      "morvik outline mask.png --mode polar --expand 20 --overlay photo.jpg -o shown.jpg");
  add_outline_options(command, *options);
  command.callback([options, &session] { run_outline(*options, session); });
}

void add_sticker(CLI::App& app, Session& session) {
  const auto options = std::make_shared<StickerOptions>();
  CLI::App& command =
      add_command(app, "sticker", "Cut out what a mask covers and draw a border around it",
                  "morvik sticker photo.jpg mask.png -o sticker.png --expand 12 --color '#ffffff'");
  command.add_option("PHOTO", options->photo, "Photograph to cut out of")->required();
  command.add_option("MASK", options->mask, "Mask, coarse or as large as the photograph")
      ->required();
  command.add_option("-o,--output", options->output, "Picture to write")->required();
  command.add_option("--expand", options->expand, "Width of the border in pixels")
      ->check(CLI::Range(0, 500))
      ->capture_default_str();
  command.add_option("--color", options->color, "Colour of the border")->capture_default_str();
  command.add_flag("--crop", options->crop, "Write no more than the sticker's box");
  options->smooth.add_to(command);
  options->raw.add_to(command, "PHOTO");
  command.callback([options, &session] { run_sticker(*options, session); });
}

}  // namespace tool
