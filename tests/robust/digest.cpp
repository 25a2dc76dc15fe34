#include "robust/digest.h"

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <span>

namespace robust {
namespace {

constexpr int kDraws = 40;

uint64_t fnv1a(std::span<const uint8_t> bytes) {
  uint64_t hash = 0xCBF29CE484222325U;
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3U;
  return hash;
}

}  // namespace

Group digest(const Variant& variant, Size size) {
  Choice choice = random_choice(static_cast<uint64_t>(size.width));
  Group group;
  for (int draw = 0; draw < kDraws; ++draw) {
    Scene scene(variant, size.width + draw % 2, size.height, Flush::kAtEnd, choice);
    if (draw == 0) group.name = scene.name;
    scene.run();
    group.draws.push_back(fnv1a(scene.outcome()));
  }
  return group;
}

uint64_t Group::hash() const {
  std::vector<uint8_t> bytes;
  for (const uint64_t draw : draws) {
    for (int shift = 0; shift < 64; shift += 8)
      bytes.push_back(static_cast<uint8_t>(draw >> shift));
  }
  return fnv1a(bytes);
}

std::map<std::string, std::string> read_digests(const std::string& path) {
  std::map<std::string, std::string> digests;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t end = line.rfind(": ");
    if (end != std::string::npos) digests[line.substr(0, end)] = line.substr(end + 2);
  }
  return digests;
}

std::string hexadecimal(uint64_t hash) {
  char text[17];
  std::snprintf(text, sizeof text, "%016" PRIx64, hash);
  return text;
}

}  // namespace robust
