// Prints a line for each group of calls: its name and a hash of all that they wrote.
// With --draws a line for each call, to find the one that differs.
#include <cstdio>
#include <string_view>

#include "robust/digest.h"

int main(int argc, char** argv) {
  const bool each = argc > 1 && std::string_view(argv[1]) == "--draws";
  for (const robust::Variant& variant : robust::variants()) {
    for (const robust::Size size : robust::kDigestSizes) {
      const robust::Group group = robust::digest(variant, size);
      for (size_t i = 0; each && i < group.draws.size(); ++i) {
        std::printf("%s, draw %zu: %s\n", group.name.c_str(), i,
                    robust::hexadecimal(group.draws[i]).c_str());
      }
      if (each) continue;
      std::printf("%s: %s\n", group.name.c_str(), robust::hexadecimal(group.hash()).c_str());
    }
  }
}
