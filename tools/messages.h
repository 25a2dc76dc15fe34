// Standard error, shared by all threads: messages, and a line that tells how far a run is.
#pragma once

#include <string>

namespace tool {

enum class Kind { kError, kWarning, kNote, kPlain };
void print_message(Kind kind, const std::string& sentence);
bool print_once(Kind kind, const std::string& sentence);  // false when it was printed before

// Replaces the line before; nothing when standard error is not a terminal.
void show_progress(const std::string& line);

// A bar for work of which each step takes about as long.
void show_bar(size_t done, size_t total);

}  // namespace tool
