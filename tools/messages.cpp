#include "messages.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <mutex>
#include <set>
#include <sstream>
#include <string_view>

namespace tool {
namespace {

std::mutex guard;
bool line_is_open = false;  // the progress line has to be cleared before anything else

bool is_terminal() { return ::isatty(STDERR_FILENO) != 0; }

bool wants_color() {
  const char* no_color = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return is_terminal() && (no_color == nullptr || *no_color == '\0') &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

constexpr const char* kClear = "\r\033[K";

std::string_view head_of(Kind kind) {
  const bool color = wants_color();
  switch (kind) {
    case Kind::kError:
      return color ? "\033[1;31mmorvik:\033[0m " : "morvik: ";
    case Kind::kWarning:
      return color ? "morvik: \033[33mwarning:\033[0m " : "morvik: warning: ";
    case Kind::kNote:
      return "morvik: note: ";
    case Kind::kPlain:
      break;
  }
  return "morvik: ";
}

void print(Kind kind, const std::string& sentence) {
  if (line_is_open) std::cerr << kClear;
  line_is_open = false;
  std::cerr << head_of(kind) << sentence << '\n';
}

}  // namespace

void print_message(Kind kind, const std::string& sentence) {
  const std::lock_guard lock(guard);
  print(kind, sentence);
}

bool print_once(Kind kind, const std::string& sentence) {
  constexpr size_t kMost = 1000;
  static std::set<std::string> printed;
  const std::lock_guard lock(guard);
  if (printed.size() == kMost || !printed.insert(sentence).second) return false;
  print(kind, sentence);
  return true;
}

void show_progress(const std::string& line) {
  if (!is_terminal()) return;
  const std::lock_guard lock(guard);
  if (line_is_open) std::cerr << kClear;
  std::cerr << line << std::flush;
  line_is_open = !line.empty();
}

void show_bar(size_t done, size_t total) {
  constexpr size_t kWidth = 40;
  const size_t filled = kWidth * done / total;
  std::ostringstream bar;
  bar << '[' << std::string(filled, '#') << std::string(kWidth - filled, ' ') << "] " << done
      << " of " << total;
  show_progress(done == total ? "" : bar.str());
}

}  // namespace tool
