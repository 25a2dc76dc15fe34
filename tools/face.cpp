// forehead and landmarks.
#include <iostream>
#include <memory>
#include <sstream>

#include "drawing.h"
#include "face/landmark_layout.h"
#include "options.h"
#include "points.h"

namespace tool {
namespace {

constexpr uint32_t kForeheadPoints = 11;
constexpr Color kLandmarkColor{56, 189, 248};
constexpr Color kForeheadColor{255, 214, 10};

std::vector<FilePoint> read_face(const std::string& path, std::vector<size_t> counts,
                                 Session& session) {
  std::vector<FilePoint> points = read_points(path, session);
  if (std::count(counts.begin(), counts.end(), points.size()) == 0) {
    throw Failure(path + " has " + std::to_string(points.size()) + " points; a face has " +
                  (counts.size() == 1 ? "106" : "106 or 96"));
  }
  return points;
}

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
  Ink small(photo.size());
  Ink line(photo.size());
  Ink halo(photo.size());
  Ink dots(photo.size());
  for (const Point& point : as_line(face)) small.dot(point, 3.5);
  line.polyline(as_line(forehead), false, 2);
  for (const Point& point : as_line(forehead)) {
    halo.dot(point, 10);
    dots.dot(point, 7);
  }
  small.paint(photo, kLandmarkColor);
  line.paint(photo, kForeheadColor);
  halo.paint(photo, {0, 0, 0});
  dots.paint(photo, kForeheadColor);
}

void print(const std::vector<TPOINT>& points, bool json) {
  const char* separator = json ? "[" : "";
  for (const TPOINT& point : points) {
    std::cout << separator << (json ? "[" : "") << point.x << "," << point.y << (json ? "]" : "\n");
    separator = json ? ", " : "";
  }
  if (json) std::cout << "]\n";
}

struct ForeheadOptions {
  std::string landmarks;
  std::string image_size;
  std::string photo;
  std::string output;
  bool json = false;
  RawOptions raw;
};

void run_forehead(const ForeheadOptions& options, Session& session) {
  if (options.photo.empty() == options.image_size.empty()) {
    throw Failure("the picture's size is needed: --image-size WIDTHxHEIGHT or --overlay PHOTO");
  }
  if (!options.output.empty()) check_output(options.output, {options.landmarks, options.photo});
  const std::vector<TPOINT> face = rounded(read_face(options.landmarks, {106, 96}, session));
  if (options.photo.empty()) {
    return print(predict(face, parse_size(options.image_size), session), options.json);
  }
  Picture photo = read_photo(options.photo, options.raw, session);
  const std::vector<TPOINT> forehead = predict(face, photo.size(), session);
  draw(photo, face, forehead);
  const uint32_t format = format_for_file(options.output, photo.format());
  write_picture(options.output, to_format(std::move(photo), format, session));
  if (options.json) print(forehead, true);
}

// As mvk_write_landmarks() does it.
std::string as_text(const mvk::face::LandmarkVector& points) {
  std::ostringstream text;
  for (const mvk::face::LandmarkPoint& point : points) text << point.x << ',' << point.y << '\n';
  return text.str();
}

void run_landmarks(const std::string& input, const std::string& output, Session& session) {
  if (!output.empty()) check_output(output, {input});
  mvk::face::LandmarkVector points;
  for (const FilePoint& point : read_face(input, {106}, session)) {
    points.push_back({point.x, point.y});
  }
  mvk::face::convert_landmarks_from_std(points, points);
  const std::string text = as_text(points);
  if (output.empty()) {
    std::cout << text;
  } else {
    write_file(output, text);
  }
}

}  // namespace

void add_forehead(CLI::App& app, Session& session) {
  const auto options = std::make_shared<ForeheadOptions>();
  CLI::App& command =
      add_command(app, "forehead", "Predict 11 points of the forehead from a face's landmarks",
                  "morvik forehead landmarks.txt --overlay photo.jpg -o forehead.jpg");
  command.add_option("LANDMARKS", options->landmarks, "Text file with 106 or 96 points, X,Y lines")
      ->required();
  command.add_option("--image-size", options->image_size, "Size of the picture, WIDTHxHEIGHT");
  CLI::Option* output = command.add_option("-o,--output", options->output, "Picture to write");
  CLI::Option* overlay =
      command.add_option("--overlay", options->photo, "Photograph to draw the points over")
          ->needs(output);
  output->needs(overlay);
  command.add_flag("--json", options->json, "Print the points as JSON, not as X,Y lines");
  options->raw.add_to(command, "PHOTO");
  command.callback([options, &session] { run_forehead(*options, session); });
}

void add_landmarks(CLI::App& app, Session& session) {
  struct Options {
    std::string input;
    std::string output;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "landmarks", "Convert 106 face landmarks to the layout of 96 points",
                  "morvik landmarks detected106.txt -o internal96.txt");
  command.add_option("LANDMARKS", options->input, "Text file with 106 points, X,Y lines")
      ->required();
  command.add_option("-o,--output", options->output, "Text file to write; else standard output");
  command.callback(
      [options, &session] { run_landmarks(options->input, options->output, session); });
}

}  // namespace tool
