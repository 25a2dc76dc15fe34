// demo: runs the other commands on the sample pictures and shows what they make.
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "demo_page.h"
#include "demo_sections.h"
#include "drawing.h"
#include "face.h"
#include "messages.h"
#include "pictures/alpha.h"
#include "pictures/files.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Splits a command line at its blanks; single quotes keep them and vanish.
std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> words(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '\'')
      quoted = !quoted;
    else if (c == ' ' && !quoted)
      words.emplace_back();
    else
      words.back() += c;
  }
  return words;
}

std::string time_of(double milliseconds) {
  const bool small = milliseconds < 0.01;
  std::ostringstream text;
  text << std::setprecision(2) << std::defaultfloat;
  if (milliseconds >= 100) text << std::setprecision(0) << std::fixed;
  text << (small ? milliseconds * 1000 : milliseconds) << (small ? "\u00a0us" : "\u00a0ms");
  return text.str();  // no line ends within
}

// How long a command took at best, and the calls of the library in that run.
struct Times {
  double milliseconds = 0;
  std::vector<CallTime> calls;
};

// From file to file, then each function with the time and number of its calls.
std::string time_text(const Times& times) {
  std::ostringstream text;
  text << "file to file " << time_of(times.milliseconds) << "; ";
  const char* separator = "";
  for (const CallTime& call : times.calls) {
    text << separator << call.function << (call.count > 1 ? " x" + std::to_string(call.count) : "")
         << ' ' << time_of(call.milliseconds);
    separator = ", ";
  }
  return text.str();
}

// As one would type it.
std::string typed(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    const bool quoted = word.find_first_of(" #") != std::string::npos;
    line += (line.empty() ? "" : " ") + (quoted ? "'" + word + "'" : word);
  }
  return line;
}

Times run_once(const std::vector<std::string>& command) {
  Session session;
  session.manner.quiet = true;
  const auto start = Clock::now();
  if (run({command.begin() + 1, command.end()}, session) != 0) {
    throw Failure("the demo ends here: " + typed(command));
  }
  const std::chrono::duration<double, std::milli> time = Clock::now() - start;
  return {time.count(), session.calls()};
}

Times fastest_of(int runs, const std::vector<std::string>& command) {
  Times fastest = run_once(command);
  for (int i = 1; i < runs; ++i) {
    const Times times = run_once(command);
    fastest.milliseconds = std::min(fastest.milliseconds, times.milliseconds);
    for (size_t j = 0; j < fastest.calls.size(); ++j) {
      fastest.calls[j].milliseconds =
          std::min(fastest.calls[j].milliseconds, times.calls[j].milliseconds);
    }
  }
  return fastest;
}

Picture read(const std::string& path) { return decode_picture(read_file(path)).picture; }

// Shows a part of the picture only.
void cut(const std::string& path, const Box& box) {
  const Picture whole = read(path);
  Picture part(whole.format(), {box.width, box.height});
  const size_t bytes = whole.row_bytes() / static_cast<size_t>(whole.width());
  for (int y = 0; y < box.height; ++y) {
    std::copy_n(whole.row(box.y + y) + bytes * static_cast<size_t>(box.x), part.row_bytes(),
                part.row(y));
  }
  write_file(path, encode_png(part));
}

Polyline line_of(const std::vector<FilePoint>& points) {
  Polyline line;
  for (const FilePoint& point : points) {
    line.push_back({static_cast<double>(point.x), static_cast<double>(point.y)});
  }
  return line;
}

// Draws what was measured over the prediction and says how far they are apart.
std::string compare(const Figure& figure) {
  const Polyline measured = line_of(read_points(figure.measured));
  Picture photo = read(figure.picture);
  Ink ink(photo.size());
  ink.polyline(measured, false, 2);
  ink.paint(photo, {34, 197, 94});
  write_file(figure.picture, encode_jpeg(photo));
  double sum = 0;
  double most = 0;
  const std::vector<FilePoint> predicted = read_points(figure.picture + ".txt");
  for (const Point& point : line_of(predicted)) {
    const double distance = distance_to(measured, point);
    sum += distance;
    most = std::max(most, distance);
  }
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << ": " << sum / static_cast<double>(predicted.size())
       << " pixels off in the mean, " << most << " at most, in a picture of " << photo.width()
       << "x" << photo.height();
  return text.str();
}

// The skin of a face: its contour with the forehead, without eyes and mouth. A polygon may touch
// itself, so that one can have holes.
void write_skin(const std::string& landmarks, const std::string& forehead,
                const std::string& output) {
  static const std::vector<std::vector<size_t>> kHoles{
      {52, 53, 72, 54, 55, 56, 73, 57},
      {58, 59, 75, 60, 61, 62, 76, 63},
      {84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94, 95}};
  const std::vector<FilePoint> face = read_face(landmarks, {106});
  std::vector<FilePoint> corners(face.begin(), face.begin() + 33);
  const std::vector<FilePoint> top = read_points(forehead);
  corners.insert(corners.end(), top.rbegin(), top.rend());
  corners.push_back(face[0]);
  for (const std::vector<size_t>& hole : kHoles) {
    for (const size_t i : hole) corners.push_back(face[i]);
    corners.push_back(face[hole[0]]);
    corners.push_back(face[0]);
  }
  std::ostringstream text;
  for (const FilePoint& point : corners) text << point.x << ',' << point.y << '\n';
  write_file(output, text.str());
}

class Demo {
 public:
  Demo(std::string samples, std::string folder, bool quick)
      : samples_(std::move(samples)), folder_(std::move(folder)), quick_(quick) {}

  void make() {
    if (!fs::exists(samples_ + "/hopper.jpg")) {
      throw Failure("the sample pictures are not in '" + samples_ + "'; say where with --samples");
    }
    std::error_code error;
    fs::create_directories(folder_, error);
    if (error) throw Failure("cannot make the folder " + folder_ + ": " + error.message());
    const std::string landmarks = "IN/collins_tilted_landmarks106.txt";
    const std::string forehead = "OUT/forehead.txt";
    run_once(placed_words("morvik forehead " + landmarks + " --image-size 560x600 -o " + forehead));
    write_skin(placed(landmarks), placed(forehead), placed("OUT/skin.txt"));
    std::vector<Section> sections = demo_sections(!quick_);
    size_t total = 0;
    for (const Section& section : sections) total += section.figures.size();
    size_t done = 0;
    for (Section& section : sections) {
      for (Figure& figure : section.figures) {
        show_bar(done++, total);
        make(figure);
      }
    }
    show_bar(total, total);
    const std::string page = folder_ + "/index.html";
    write_file(page, demo_page(sections));
    std::cout << "Look at " << fs::absolute(page).lexically_normal().string() << "\n";
  }

 private:
  std::string placed(const std::string& word) const {
    if (word.starts_with("IN/")) return samples_ + word.substr(2);
    return word.starts_with("OUT/") ? folder_ + word.substr(3) : word;
  }

  // Split before folders are put in, as their names may have blanks.
  std::vector<std::string> placed_words(const std::string& command) const {
    std::vector<std::string> words = split(command);
    for (std::string& word : words) word = placed(word);
    return words;
  }

  void make(Figure& figure) const {
    for (std::string* text : {&figure.picture, &figure.before, &figure.measured}) {
      *text = placed(*text);
    }
    for (const std::string& command : figure.first) run_once(placed_words(command));
    if (!figure.command.empty()) {
      const std::vector<std::string> words = placed_words(figure.command);
      figure.time = time_text(fastest_of(quick_ || figure.large ? 1 : 3, words));
      figure.command = typed(words);
    }
    if (figure.crop.width > 0) {
      cut(figure.picture, figure.crop);
      cut(figure.before, figure.crop);
    }
    if (!figure.measured.empty()) figure.caption += compare(figure);
  }

  std::string samples_;
  std::string folder_;
  bool quick_;
};

}  // namespace

void add_demo(CLI::App& app) {
  struct Options {
    std::string samples = "samples";
    std::string folder = "out/demo";
    bool quick = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "demo", "Run everything on the sample pictures and make a page",
                  "morvik demo --samples samples -o out/demo");
  command.add_option("--samples", options->samples, "Folder of the sample pictures")
      ->capture_default_str();
  command.add_option("-o,--output", options->folder, "Folder to write to")->capture_default_str();
  command.add_flag("--quick", options->quick,
                   "Run each command once and leave out the large photograph");
  command.callback([options] { Demo(options->samples, options->folder, options->quick).make(); });
}

}  // namespace tool
