// What the demo shows: commands with their pictures. IN/ and OUT/ stand for the folders of the
// samples and of the results.
#pragma once

#include <vector>

#include "demo_page.h"

namespace tool {

std::vector<Section> demo_sections(bool with_large);

}  // namespace tool
