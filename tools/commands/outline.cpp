#include <iostream>
#include <map>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "drawing.h"
#include "formats.h"
#include "mask_fit.h"
#include "outlines.h"
#include "writing.h"

namespace tool {
namespace {

const std::map<std::string, uint32_t> kModes{{"stroke", MK_OMODE_STROKE},
                                             {"fill-stroke", MK_OMODE_FILL_STROKE},
                                             {"hull-fill-stroke", MK_OMODE_HULL_FILL_STROKE},
                                             {"polar", MK_OMODE_POLAR},
                                             {"hull-polar", MK_OMODE_HULL_POLAR},
                                             {"polar-center", MK_OMODE_POLAR_CENTER},
                                             {"vector", MK_OMODE_VECTOR},
                                             {"hull-vector", MK_OMODE_HULL_VECTOR},
                                             {"vector-center", MK_OMODE_VECTOR_CENTER}};

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

struct OutlineOptions {
  std::string mask;
  std::string photo;
  std::string mode = "fill-stroke";
  uint16_t expand = 12;
  std::string points = "all";
  uint32_t smooth = 0;
  bool polygon = false;
  std::string center;
  int threshold = 127;
  bool json = false;
  std::string svg;
  std::string color = "#ffd60a";
  ReadOptions read;
  MaskOptions as_mask;
  WriteOptions write;
  BatchOptions batch;
};

void add_shape_options(CLI::App& command, OutlineOptions& options) {
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
}

void add_file_options(CLI::App& command, OutlineOptions& options) {
  command
      .add_option("MASK,--masks", options.mask,
                  "Mask, or a camera frame whose brightness is one, or a folder of them")
      ->required();
  CLI::Option* output = options.write.add_to(
      command, "File to write: a picture, svg or json; or a folder", {"json", "svg"});
  command
      .add_option("--overlay,--photos", options.photo,
                  "Photograph to draw the outlines over, or a folder of them")
      ->needs(output);
  command.add_option("--color", options.color, "Colour of the lines")->capture_default_str();
  command.add_option("--svg", options.svg, "SVG file to write as well");
  command.add_flag("--json", options.json, "Print the points as JSON; the default without outputs");
  options.read.add_to(command, "MASK");
  options.as_mask.add_to(command);
  options.batch.add_to(command);
}

MKOutlineMode mode_of(const OutlineOptions& options, const std::vector<TPOINT>& center) {
  MKOutlineMode mode{};
  mode.mode = kModes.at(options.mode);
  mode.chain_approx = options.points == "all" ? MK_OCHAIN_ALL : MK_OCHAIN_SIMPLE;
  mode.expand_size = options.expand;
  mode.smooth_level = static_cast<MKOSmoothLevel>(options.smooth);
  mode.approx_poly = options.polygon ? 1 : 0;
  mode.threshold = static_cast<uint8_t>(options.threshold);
  if (center.size() > 1) throw Failure("--center takes one point, such as 128,100");
  if (!center.empty()) mode.center = center.data();
  return mode;
}

// NV21 goes to the service as it is, everything else as gray.
Picture read_shapes(const OutlineOptions& options, const std::string& path, Session& session) {
  Picture image = options.read.read(path, session).pixels;
  if (image.format() == QX_FMT_NV21) return image;
  return options.as_mask.as_mask(std::move(image), session);
}

Image drawn(const OutlineOptions& options, const std::vector<Outline>& outlines, Size traced,
            const std::string& path, Session& session) {
  Photo photo = as_photo(options.read.read_file(path, session), session);
  draw_outlines(photo.pixels, outlines, traced, parse_color(options.color));
  return {std::move(photo.pixels), std::move(photo.color)};
}

void outline_one(const OutlineOptions& options, const Job& job, Session& session) {
  const std::vector<TPOINT> center = parse_points(options.center);
  const MKOutlineMode mode = mode_of(options, center);
  const Picture shapes = read_shapes(options, job.inputs[0], session);
  const std::vector<Outline> outlines = trace(shapes, mode, session);
  if (!options.svg.empty()) write_file(options.svg, svg(outlines, shapes.size()));
  if (!job.output.empty()) {
    const std::string kind = options.write.kind_of(job.output);
    if (kind == "svg") {
      write_file(job.output, svg(outlines, shapes.size()));
    } else if (kind == "json") {
      write_file(job.output, json(outlines, shapes.size()));
    } else {
      options.write.write(job.output,
                          drawn(options, outlines, shapes.size(), job.inputs[1], session), session);
    }
  }
  const bool nothing = options.svg.empty() && job.output.empty();
  if (options.json || nothing) std::cout << json(outlines, shapes.size());
}

void run_outline(const OutlineOptions& options, Session& session) {
  parse_color(options.color);
  if (!options.center.empty() && !options.mode.ends_with("-center")) {
    session.warn("--center does nothing in the mode " + options.mode);
  }
  const std::string& output = options.write.path();
  const Content content = options.read.raw() ? Content::kRawFrames : Content::kPictures;
  const std::string& kind = options.write.kind_in_folder();
  const Jobs jobs = options.photo.empty() ? jobs_of({options.mask}, content, output, kind)
                                          : jobs_of_pairs(options.mask, content, options.photo,
                                                          Content::kPictures, output, kind);
  if (jobs.many && (output.empty() || !options.svg.empty() || options.json)) {
    throw Failure("outlines of folders go to a folder: -o FOLDER --as json, svg, png, jpg or webp");
  }
  const std::string& first = jobs.jobs.front().output;
  if (!first.empty()) {
    const std::string written = options.write.kind_of(first);
    const bool data = written == "svg" || written == "json";
    if (data != options.photo.empty()) {
      throw Failure(data ? "--overlay is for pictures, not for " + written
                         : "a picture needs --overlay, the photograph to draw over");
    }
  }
  check_outputs({options.svg}, jobs.jobs.front().inputs);
  if (same_file(options.svg, first)) throw Failure("-o and --svg would both become " + first);
  options.batch.run(
      jobs, [&](const Job& job, Session& own) { outline_one(options, job, own); }, session);
}

}  // namespace

void add_outline(CLI::App& app, Session& session) {
  const auto options = std::make_shared<OutlineOptions>();
  CLI::App& command = add_command(
      app, "outline", "Grow the shapes of a mask and trace their outlines",
      "morvik outline mask.png --mode polar --expand 20 --overlay photo.jpg -o shown.jpg");
  add_file_options(command, *options);
  add_shape_options(command, *options);
  command.callback([options, &session] { run_outline(*options, session); });
}

}  // namespace tool
