// Masks against their photographs, for the commands that take both.
#pragma once

#include <string>

#include "options.h"

namespace tool {

// How a coarse mask is brought to the size of its photograph.
class SmoothOptions {
 public:
  void add_to(CLI::App& command);
  // Throws a sentence when mask, photograph and limit do not fit.
  Picture smooth(const Picture& photo, const Picture& mask, Session& session) const;

 private:
  void check(Size photo, Size mask) const;

  bool snap_ = false;
  uint32_t limit_ = 640;
};

}  // namespace tool
