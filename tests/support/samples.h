// The pictures of samples/, decoded.
#pragma once

#include <string>

#include "support/test_image.h"

namespace test {

// An 8-bit gray PNG, such as "collins_mask_256x256.png".
TestImage sample_mask(const std::string& name);
// A JPEG photograph as RGB24.
TestImage sample_photo(const std::string& name);

// The mask scaled to another size by nearest neighbour.
TestImage scaled_mask(const TestImage& mask, int width, int height);

}  // namespace test
