#include "outlines.h"

#include "reading.h"

namespace tool {
namespace {

// The service for one call.
class Service {
 public:
  Service() : handle_(mvk_outline_create()) {
    if (handle_ == nullptr) throw std::bad_alloc();
  }
  ~Service() { mvk_outline_destroy(handle_, &found_); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  uint32_t find(const QX_OFFSCREEN& image, const MKOutlineMode& mode) {
    return mvk_outline_expansion(handle_, &image, &mode, &found_);
  }

  std::vector<Outline> outlines() const {
    std::vector<Outline> outlines(found_.contour_count);
    for (size_t i = 0; i < outlines.size(); ++i) {
      for (uint32_t j = 0; j < found_.point_counts[i]; ++j) {
        outlines[i].push_back({found_.points[i][2 * j], found_.points[i][2 * j + 1]});
      }
    }
    return outlines;
  }

 private:
  void* handle_;
  MKGetOutline found_{};
};

}  // namespace

std::vector<Outline> trace(const Picture& image, const MKOutlineMode& mode, Session& session) {
  const QX_OFFSCREEN src = image.view();
  Service service;
  if (session.call("mvk_outline_expansion", [&] { return service.find(src, mode); }) ==
      MVK_NOT_FOUND) {
    throw Failure("no pixel is above " + std::to_string(mode.threshold) + advice_on(image),
                  kNothingFound);
  }
  return service.outlines();
}

}  // namespace tool
