#include "mask_fit.h"

#include <algorithm>
#include <cmath>

#include "formats.h"

namespace tool {
namespace {

constexpr int kMaxMaskSide = 520;
constexpr int kInside = 250;  // pixels above it are inside where masks are binarised
constexpr int kHalf = 127;

// Whether two pictures have the same proportions, to within a rounded pixel or 1 %.
bool same_proportions(Size a, Size b) {
  const double width = static_cast<double>(a.height) * b.width / b.height;
  const double height = static_cast<double>(a.width) * b.height / b.width;
  return std::abs(a.width - width) <= std::max(1.0, width / 100) ||
         std::abs(a.height - height) <= std::max(1.0, height / 100);
}

// Networks work on squares, or on small pictures of proportions of their own.
bool may_be_from_network(Size mask, Size photo) {
  const bool small = mask.width <= kMaxMaskSide && mask.height <= kMaxMaskSide &&
                     mask.width < photo.width && mask.height < photo.height;
  return mask.width == mask.height || small;
}

void check_proportions(Size mask, Size photo, const Session& session) {
  if (same_proportions(mask, photo)) return;
  const std::string sizes =
      "the mask is " + to_string(mask) + ", the photograph " + to_string(photo);
  const bool turned = same_proportions({mask.height, mask.width}, photo);
  const std::string why = turned ? "one of them lies on its side; see --no-orient"
                                 : "their proportions differ by more than 1 %";
  if (!may_be_from_network(mask, photo)) throw Failure(sizes + ": " + why);
  if (turned && mask.width != mask.height) session.warn(sizes + ": " + why);
}

Picture scaled_with_note(const Picture& mask, Size size, Session& session) {
  session.note("the mask was scaled from " + to_string(mask.size()) + " to " + to_string(size));
  return resized(mask, size, MVK_RESIZE_AREA, session);
}

// The mask itself, or scaled down so that mvk_make_mask_smooth() takes it.
Picture reduced(const Picture& mask, Size photo, Session& session) {
  const int width = std::min(kMaxMaskSide, photo.width - 1);
  const int height = std::min(kMaxMaskSide, photo.height - 1);
  if (width < 1 || height < 1)
    throw Failure("the photograph of " + to_string(photo) + " is too small");
  if (mask.width() <= width && mask.height() <= height) return mask;
  const double scale = std::min(static_cast<double>(width) / mask.width(),
                                static_cast<double>(height) / mask.height());
  const auto side = [&](int value) { return std::max(1, static_cast<int>(value * scale)); };
  return scaled_with_note(mask, {side(mask.width()), side(mask.height())}, session);
}

}  // namespace

void SmoothOptions::add_to(CLI::App& command) {
  command.add_flag("--snap", snap_, "Move the mask's edges to colour edges of the photograph");
  command
      .add_option("--limit", limit_,
                  "Working size in pixels; as large as the photograph or larger means no "
                  "binarising and no snapping; else a quarter of the larger side, at least " +
                      std::string(edges_ == Edges::kSoft ? "640" : "512"))
      ->check(CLI::Range(1, kMaxSide));
}

// A quarter of a large photograph leaves no stairs in it that could be seen.
uint32_t SmoothOptions::limit_for(Size photo) const {
  if (limit_) return *limit_;
  const int larger = std::max(photo.width, photo.height);
  if (edges_ == Edges::kSoft) return static_cast<uint32_t>(std::max(640, larger / 4));
  return static_cast<uint32_t>(std::max(1, std::min(std::max(512, larger / 4), larger - 1)));
}

void SmoothOptions::check_limit(Size photo, const Picture& mask, Session& session) const {
  const uint32_t limit = limit_for(photo);
  const int larger = std::max(mask.width(), mask.height());
  if (limit >= static_cast<uint32_t>(std::max(photo.width, photo.height))) {
    if (snap_) {
      session.warn("--snap does nothing at a limit of " + std::to_string(limit) +
                   ", which is not below the larger side of the photograph (" + to_string(photo) +
                   ")");
    }
    return warn_if_dark(mask, kHalf, session);
  }
  if (2 * static_cast<int64_t>(limit) < larger) {
    throw Failure("a limit of " + std::to_string(limit) + " is too small for a mask of " +
                  to_string(mask.size()) + "; at least " + std::to_string((larger + 1) / 2) +
                  " is needed");
  }
  warn_if_dark(mask, kInside, session);
}

Picture SmoothOptions::smooth(const Picture& photo, const Picture& mask, Session& session) const {
  check_proportions(mask.size(), photo.size(), session);
  const Picture coarse = reduced(mask, photo.size(), session);
  check_limit(photo.size(), coarse, session);
  Picture smooth(QX_FMT_GRAY, photo.size());
  session.call("mvk_make_mask_smooth", [&] {
    return mvk_make_mask_smooth(smooth.view().record(), coarse.view().record(),
                                photo.view().record(), snap_ ? 1u : 0u, limit_for(photo.size()));
  });
  return smooth;
}

Picture SmoothOptions::fit(const Picture& photo, const Picture& mask, Session& session) const {
  const Size size = photo.size();
  const bool fine = mask.width() >= size.width || mask.height() >= size.height ||
                    std::max(mask.width(), mask.height()) > kMaxMaskSide;
  if (snap_ || !fine) return smooth(photo, mask, session);
  check_proportions(mask.size(), size, session);
  warn_if_dark(mask, kHalf, session);
  return mask.size() == size ? mask : scaled_with_note(mask, size, session);
}

void PairOptions::add_to(CLI::App& command) {
  command.add_option("PHOTO,--photos", photo_, "Photograph that the mask belongs to, or a folder")
      ->required();
  command
      .add_option("MASK,--masks", mask_,
                  "Its mask, coarse or as large as the photograph, or a folder")
      ->required();
  read_.add_to(command, "PHOTO");
  mask_options_.add_to(command);
}

Jobs PairOptions::jobs(const std::string& output, const std::string& ending) const {
  const Content photos = read_.raw() ? Content::kRawFrames : Content::kPictures;
  return jobs_of_pairs(photo_, photos, mask_, Content::kPictures, output, ending);
}

Photo PairOptions::read_photo(const Job& job, Session& session) const {
  return read_.read_photo(job.inputs[0], session);
}

Picture PairOptions::read_mask(const Job& job, Session& session) const {
  return mask_options_.as_mask(read_.read_file(job.inputs[1], session).pixels, session);
}

}  // namespace tool
