// Options that several commands share, and what they stand for.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "pictures/files.h"
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

// --raw, --size and --stride: an input without a header.
class RawOptions {
 public:
  void add_to(CLI::App& command, const std::string& input);
  std::optional<RawLayout> layout() const;

 private:
  std::string format_;
  std::string size_;
  int stride_ = 0;
};

// INPUT... -o OUTPUT of commands that make one picture of one: OUTPUT is a file or, for several
// inputs, a folder.
class PictureFiles {
 public:
  void add_to(CLI::App& command, const std::string& input);
  using Operation = std::function<Picture(Picture)>;
  void run(const Operation& operation, Session& session) const;

 private:
  std::string output_for(const std::string& input) const;
  void run_one(const std::string& input, const Operation& operation, Session& session) const;

  std::vector<std::string> inputs_;
  std::string output_;
  std::string ending_ = "png";
  RawOptions raw_;
};

// A bar on the terminal; nothing when stderr is a file, or for a single step.
void show_progress(size_t done, size_t total);

// A photograph as RGB24, a mask as GRAY.
Picture read_photo(const std::string& path, const RawOptions& raw, Session& session);
Picture read_mask(const std::string& path, Session& session);

}  // namespace tool
