// Prints one line per call: its name and a hash of what it wrote. The same on every processor,
// which scripts/test-arm64.sh checks.
#include <cinttypes>
#include <cstdio>

#include "robust/scene.h"

int main() {
  for (const robust::Variant& variant : robust::variants()) {
    for (const int side : {5, 64, 193, 480}) {
      robust::Choice choice = robust::random_choice(static_cast<uint64_t>(side));
      for (int draw = 0; draw < 12; ++draw) {
        robust::Scene scene(variant, side + draw % 2, side * 3 / 4, robust::Flush::kAtEnd, choice);
        scene.run();
        uint64_t hash = 0xCBF29CE484222325u;  // FNV-1a
        for (const uint8_t byte : scene.outcome()) hash = (hash ^ byte) * 0x100000001B3u;
        std::printf("%s, draw %d: %016" PRIx64 "\n", scene.name.c_str(), draw, hash);
      }
    }
  }
}
