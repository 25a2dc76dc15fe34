// Masks against their photographs, for the commands that take both.
#pragma once

#include <optional>

#include "batch.h"
#include "reading.h"

namespace tool {

// What a command wants of a mask's edges when no limit is given: those that the network left soft,
// or a decision for each pixel.
enum class Edges { kSoft, kHard };

// How a mask is brought to the size of its photograph.
class SmoothOptions {
 public:
  explicit SmoothOptions(Edges edges) : edges_(edges) {}
  void add_to(CLI::App& command);

  // By mvk_make_mask_smooth(). Masks that are too large for it are scaled down first; throws a
  // sentence when mask, photograph and limit do not fit.
  Picture smooth(const Picture& photo, const Picture& mask, Session& session) const;

  // The same, but masks that are fine enough are taken as they are or merely scaled.
  Picture fit(const Picture& photo, const Picture& mask, Session& session) const;

 private:
  uint32_t limit_for(Size photo) const;
  void check_limit(Size photo, const Picture& mask, Session& session) const;

  Edges edges_;
  bool snap_ = false;
  std::optional<uint32_t> limit_;
};

// PHOTO and MASK: two files, or two folders of files that go together by their stems.
class PairOptions {
 public:
  void add_to(CLI::App& command);
  Jobs jobs(const std::string& output, const std::string& ending) const;
  Photo read_photo(const Job& job, Session& session) const;
  Picture read_mask(const Job& job, Session& session) const;

 private:
  std::string photo_;
  std::string mask_;
  ReadOptions read_;
  MaskOptions mask_options_;
};

}  // namespace tool
