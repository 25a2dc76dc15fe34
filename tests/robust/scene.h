// One description of what each exported function may be given, drawn from a stream of choices: the
// bounds, thread and memory tests, the digest program and the fuzz targets all run what it makes.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "morvik/morvik.h"
#include "robust/pages.h"

namespace robust {

// Numbers to decide with: pseudo-random ones in tests, the input's bytes under a fuzzer.
struct Choice {
  std::function<uint32_t()> next;
  int pick(int low, int high) {  // both ends included
    return low + static_cast<int>(next() %
                                  (static_cast<uint32_t>(high) - static_cast<uint32_t>(low) + 1));
  }
};
Choice random_choice(uint64_t seed);

// How much memory an image has behind its descriptor: never more than its operation may touch.
struct ImageSpec {
  uint32_t format;
  int width;
  int height;
  bool packed = false;          // rows one after the other, whatever the pitch says
  bool chroma_up = false;       // chroma size rounded up
  bool last_row_whole = false;  // padding behind the last row, too
};

class Scene;

enum class Operation {
  kCopy,
  kConvert,
  kResize,
  kRotate,
  kMaskSmooth,
  kHoles,
  kMorph,
  kSmooth,
  kFill,
  kBox,
  kOutline,
  kFiles,
  kForehead
};
struct Variant {
  Operation operation;
  uint32_t to;
  uint32_t from;
};
struct Call {
  Variant variant;
  int width;
  int height;
  std::string name{};
  std::vector<ImageSpec> sources{};
  std::vector<ImageSpec> destinations{};
  int number = 0;  // what a judge must know: angle, amount, level, or whether values are floats
  std::vector<int32_t> values{};  // points and landmarks, read only
  size_t results = 0;             // 32-bit values written elsewhere than into images
  std::function<uint32_t(Scene&)> run{};
};

// Every operation with every pair of formats that it takes.
std::vector<Variant> variants(Operation operation);
std::vector<Variant> all_variants();

// A call of the variant on images of about the given size; the rest is drawn.
Call make_call(Variant variant, int width, int height, Choice& choice);

// Everything that a call touches, in memory that nothing lies next to; sources are read-only.
class Scene {
 public:
  Scene(const Call& call, Flush flush, Choice& choice);
  ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  uint32_t run() { return code_ = call_.run(*this); }
  // Gives the outlines and their handle back.
  void release();
  // The code and every byte that the call may have written.
  std::vector<uint8_t> outcome() const;
  // Whether the bytes between the rows of the destinations are as they were.
  bool padding_is_intact();

  std::vector<QX_OFFSCREEN> src, dst;
  const int32_t* values = nullptr;
  int32_t* results = nullptr;
  MKGetOutline outlines{};
  void* handle = nullptr;
  std::string path;  // of a file that goes with the scene

 private:
  struct Rows {
    int step;
    int used;
  };
  void add_image(const ImageSpec& spec, std::vector<QX_OFFSCREEN>& images, Choice& choice);
  static void fill(Pages& plane, Rows rows, Choice& choice);
  static void for_each_padding(Pages& plane, Rows rows,
                               const std::function<void(std::span<uint8_t>)>& visit);

  Call call_;
  Flush flush_;
  uint32_t code_ = 0;
  size_t sources_ = 0;         // planes that are only read
  std::vector<Pages> planes_;  // sources, values, destinations, results
  std::vector<Rows> rows_;     // of the planes of images
};

}  // namespace robust
