// Texts of options and what they stand for.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "pictures/picture.h"
#include "session.h"

namespace tool {

Size parse_size(const std::string& text);                   // "640x480"
std::vector<TPOINT> parse_points(const std::string& text);  // "10,20 30,40"

struct Color {
  uint8_t red = 0;
  uint8_t green = 0;
  uint8_t blue = 0;
};
Color parse_color(const std::string& text);  // "#ff8800"

// Adds a command with its description and an example for its help.
CLI::App& add_command(CLI::App& app, const char* name, const char* description,
                      const char* example);

}  // namespace tool
