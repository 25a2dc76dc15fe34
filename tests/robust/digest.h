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

struct Size {
  int width;
  int height;
};

// The calls of a function on images of one size and one pair of formats.
struct Group {
  std::string name;
  std::vector<uint64_t> draws;  // a hash for each call
  uint64_t hash() const;        // of them all
};
Group digest(const Variant& variant, Size size);

// The last is wider than what is done at a time in vectors and in strips of columns.
inline constexpr Size kDigestSizes[] = {{5, 3},     {33, 24},   {64, 48},
                                        {193, 144}, {480, 360}, {2100, 40}};

// Names and hashes of a list as morvik_digest prints it.
std::map<std::string, std::string> read_digests(const std::string& path);
std::string hexadecimal(uint64_t hash);

}  // namespace robust
