// One description of what each exported function may be given and what it must do with it, drawn
// from a stream of choices: the bounds, thread and memory tests, the digest program and the fuzz
// targets all run these scenes.
#pragma once

#include <deque>
#include <functional>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

#include "morvik/morvik.h"
#include "robust/plane.h"

namespace robust {

// Numbers to decide with: pseudo-random ones in tests, the input's bytes under a fuzzer.
struct Choice {
  std::function<uint32_t()> next;
  int pick(int low, int high) {  // both ends included
    return low + static_cast<int>(next() % static_cast<uint32_t>(high - low + 1));
  }
};
Choice random_choice(uint64_t seed);

class Scene;
struct Function {
  const char* family;
  const char* name;
  std::vector<uint32_t> formats;
  void (*set)(Scene& scene);  // adds images, values, call and judge
  bool converts = false;      // from one format to another
};
struct Variant {
  const Function* function;
  uint32_t to;
  uint32_t from;
};
// The functions of a family, or all of them, with every pair of formats that they take.
std::vector<Variant> variants(const std::string& family = "");

// A call on images of about the given size, with everything that it touches, in memory that is no
// larger than the call may touch and next to unreadable pages; sources are read-only.
class Scene {
 public:
  Scene(const Variant& variant, int width, int height, Flush flush, Choice& choice);
  ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  void run() { code = call(); }
  // Releases the outlines and their handle.
  void release();
  // The code and every byte that the call may have written.
  std::vector<uint8_t> outcome() const;
  // Whether the code, the padding and, where there is a judge, the result are right.
  bool is_right() const;
  bool is_refused() const { return outcome() == refused_; }
  // The function, the images and every argument, for messages.
  std::string description() const;

  // For the functions that set a scene. Packed: rows without padding, whatever the pitch says.
  void add(std::vector<QX_OFFSCREEN>& images, uint32_t format, int w, int h, bool packed);
  void add_pair(bool packed);  // a source and a destination of the scene's size
  void set_values(const std::vector<int32_t>& numbers);
  void set_results(size_t count);
  // Adds an argument to the description.
  void note(const std::string& what, int64_t value);
  // An argument of which the function takes `low` to `high`; sometimes one that it must refuse.
  int argument(int low, int high);

  const Variant variant;
  const int width;
  const int height;
  const std::string name;
  Choice& choice;    // used while the scene is set
  std::string path;  // of a file that goes with the scene
  std::vector<QX_OFFSCREEN> src, dst;
  const int32_t* values = nullptr;  // points and landmarks
  int32_t* results = nullptr;       // what is written elsewhere than into images
  MKGetOutline outlines{};
  void* handle = nullptr;
  uint32_t code = MVK_BAD_ARGUMENT;
  std::function<uint32_t()> call;
  std::function<bool()> judge;

 private:
  void paint(cv::Mat pixels, Plane& plane);
  bool padding_is_intact() const;

  const Flush flush_;
  std::string notes_;
  bool hostile_ = false;
  std::deque<Plane> planes_;
  std::vector<uint8_t> refused_;  // the outcome of a refusal
};

}  // namespace robust
