// The demo's report: one HTML file with its pictures inside.
#pragma once

#include <string>
#include <vector>

namespace tool {

// A picture with the command that made it; inputs have no command.
struct Figure {
  std::string caption;
  std::string picture;  // file
  std::string command;
  std::string time;
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
