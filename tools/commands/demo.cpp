// demo: runs the other commands on the sample pictures and shows what they make.
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>

#include "commands/commands.h"
#include "demo_page.h"
#include "messages.h"
#include "pictures/files.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr int kRuns = 3;

// Commands name their inputs as IN/file and their result as OUT/file.
Figure input(const std::string& caption, const std::string& file) {
  Figure figure;
  figure.caption = caption;
  figure.picture = "IN/" + file;
  return figure;
}

Figure result(const std::string& caption, const std::string& file, const std::string& command) {
  Figure figure;
  figure.caption = caption;
  figure.picture = "OUT/" + file;
  figure.command = "morvik " + command + " -o OUT/" + file;
  return figure;
}

// The same, enlarged around a place of the picture in per cent.
Figure detail(Figure figure, int x, int y) {
  figure.detail = true;
  figure.detail_x = x;
  figure.detail_y = y;
  return figure;
}

Section camera_frame() {
  const std::string frame = " IN/hopper_frame_640x480.nv21 --raw nv21 --size 640x480";
  Section section{
      "Camera frame",
      "A raw NV21 frame, converted for looking at it, and turned while it is still "
      "NV21.",
      3,
      {result("In colour", "frame.jpg", "convert" + frame),
       result("Brightness alone", "frame_gray.png", "convert" + frame + " --format gray")}};
  for (const std::string angle : {"90", "180", "270"}) {
    section.figures.push_back(result("Turned by " + angle + " degrees", "frame_" + angle + ".jpg",
                                     "rotate" + frame + " --angle " + angle));
  }
  section.figures.push_back(
      result("Scaled to 160x120", "frame_small.png", "resize" + frame + " --to 160x120"));
  return section;
}

constexpr int kEdgeX = 20;  // hair and cap before the flag in hopper.jpg, per cent
constexpr int kEdgeY = 22;

Section smooth_mask() {
  const std::string pair = "smooth-mask IN/hopper.jpg IN/hopper_mask_256x256.png";
  Section section{"Coarse mask to smooth mask",
                  "A segmentation network delivers 256x256 pixels for a photograph of 512x600. "
                  "Snapping moves the edges to edges of the photograph; the limit is the size at "
                  "which that is done. A limit of 600 or more takes the mask as it is: softer, "
                  "and nothing to snap. Details are enlarged three times.",
                  5,
                  {input("Photograph", "hopper.jpg"),
                   result("Coarse mask, merely enlarged", "mask_coarse.png",
                          "resize IN/hopper_mask_256x256.png --to 512x600 --method nearest"),
                   result("Smooth mask", "mask_smooth.png", pair + " --limit 512"),
                   result("What it selects", "mask_shown.jpg", pair + " --limit 512 --overlay")}};
  Figure coarse = section.figures[1];
  coarse.caption = "Detail: coarse";
  section.figures.push_back(detail(coarse, kEdgeX, kEdgeY));
  for (const std::string limit : {"256", "512", "1024"}) {
    section.figures.push_back(detail(result("Detail: limit " + limit, "mask_" + limit + ".jpg",
                                            pair + " --overlay --limit " + limit),
                                     kEdgeX, kEdgeY));
    if (limit == "1024") break;
    section.figures.push_back(
        detail(result("Detail: limit " + limit + ", snapped", "mask_" + limit + "_snapped.jpg",
                      pair + " --overlay --snap --limit " + limit),
               kEdgeX, kEdgeY));
  }
  return section;
}

Section holes() {
  const std::string fill = "fill-holes IN/photographer_mask_256x256.png --level ";
  return {"Holes",
          "An untidy mask: soft parts, specks and holes. The level decides what counts as inside.",
          4,
          {input("Photograph", "photographer.png"), input("Mask", "photographer_mask_256x256.png"),
           result("Filled, level 127", "holes_127.png", fill + "127"),
           result("Filled, level 20", "holes_20.png", fill + "20")}};
}

Section morphology() {
  Section section{"Growing and shrinking",
                  "The amount is what a shape gains or loses from side to side.",
                  5,
                  {input("Mask", "collins_mask_256x256.png")}};
  for (const std::string amount : {"-40", "-12", "12", "40"}) {
    section.figures.push_back(result(
        (amount[0] == '-' ? "Shrunk by " : "Grown by ") + amount.substr(amount[0] == '-' ? 1 : 0),
        "morph_" + amount + ".png", "morph IN/collins_mask_256x256.png --amount=" + amount));
  }
  return section;
}

Section blurs() {
  Section section{
      "Blur", "Four filters with a kernel of 15 pixels.", 5, {input("Photograph", "collins.jpg")}};
  for (const std::string filter : {"mean", "median", "gaussian", "bilateral"}) {
    section.figures.push_back(result(filter, "blur_" + filter + ".jpg",
                                     "blur IN/collins.jpg --kernel 15 --filter " + filter));
  }
  return section;
}

Section outlines() {
  Section section{
      "Nine kinds of outlines",
      "The smooth mask of above, grown by 24 pixels in every mode. The polar and vector "
      "modes push points away from a centre; in the two -center modes it is given, here "
      "between the shoulders.",
      3,
      {}};
  for (const std::string mode : {"stroke", "fill-stroke", "hull-fill-stroke", "polar", "hull-polar",
                                 "polar-center", "vector", "hull-vector", "vector-center"}) {
    const bool centered = mode.ends_with("-center");
    section.figures.push_back(result(mode, "outline_" + mode + ".jpg",
                                     "outline OUT/mask_smooth.png --mode " + mode + " --expand 24" +
                                         (centered ? " --center 256,560" : "") +
                                         " --overlay IN/hopper.jpg"));
  }
  return section;
}

Section stickers() {
  const auto sticker = [](const std::string& caption, const std::string& name,
                          const std::string& arguments) {
    Figure figure = result(caption, "sticker_" + name + ".png", "sticker " + arguments);
    figure.transparent = true;
    return figure;
  };
  return {"Stickers",
          "Cut out by the smooth mask, with the grown outline as border; transparent around it.",
          4,
          {sticker("White border", "hopper",
                   "IN/hopper.jpg IN/hopper_mask_256x256.png --limit 512 --expand 12"),
           sticker("Wide and coloured", "collins",
                   "IN/collins.jpg IN/collins_mask_256x256.png --limit 256 --expand 24 "
                   "--color '#ff5a36'"),
           sticker("Holes filled before, no more than its box", "photographer",
                   "IN/photographer.png OUT/holes_127.png --limit 256 --expand 8 "
                   "--color '#2dd4bf' --crop"),
           sticker("Tilted, narrow border", "collins_tilted",
                   "IN/collins_tilted.jpg IN/collins_tilted_mask_256x256.png --limit 512 --snap "
                   "--expand 5 --color '#ffd60a'")}};
}

Section foreheads() {
  Section section{
      "Forehead",
      "Detectors deliver 106 points (blue) that end at the brows. The eleven points of the "
      "forehead (yellow) follow from the contour.",
      3,
      {}};
  const std::map<std::string, std::string> faces{
      {"collins", "Upright"}, {"collins_tilted", "Tilted"}, {"hopper", "With a cap"}};
  for (const auto& [name, caption] : faces) {
    section.figures.push_back(
        result(caption, "forehead_" + name + ".jpg",
               "forehead IN/" + name + "_landmarks106.txt --overlay IN/" + name + ".jpg"));
  }
  return section;
}

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

// Each function with the time and number of its calls, in order of the first.
std::string time_text(const std::vector<CallTime>& calls) {
  std::ostringstream text;
  for (const CallTime& call : calls) {
    text << (text.tellp() > 0 ? ", " : "") << call.function
         << (call.count > 1 ? " x" + std::to_string(call.count) : "") << ' ' << std::setprecision(2)
         << (call.milliseconds < 0.01 ? call.milliseconds * 1000 : call.milliseconds)
         << (call.milliseconds < 0.01 ? "\u00a0us" : "\u00a0ms");  // no line ends there
  }
  return text.str();
}

// Runs a command kRuns times and returns the fastest time of each function.
std::vector<CallTime> run_timed(const std::string& command) {
  std::vector<std::string> arguments = split(command);
  arguments.erase(arguments.begin());
  std::vector<CallTime> fastest;
  for (int i = 0; i < kRuns; ++i) {
    Session session;
    if (run(arguments, session) != 0) throw Failure("the demo ends here: " + command);
    if (fastest.empty()) fastest = session.calls();
    for (size_t j = 0; j < fastest.size(); ++j) {
      fastest[j].milliseconds = std::min(fastest[j].milliseconds, session.calls()[j].milliseconds);
    }
  }
  return fastest;
}

std::string with_folders(std::string text, const std::string& in, const std::string& out) {
  for (const auto& [name, folder] : {std::pair{"IN/", in}, std::pair{"OUT/", out}}) {
    for (size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
      if (at == 0 || text[at - 1] == ' ') text.replace(at, std::strlen(name), folder + "/");
      ++at;
    }
  }
  return text;
}

void make_demo(const std::string& samples, const std::string& folder) {
  if (!fs::exists(samples + "/hopper.jpg")) {
    throw Failure("the sample pictures are not in '" + samples + "'; say where with --samples");
  }
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Failure("cannot make the folder " + folder + ": " + error.message());
  std::vector<Section> sections{camera_frame(), smooth_mask(), holes(),    morphology(),
                                blurs(),        outlines(),    stickers(), foreheads()};
  size_t total = 0;
  for (const Section& section : sections) total += section.figures.size();
  size_t done = 0;
  for (Section& section : sections) {
    for (Figure& figure : section.figures) {
      show_bar(done++, total);
      figure.picture = with_folders(figure.picture, samples, folder);
      figure.command = with_folders(figure.command, samples, folder);
      if (!figure.command.empty()) figure.time = time_text(run_timed(figure.command));
    }
  }
  show_bar(total, total);
  const std::string page = folder + "/index.html";
  write_file(page, demo_page(sections));
  std::cout << "Look at " << fs::absolute(page).lexically_normal().string() << "\n";
}

}  // namespace

void add_demo(CLI::App& app) {
  struct Options {
    std::string samples = "samples";
    std::string folder = "out/demo";
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      add_command(app, "demo", "Run everything on the sample pictures and make a page",
                  "morvik demo --samples samples -o out/demo");
  command.add_option("--samples", options->samples, "Folder of the sample pictures")
      ->capture_default_str();
  command.add_option("-o,--output", options->folder, "Folder to write to")->capture_default_str();
  command.callback([options] { make_demo(options->samples, options->folder); });
}

}  // namespace tool
