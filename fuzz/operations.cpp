// Fuzz target of a family of operations: the input decides on a call and its images. Results are
// judged where that is cheap; accesses outside the images end the program at unreadable pages.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <opencv2/imgproc.hpp>

#include "core/mat_view.h"
#include "robust/scene.h"
#include "support/bad_arguments.h"

namespace {

using robust::Call, robust::Choice, robust::Flush, robust::Operation, robust::Scene;

// Most bytes stand for themselves; 0xFE brings a whole word, 0xFF the largest. 0 when used up.
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

void require(bool holds, const Call& call, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s: %s\n", call.name.c_str(), what);
  std::abort();
}

// Copies, turns and grays of one-plane images, a pixel at a time.
void judge_move(const Call& call, const QX_OFFSCREEN& src, const QX_OFFSCREEN& dst) {
  const int from_bytes = kel::imageprocess::bytes_per_pixel(src.format);
  const int to_bytes = kel::imageprocess::bytes_per_pixel(dst.format);
  const int from_row = src.width * from_bytes;
  const int to_row = dst.width * to_bytes;
  if (src.pitch[0] < from_row || dst.pitch[0] < to_row) return;  // rows that overlap
  const bool packed = call.sources[0].packed;
  const int w = src.width - 1;
  const int h = src.height - 1;
  for (int y = 0; y < dst.height; ++y) {
    for (int x = 0; x < dst.width; ++x) {
      const int a = call.number;
      const int from_x = a == 0 ? x : a == 90 ? y : a == 180 ? w - x : w - y;
      const int from_y = a == 0 ? y : a == 90 ? h - x : a == 180 ? h - y : x;
      const uint8_t* from =
          src.plane[0] + from_y * (packed ? from_row : src.pitch[0]) + from_x * from_bytes;
      const uint8_t* to = dst.plane[0] + y * (packed ? to_row : dst.pitch[0]) + x * to_bytes;
      const bool gray = to_bytes != from_bytes;
      require(!gray || *to == (from[0] + from[1] + from[2]) / 3, call, "wrong gray");
      require(gray || std::equal(to, to + to_bytes, from), call, "wrong pixel");
    }
  }
}

void judge_mask(const Call& call, Scene& scene) {
  const cv::Mat result = kel::packed_mat(scene.dst[0], CV_8UC1);
  cv::Mat expected = cv::Mat::zeros(result.size(), CV_8UC1);
  if (call.variant.operation == Operation::kMorph) {
    const int side = std::abs(call.number) + 1;
    if (side == 1) return;
    cv::morphologyEx(kel::packed_mat(scene.src[0], CV_8UC1), expected,
                     call.number > 0 ? cv::MORPH_DILATE : cv::MORPH_ERODE,
                     cv::getStructuringElement(cv::MORPH_ELLIPSE, {side, side}));
  } else if (!call.values.empty()) {
    const auto* points = reinterpret_cast<const cv::Point*>(call.values.data());
    const std::vector<std::vector<cv::Point>> contours{{points, points + call.values.size() / 2}};
    cv::drawContours(expected, contours, 0, 255, cv::FILLED, 0);
  }
  require(cv::norm(result, expected, cv::NORM_INF) == 0, call, "wrong mask");
}

void judge_outlines(const Call& call, const MKGetOutline& found, const QX_OFFSCREEN& image) {
  for (uint32_t i = 0; i < found.contour_count; ++i) {
    require(found.point_counts[i] > 0, call, "an outline without points");
    for (uint32_t k = 0; k < 2 * found.point_counts[i]; ++k) {
      const int32_t value = found.points[i][k];
      const int32_t side = k % 2 == 0 ? image.width : image.height;
      require(value >= 0 && value < side, call, "a point outside the image");
    }
  }
}

// Results may take the place of the landmarks.
void judge_forehead(const Call& call, const Scene& scene) {
  std::vector<int32_t> in_place = call.values;
  const auto count = static_cast<uint32_t>(in_place.size() / 2);
  mvk_guess_forehead_landmarks(in_place.data(), in_place.data(), count, call.width, call.height);
  require(std::equal(scene.results, scene.results + 22, in_place.data()), call, "not in place");
}

void judge(const Call& call, Scene& scene) {
  const auto [operation, to, from] = call.variant;
  const bool colour = from == QX_FMT_RGB24 || from == QX_FMT_ARGB;
  const bool gray = operation == Operation::kConvert && to == QX_FMT_GRAY && colour;
  const bool turned = call.number == 90 || call.number == 270;
  const bool moved = (operation == Operation::kCopy || operation == Operation::kRotate) &&
                     !kel::imageprocess::is_two_plane(from) &&
                     scene.dst[0].width == (turned ? call.height : call.width);
  if (gray || moved) judge_move(call, scene.src[0], scene.dst[0]);
  if (operation == Operation::kMorph || operation == Operation::kFill) judge_mask(call, scene);
  if (operation == Operation::kOutline) judge_outlines(call, scene.outlines, scene.src[0]);
  if (operation == Operation::kForehead) judge_forehead(call, scene);
}

// Some functions do not look at fields that they do not use: a pitch that lies is not tried there.
void break_descriptor(const Call& call, Scene& scene, Choice& choice) {
  std::vector<QX_OFFSCREEN>& images = scene.dst.empty() ? scene.src : scene.dst;
  if (images.empty()) return;
  const Operation operation = call.variant.operation;
  const bool lenient = operation == Operation::kCopy || operation == Operation::kBox ||
                       operation == Operation::kOutline;
  const int last = static_cast<int>(test::kBrokenFields.size()) - 1;
  const test::BrokenField& field = test::kBrokenFields[static_cast<size_t>(choice.pick(0, last))];
  const int32_t pitch = images[0].pitch[0];
  field.break_it(images[0]);
  if (lenient && images[0].pitch[0] != pitch) return;
  require(scene.run() == MVK_BAD_ARGUMENT || lenient, call, field.name);
}

// Landmark files of any content.
void read_any_file(const Input& input, const std::string& path, const Call& call) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(input.data), input.end - input.data);
  for (const int dims : {2, 3}) {
    robust::Pages points(static_cast<size_t>(7 * dims) * 4, Flush::kAtEnd);
    mvk_read_landmarks(points.data(), 7, path.c_str(), call.number, dims,
                       call.width > 9 ? ',' : ' ');
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  cv::setNumThreads(1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr Operation kFamily[] = {MORVIK_FUZZ_OPERATIONS};
  Input input{data, data + size};
  Choice choice{[&input] { return input.next(); }};
  const Operation operation = kFamily[choice.next() % std::size(kFamily)];
  const std::vector<robust::Variant> variants = robust::variants(operation);
  const robust::Variant variant = variants[choice.next() % variants.size()];
  const int width = choice.pick(1, 70);
  const int height = choice.pick(1, 30);
  const Flush flush = choice.pick(0, 1) == 0 ? Flush::kAtEnd : Flush::kAtStart;
  const Call call = robust::make_call(variant, width, height, choice);
  Scene scene(call, flush, choice);
  scene.run();
  require(scene.padding_is_intact(), call, "padding was written");
  judge(call, scene);
  break_descriptor(call, scene, choice);
  if (operation == Operation::kFiles) read_any_file(input, scene.path, call);
  return 0;
}
