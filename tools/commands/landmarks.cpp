#include <iostream>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "face.h"
#include "face/landmark_layout.h"
#include "pictures/files.h"

namespace tool {
namespace {

// As mvk_write_landmarks() does it.
std::string as_text(const mvk::face::LandmarkVector& points) {
  std::ostringstream text;
  for (const mvk::face::LandmarkPoint& point : points) text << point.x << ',' << point.y << '\n';
  return text.str();
}

void run_landmarks(const std::string& input, const std::string& output) {
  check_outputs({output}, {input});
  mvk::face::LandmarkVector points;
  for (const FilePoint& point : read_face(input, {106})) points.push_back({point.x, point.y});
  mvk::face::convert_landmarks_from_std(points, points);
  const std::string text = as_text(points);
  if (output.empty() || output == kStandard) {
    std::cout << text;
  } else {
    write_file(output, text);
  }
}

}  // namespace

void add_landmarks(CLI::App& app, Session&) {
  struct Options {
    std::string input;
    std::string output;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "landmarks", "Convert 106 face landmarks to the layout of 96 points",
                  "morvik landmarks detected106.txt -o internal96.txt");
  command
      .add_option("LANDMARKS", options->input,
                  "Text file with 106 points, X,Y lines; - is standard input")
      ->required();
  command.add_option("-o,--output", options->output, "Text file to write; else standard output");
  command.callback([options] { run_landmarks(options->input, options->output); });
}

}  // namespace tool
