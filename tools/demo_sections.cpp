#include "demo_sections.h"

#include <map>
#include <string>

namespace tool {
namespace {

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
constexpr int kEdgeY = 28;
constexpr int kSnapX = 41;  // hair before the plain wall in collins.jpg
constexpr int kSnapY = 6;

Section smooth_mask() {
  const std::string pair = "smooth-mask IN/hopper.jpg IN/hopper_mask_256x256.png";
  Section section{"Coarse mask to smooth mask",
                  "A segmentation network delivers 256x256 pixels for a photograph of 512x600. The "
                  "limit is the size at which edges are decided; from 600 on the mask is taken as "
                  "it is, softer. Details are enlarged three times.",
                  4,
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
  }
  return section;
}

Section snapping() {
  const std::string pair = "smooth-mask IN/collins.jpg IN/collins_mask_256x256.png --limit 400";
  Figure figure =
      detail(result("Drag to compare: without snapping on the left, with it on the right",
                    "snapped.jpg", pair + " --overlay --snap"),
             kSnapX, kSnapY);
  figure.before = "OUT/not_snapped.jpg";
  figure.first = {"morvik " + pair + " --overlay -o OUT/not_snapped.jpg"};
  return {
      "Snapping to edges of the photograph",
      "The network's edge lies some pixels inside of the hair, whose rim is lost. Snapping moves "
      "it to the strongest edge of colour in its row, which is where the hair ends before the "
      "plain wall. Enlarged.",
      2,
      {figure}};
}

// A sticker of 20 million pixels before and after: the edge as it was, and as it is.
Section large_photograph() {
  const std::string sticker = "sticker OUT/large.jpg IN/hopper_mask_256x256.png";
  Figure figure = result(
      "Drag to compare: hard edge at a fixed working size on the left, the default on the "
      "right",
      "large_sticker.png", sticker);
  figure.before = "OUT/large_hard.png";
  figure.first = {"morvik resize IN/hopper.jpg --to 4096x4800 --method cubic -o OUT/large.jpg",
                  "morvik " + sticker + " --hard-edge --limit 640 -o OUT/large_hard.png"};
  figure.crop = {600, 2480, 1238, 560};
  figure.large = figure.transparent = figure.full_size = true;
  return {
      "A large photograph at 100 %",
      "Pixel for pixel, a part of a sticker of 4096x4800, made of a photograph that was enlarged "
      "to 20 million pixels. The soft edge and the border follow the photograph's size, and the "
      "colours of the ground do not show in the edge.",
      2,
      {figure}};
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
      "A mask of the skin, with eyes and mouth left out. Strokes go around the holes, too; "
      "fill-stroke closes them. The polar and vector modes push points away from a centre, which "
      "polar-center and vector-center are given.",
      4,
      {result("The mask", "skin.png", "fill-polygon --file OUT/skin.txt --size 560x600")}};
  for (const std::string mode : {"stroke", "fill-stroke", "hull-fill-stroke", "polar", "hull-polar",
                                 "polar-center", "vector", "hull-vector", "vector-center"}) {
    const bool centered = mode.ends_with("-center");
    const bool stroke = mode.ends_with("stroke");
    section.figures.push_back(
        result(mode, "outline_" + mode + ".jpg",
               "outline OUT/skin.png --mode " + mode + " --expand " + (stroke ? "6" : "24") +
                   (centered ? " --center 310,215" : "") + " --overlay IN/collins_tilted.jpg"));
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
      "Detectors deliver 106 points (blue) that end at the brows. The eleven points of "
      "the forehead (yellow) follow from the contour. Green is the upper oval of a "
      "face mesh, measured in the same picture; the error is the distance of the "
      "points from that line. The mesh is flat on top, the prediction round as a skull.",
      3,
      {}};
  const std::map<std::string, std::string> faces{
      {"collins", "Upright"}, {"collins_tilted", "Tilted"}, {"hopper", "With a cap"}};
  for (const auto& [name, caption] : faces) {
    const std::string face =
        "forehead IN/" + name + "_landmarks106.txt --overlay IN/" + name + ".jpg";
    Figure figure = result(caption, "forehead_" + name + ".jpg", face);
    figure.measured = "IN/" + name + "_forehead_mesh15.txt";
    figure.first = {"morvik " + face + " --as txt -o " + figure.picture + ".txt"};
    section.figures.push_back(figure);
  }
  return section;
}

}  // namespace

std::vector<Section> demo_sections(bool with_large) {
  std::vector<Section> sections{camera_frame(), smooth_mask(), snapping(), holes(),
                                morphology(),   blurs(),       outlines(), stickers()};
  if (with_large) sections.push_back(large_photograph());
  sections.push_back(foreheads());
  return sections;
}

}  // namespace tool
