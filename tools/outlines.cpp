#include "outlines.h"

#include <optional>

#include "reading.h"

namespace tool {

std::vector<Outline> trace(const Picture& image, const MKOutlineMode& mode, Session& session) {
  std::optional<morvik::Outlines> found;
  session.call("mvk_outline_expansion", [&] {
    found.emplace(image.view(), mode);
    return uint32_t{MVK_OK};
  });
  if (found->empty()) {
    throw Failure("no pixel is above " + std::to_string(mode.threshold) + advice_on(image),
                  kNothingFound);
  }
  std::vector<Outline> outlines;
  for (const morvik::Outline& outline : *found) {
    outlines.emplace_back(outline.begin(), outline.end());
  }
  return outlines;
}

}  // namespace tool
