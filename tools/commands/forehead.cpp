#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "drawing.h"
#include "face.h"
#include "mask_fit.h"
#include "writing.h"

namespace tool {
namespace {

constexpr uint32_t kForeheadPoints = 11;
constexpr Color kLandmarkColor{56, 189, 248};
constexpr Color kForeheadColor{255, 214, 10};

struct ForeheadOptions {
  std::string landmarks;
  std::string image_size;
  std::string photo;
  bool json = false;
  bool normalised = false;
  ReadOptions read;
  WriteOptions write;
  BatchOptions batch;
};

std::vector<TPOINT> predict(const std::vector<TPOINT>& face, Size size, Session& session) {
  std::vector<TPOINT> forehead(kForeheadPoints);
  session.call("mvk_guess_forehead_landmarks", [&] {
    return mvk_guess_forehead_landmarks(
        &forehead[0].x, &face[0].x, static_cast<uint32_t>(face.size()), size.width, size.height);
  });
  return forehead;
}

Polyline as_line(const std::vector<TPOINT>& points) {
  Polyline line;
  for (const TPOINT& point : points) {
    line.push_back({static_cast<double>(point.x), static_cast<double>(point.y)});
  }
  return line;
}

void draw(Picture& photo, const std::vector<TPOINT>& face, const std::vector<TPOINT>& forehead) {
  const double scale = std::max(0.6, drawing_scale(photo.size()));
  Ink small(photo.size());
  Ink line(photo.size());
  Ink halo(photo.size());
  Ink dots(photo.size());
  for (const Point& point : as_line(face)) small.dot(point, 3.5 * scale);
  line.polyline(as_line(forehead), false, 2 * scale);
  for (const Point& point : as_line(forehead)) {
    halo.dot(point, 10 * scale);
    dots.dot(point, 7 * scale);
  }
  small.paint(photo, kLandmarkColor);
  line.paint(photo, kForeheadColor);
  halo.paint(photo, {0, 0, 0});
  dots.paint(photo, kForeheadColor);
}

std::string text_of(const std::vector<TPOINT>& points, bool json) {
  std::ostringstream text;
  const char* separator = json ? "[" : "";
  for (const TPOINT& point : points) {
    text << separator << (json ? "[" : "") << point.x << "," << point.y << (json ? "]" : "\n");
    separator = json ? ", " : "";
  }
  if (json) text << "]\n";
  return text.str();
}

// In pixels of a picture of this size.
std::vector<TPOINT> in_pixels(std::vector<FilePoint> face, Size size, bool normalised,
                              const Session& session) {
  const auto all = [&](auto fits) { return std::all_of(face.begin(), face.end(), fits); };
  if (normalised) {
    for (FilePoint& point : face) {
      point.x = point.x * static_cast<float>(size.width) - 0.5F;
      point.y = point.y * static_cast<float>(size.height) - 0.5F;
    }
  } else if (all([](FilePoint p) { return p.x >= 0 && p.x <= 1 && p.y >= 0 && p.y <= 1; })) {
    session.warn(
        "all landmarks lie within 0..1: normalised? --normalised multiplies by the "
        "image's size");
  }
  const auto width = static_cast<float>(size.width);
  const auto height = static_cast<float>(size.height);
  if (all([&](FilePoint p) { return p.x < 0 || p.y < 0 || p.x > width || p.y > height; })) {
    session.warn("all landmarks lie outside the picture of " + to_string(size));
  }
  return rounded(face);
}

void forehead_one(const ForeheadOptions& options, const Job& job, Session& session) {
  const std::vector<FilePoint> points = read_face(job.inputs[0], {106, 96});
  std::optional<Photo> photo;
  if (!options.photo.empty()) photo = options.read.read_photo(job.inputs[1], session);
  const Size size = photo ? photo->pixels.size() : parse_size(options.image_size);
  const std::vector<TPOINT> face = in_pixels(points, size, options.normalised, session);
  const std::vector<TPOINT> forehead = predict(face, size, session);
  const std::string kind = job.output.empty() ? "" : options.write.kind_of(job.output);
  if (kind == "txt" || kind == "json") {
    write_file(job.output, text_of(forehead, kind == "json"));
  } else if (!kind.empty()) {
    draw(photo->pixels, face, forehead);
    options.write.write(job.output, {std::move(photo->pixels), std::move(photo->color)}, session);
  }
  if (options.json || kind.empty()) std::cout << text_of(forehead, options.json);
}

void run_forehead(const ForeheadOptions& options, Session& session) {
  if (options.photo.empty() == options.image_size.empty()) {
    throw Failure("the picture's size is needed: --image-size WIDTHxHEIGHT or --overlay PHOTO");
  }
  const std::string& output = options.write.path();
  const std::string& kind = options.write.kind_in_folder();
  const Content content = options.read.raw() ? Content::kRawFrames : Content::kPictures;
  const Jobs jobs = options.photo.empty()
                        ? jobs_of({options.landmarks}, Content::kPoints, output, kind)
                        : jobs_of_pairs(options.landmarks, Content::kPoints, options.photo, content,
                                        output, kind);
  if (jobs.many && (output.empty() || options.json)) {
    throw Failure(
        "foreheads of folders go to a folder: -o FOLDER --as txt, json, png, jpg or webp");
  }
  const std::string& first = jobs.jobs.front().output;
  if (!first.empty() && options.photo.empty()) {
    const std::string written = options.write.kind_of(first);
    if (written != "txt" && written != "json") {
      throw Failure("a picture needs --overlay, the photograph to draw over");
    }
  }
  options.batch.run(
      jobs, [&](const Job& job, Session& own) { forehead_one(options, job, own); }, session);
}

}  // namespace

void add_forehead(CLI::App& app, Session& session) {
  const auto options = std::make_shared<ForeheadOptions>();
  CLI::App& command =
      add_command(app, "forehead", "Predict 11 points of the forehead from a face's landmarks",
                  "morvik forehead landmarks.txt --overlay photo.jpg -o forehead.jpg");
  command
      .add_option("LANDMARKS,--landmarks", options->landmarks,
                  "Text file with 106 or 96 points, X,Y lines, or a folder; - is standard input")
      ->required();
  command.add_option("--image-size", options->image_size, "Size of the picture, WIDTHxHEIGHT");
  options->write.add_to(command, "File to write: a picture, txt or json; or a folder",
                        {"txt", "json"});
  command.add_option("--overlay,--photos", options->photo,
                     "Photograph to draw the points over, or a folder of them");
  command.add_flag("--normalised", options->normalised,
                   "Landmarks are shares of the picture's width and height, 0 to 1");
  command.add_flag("--json", options->json, "Print the points as JSON, not as X,Y lines");
  options->read.add_to(command, "PHOTO");
  options->batch.add_to(command);
  command.callback([options, &session] { run_forehead(*options, session); });
}

}  // namespace tool
