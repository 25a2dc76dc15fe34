#include "options.h"

#include <unistd.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <iostream>

namespace tool {
namespace {

namespace fs = std::filesystem;

// Takes a number from the front of `text`; false when there is none.
bool take_number(std::string_view& text, int& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

bool take(std::string_view& text, char expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

void show_progress(size_t done, size_t total) {
  if (total < 2 || ::isatty(STDERR_FILENO) == 0) return;
  constexpr size_t kWidth = 40;
  const size_t filled = kWidth * done / total;
  std::cerr << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, ' ') << "] "
            << done << " of " << total << (done == total ? "\n" : "") << std::flush;
}

Size parse_size(const std::string& text) {
  std::string_view rest = text;
  Size size;
  if (!take_number(rest, size.width) || !take(rest, 'x') || !take_number(rest, size.height) ||
      !rest.empty()) {
    throw Failure("'" + text + "' is not a size; write WIDTHxHEIGHT, such as 640x480");
  }
  check_size(size.width, size.height);
  return size;
}

std::vector<TPOINT> parse_points(const std::string& text) {
  std::string_view rest = text;
  std::vector<TPOINT> points;
  while (take(rest, ' ')) {
  }
  while (!rest.empty()) {
    TPOINT& point = points.emplace_back();
    if (!take_number(rest, point.x) || !take(rest, ',') || !take_number(rest, point.y) ||
        (!rest.empty() && rest.front() != ' ')) {
      throw Failure("'" + text +
                    "' are not points; write X,Y pairs of whole numbers with blanks "
                    "between them, such as '10,10 50,10 30,40'");
    }
    while (take(rest, ' ')) {
    }
  }
  return points;
}

Color parse_color(const std::string& text) {
  unsigned value = 0;
  const char* end = text.data() + text.size();
  if (text.size() == 7 && text[0] == '#') {
    const auto [stop, error] = std::from_chars(text.data() + 1, end, value, 16);
    if (error == std::errc() && stop == end) {
      return {static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8 & 255u),
              static_cast<uint8_t>(value & 255u)};
    }
  }
  throw Failure("'" + text + "' is not a colour; write '#' and six hexadecimal digits, '#ff8800'");
}

void RawOptions::add_to(CLI::App& command, const std::string& input) {
  CLI::Option* raw = command
                         .add_option("--raw", format_,
                                     input +
                                         " has no header but pixels of "
                                         "this format")
                         ->check(CLI::IsMember(format_names()));
  CLI::Option* size =
      command.add_option("--size", size_, "Size of the raw frame, WIDTHxHEIGHT")->needs(raw);
  raw->needs(size);
  command.add_option("--stride", stride_, "Bytes from row to row of the raw frame, in both planes")
      ->needs(raw)
      ->check(CLI::PositiveNumber);
}

std::optional<RawLayout> RawOptions::layout() const {
  if (format_.empty()) return std::nullopt;
  return RawLayout{find_format(format_)->code, parse_size(size_), stride_};
}

void PictureFiles::add_to(CLI::App& command, const std::string& input) {
  command.add_option(input, inputs_, "PNG, JPEG or raw files")->required();
  command.add_option("-o,--output", output_, "File to write; for several inputs a folder")
      ->required();
  command.add_option("--as", ending_, "Ending of the files in an output folder")
      ->check([](const std::string& ending) {
        const bool known = ending == "png" || ending == "jpg" || find_format(ending) != nullptr;
        return known ? std::string() : "png, jpg or the name of a raw format is expected";
      })
      ->capture_default_str();
  raw_.add_to(command, input);
}

std::string PictureFiles::output_for(const std::string& input) const {
  if (!fs::is_directory(output_)) return output_;
  return (fs::path(output_) / fs::path(input).stem()).string() + "." + ending_;
}

void PictureFiles::run_one(const std::string& input, const Operation& operation,
                           Session& session) const {
  const std::string output = output_for(input);
  Picture result = operation(read_picture(input, raw_.layout()));
  const uint32_t format = format_for_file(output, result.format());
  write_picture(output, to_format(std::move(result), format, session));
}

void PictureFiles::run(const Operation& operation, Session& session) const {
  if (inputs_.size() > 1 && !fs::is_directory(output_)) {
    throw Failure("several inputs need a folder to write to; " + output_ + " is none");
  }
  std::vector<std::string> outputs;
  for (const std::string& input : inputs_) {
    outputs.push_back(output_for(input));
    check_output(outputs.back(), inputs_);
    if (std::count(outputs.begin(), outputs.end(), outputs.back()) > 1) {
      throw Failure("two inputs would both become " + outputs.back());
    }
  }
  for (size_t i = 0; i < inputs_.size(); ++i) {
    show_progress(i, inputs_.size());
    run_one(inputs_[i], operation, session);
  }
  show_progress(inputs_.size(), inputs_.size());
}

Picture read_photo(const std::string& path, const RawOptions& raw, Session& session) {
  return to_format(read_picture(path, raw.layout()), QX_FMT_RGB24, session);
}

Picture read_mask(const std::string& path, Session& session) {
  return to_format(read_picture(path), QX_FMT_GRAY, session);
}

}  // namespace tool
