// Hashes of what calls write, drawn from the scenes: the same on every processor, with every
// supported version of the dependencies and in every build. tests/robust/digests.txt holds those of
// OpenCV 4.6 on x86-64; scripts/digests.sh writes it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "robust/scene.h"

namespace robust {

// The calls of a function on images of one size and one pair of formats.
struct Group {
  std::string name;
  std::vector<uint64_t> draws;  // a hash for each call
  uint64_t hash() const;        // of them all
};
Group digest(const Variant& variant, int side);

inline constexpr int kDigestSides[] = {5, 33, 64, 193, 480};

// Names and hashes of a list as morvik_digest prints it.
std::map<std::string, std::string> read_digests(const std::string& path);
std::string hexadecimal(uint64_t hash);

}  // namespace robust
