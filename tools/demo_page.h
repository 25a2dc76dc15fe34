// The demo's report: one HTML file with its pictures inside.
#pragma once

#include <string>
#include <vector>

namespace tool {

struct Box {
  int x = 0, y = 0, width = 0, height = 0;
};

// A picture with the command that made it; inputs have no command.
struct Figure {
  std::string caption;
  std::string picture;             // file
  std::string before;              // file to compare with, by a slider
  std::string command;             // makes picture
  std::vector<std::string> first;  // commands that make what else is needed
  std::string measured;            // file of points to draw over the picture and to compare with
  std::string time;
  Box crop;                // what is shown of a large picture
  bool large = false;      // takes long
  bool full_size = false;  // shown pixel for pixel
  bool transparent = false;
  bool detail = false;  // shown enlarged, the part around (detail_x, detail_y) per cent only
  int detail_x = 50;
  int detail_y = 50;
};

struct Section {
  std::string title;
  std::string text;
  int columns;  // side by side on a wide screen
  std::vector<Figure> figures;
};

std::string demo_page(const std::vector<Section>& sections);

}  // namespace tool
