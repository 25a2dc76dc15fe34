#include "options.h"

#include <charconv>
#include <string_view>

namespace tool {
namespace {

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

CLI::App& add_command(CLI::App& app, const char* name, const char* description,
                      const char* example) {
  CLI::App& command = *app.add_subcommand(name, description);
  command.footer(std::string("Example:\n  ") + example);
  return command;
}

}  // namespace tool
