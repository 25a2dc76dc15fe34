// Fuzz target of a family of operations: the input chooses a call and its images, then a field of a
// descriptor to break. Accesses outside the images hit unreadable pages and end the program.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <opencv2/core/utility.hpp>

#include "robust/scene.h"
#include "support/bad_arguments.h"

namespace {

using robust::Scene;

// Most bytes stand for themselves; after 0xFE comes a whole word, 0xFF is the largest. 0 when the
// input is used up.
struct Input {
  const uint8_t* data;
  const uint8_t* end;
  uint8_t take() { return data < end ? *data++ : uint8_t{0}; }
  uint32_t next() {
    const uint8_t byte = take();
    if (byte == 0xFF) return 0xFFFFFFFFu;
    if (byte != 0xFE) return byte;
    uint32_t word = 0;
    for (int i = 0; i < 4; ++i) word = word << 8 | take();
    return word;
  }
};

void require(bool holds, const Scene& scene, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s: %s\n", scene.name.c_str(), what);
  std::abort();
}

// Functions do not check fields that they do not use; a wrong pitch is not tried there.
void break_descriptor(Scene& scene) {
  QX_OFFSCREEN& image = scene.dst.empty() ? scene.src[0] : scene.dst[0];
  const std::string function = scene.variant.function->name;
  const bool lenient =
      function == "copy" || function == "get_mask_roi" || function == "outline_expansion";
  const auto& fields = test::kBrokenFields;
  const auto& [name, break_it] = fields[scene.choice.next() % fields.size()];
  const int32_t pitch = image.pitch[0];
  break_it(image);
  if (lenient && image.pitch[0] != pitch) return;
  scene.code = MVK_BAD_ARGUMENT;
  const std::vector<uint8_t> refused = scene.outcome();
  scene.run();
  require(lenient || scene.outcome() == refused, scene, name);
}

// Landmark files with any content.
void read_any_file(const Input& input, const Scene& scene) {
  std::ofstream(scene.path, std::ios::binary)
      .write(reinterpret_cast<const char*>(input.data), input.end - input.data);
  for (const int dims : {2, 3}) {
    std::vector<float> points(static_cast<size_t>(7 * dims));
    const char separator = scene.width > 9 ? ',' : ' ';
    mvk_read_landmarks(points.data(), 7, scene.path.c_str(), scene.height % 2, dims, separator);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  cv::setNumThreads(1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<robust::Variant> kVariants = robust::variants(MORVIK_FUZZ_FAMILY);
  Input input{data, data + size};
  robust::Choice choice{[&input] { return input.next(); }};
  const robust::Variant& variant = kVariants[choice.next() % kVariants.size()];
  const auto flush = static_cast<robust::Flush>(choice.pick(0, 1));
  // Small images, and judges for a share of them: more calls a second.
  const bool small = choice.pick(0, 15) != 0;
  const bool judged = choice.pick(0, 7) == 0;
  const int width = choice.pick(1, small ? 20 : 70);
  Scene scene(variant, width, choice.pick(1, small ? 12 : 30), flush, choice);
  if (!judged) scene.judge = [] { return true; };
  scene.run();
  require(scene.is_right(), scene, "wrong result");
  if (scene.src.size() + scene.dst.size() > 0) break_descriptor(scene);
  if (scene.variant.function->name == std::string("landmark files")) read_any_file(input, scene);
  return 0;
}
