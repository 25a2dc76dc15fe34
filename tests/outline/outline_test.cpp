// mvk_outline_expansion against the service done by hand, and properties that need no judge.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "reference/outline.h"
#include "support/samples.h"
#include "support/test_image.h"

namespace {

using as_written::Outlines;
using test::TestImage;

// One handle and one record for all calls of a test: every call releases what the last one left.
class Outline : public testing::Test {
 protected:
  ~Outline() override { mvk_outline_destroy(handle_, &record_); }

  Outlines expand(const QX_OFFSCREEN& image, const MKOutlineMode& mode) {
    code_ = mvk_outline_expansion(handle_, &image, &mode, &record_);
    Outlines outlines;
    for (uint32_t i = 0; i < record_.contour_count; ++i) {
      const int32_t* values = record_.points[i];
      outlines.emplace_back(values, values + size_t{2} * record_.point_counts[i]);
    }
    return outlines;
  }

  void expect_as_by_hand(const TestImage& image, const MKOutlineMode& mode, const char* name) {
    const TestImage before = image.clone();
    const Outlines expected = as_written::outlines(image, mode);
    ASSERT_EQ(expand(image.descriptor(), mode), expected)
        << name << ' ' << image << " mode " << mode.mode << " chain " << mode.chain_approx
        << " expand " << mode.expand_size << " smooth " << mode.smooth_level << " approx "
        << mode.approx_poly << " centre " << (mode.center != nullptr);
    ASSERT_EQ(code_, expected.empty() ? MVK_NOT_FOUND : MVK_OK) << name;
    ASSERT_TRUE(image == before) << name << " was written";
  }

  void* handle_ = mvk_outline_create();
  MKGetOutline record_{};
  uint32_t code_ = 0;
};

MKOutlineMode mode_of(uint32_t mode, uint16_t expand_size, uint32_t smooth_level = 0,
                      uint32_t chain_approx = MK_OCHAIN_SIMPLE) {
  return {mode, chain_approx, expand_size, MKOSmoothLevel{smooth_level}, 0, nullptr, 127};
}

// Boxes drawn one over the other: each turns what it covers from shape to ground and back. Of the
// result `percent` of the pixels stay.
struct Drawing {
  const char* name;
  int width;
  int height;
  std::vector<cv::Rect> boxes;
  int percent = 100;
};

const std::vector<Drawing> kDrawings{
    {"nothing", 9, 5, {}},
    {"everything", 17, 12, {{0, 0, 17, 12}}},
    {"one pixel image", 1, 1, {{0, 0, 1, 1}}},
    {"two columns", 2, 30, {{1, 7, 1, 9}}},
    {"two rows", 41, 2, {{4, 0, 20, 1}}},
    {"specks", 60, 50, {{20, 20, 17, 11}, {3, 5, 1, 1}, {12, 40, 1, 1}, {50, 9, 1, 1}}},
    {"line", 70, 40, {{9, 18, 50, 1}}},
    {"ring", 80, 75, {{15, 13, 50, 48}, {24, 22, 32, 31}}},
    {"islands in holes",
     90,
     90,
     {{15, 16, 60, 58}, {22, 23, 46, 44}, {29, 30, 32, 30}, {36, 37, 18, 16}, {42, 42, 3, 3}}},
    {"largest first", 100, 80, {{10, 55, 10, 9}, {40, 35, 15, 12}, {60, 5, 30, 20}}},
    {"largest in the middle", 100, 80, {{10, 55, 10, 9}, {40, 30, 35, 17}, {70, 5, 20, 15}}},
    {"largest last", 100, 80, {{10, 50, 40, 25}, {40, 35, 15, 9}, {70, 5, 20, 15}}},
    {"equal areas", 77, 60, {{8, 9, 12, 12}, {40, 10, 12, 12}, {20, 35, 12, 12}, {3, 54, 4, 4}}},
    {"at every border", 64, 48, {{0, 20, 64, 8}, {30, 0, 3, 48}, {62, 1, 1, 3}}},
    // 39 * ((39 + 11) / 39) is less than 50: the notches, nearest to the centroid, show it.
    {"notches",
     140,
     140,
     {{22, 22, 91, 91}, {67, 22, 1, 6}, {67, 107, 1, 6}, {22, 67, 6, 1}, {107, 67, 6, 1}}},
    {"crescent", 90, 80, {{20, 15, 50, 50}, {35, 30, 35, 20}}},
    {"sparse noise", 33, 41, {{0, 0, 33, 41}}, 30},
    {"dense noise", 28, 50, {{0, 0, 28, 50}}, 75},
};

TestImage make(const Drawing& drawing) {
  TestImage image(QX_FMT_GRAY, drawing.width, drawing.height);
  image.fill(0);
  cv::Mat pixels(image.height(), image.width(), CV_8UC1, image.row(0));
  for (const cv::Rect& box : drawing.boxes) cv::bitwise_not(pixels(box), pixels(box));
  test::Random random(7);
  for (int i = 0; i < pixels.rows * pixels.cols; ++i) {
    if (random.range(0, 99) >= drawing.percent) pixels.data[i] = 0;
  }
  return image;
}

TEST_F(Outline, DirectedShapesWithEveryParameter) {
  const TPOINT center{40, 35};  // also a corner of some shapes
  for (const Drawing& drawing : kDrawings) {
    const TestImage image = make(drawing);
    for (uint32_t i = 0; i < 9 * 2 * 6 * 2 * 3; ++i) {
      MKOutlineMode mode = mode_of(i % 9, 0, i / 18 % 6, 1 + i / 9 % 2);
      mode.approx_poly = i / 108 % 2;
      mode.expand_size = std::array<uint16_t, 3>{0, 1, 11}[i / 216];
      expect_as_by_hand(image, mode, drawing.name);
      if (HasFatalFailure()) return;
      if (mode.mode != 5 && mode.mode != 8) continue;
      mode.center = &center;
      expect_as_by_hand(image, mode, drawing.name);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(Outline, SampleMasksAtEveryThreshold) {
  uint32_t turn = 0;
  for (const char* name : {"collins_mask_256x256.png", "hopper_frame_mask_256x144.png",
                           "photographer_mask_256x256.png"}) {
    const TestImage mask = test::sample_mask(name);
    for (const uint32_t threshold : {0u, 1u, 100u, 253u}) {
      for (uint32_t i = 0; i < 9; ++i, ++turn) {
        MKOutlineMode mode =
            mode_of(i, static_cast<uint16_t>(turn % 5 * turn % 31), turn % 6, 1 + turn % 2);
        mode.threshold = static_cast<uint8_t>(threshold);
        expect_as_by_hand(mask, mode, name);
      }
    }
  }
}

// Y planes of odd size; the chroma plane is null. Rows that overlap or go upwards are taken as they
// are described.
TEST_F(Outline, YPlaneByPitch) {
  for (const test::Shape shape : {test::Shape{61, 43}, {30, 57}, {8, 9}, {9, 1}}) {
    for (const int pitch : {shape.width, shape.width + 5, shape.width - 7}) {
      for (const bool upwards : {false, true}) {
        // A picture of one long row, exactly as long as the frame's memory.
        TestImage memory(QX_FMT_GRAY, pitch * (shape.height - 1) + shape.width, 1);
        const ptrdiff_t step = upwards ? -pitch : pitch;
        uint8_t* first = memory.row(0) + (upwards ? pitch * (shape.height - 1) : 0);
        TestImage gray(QX_FMT_GRAY, shape.width, shape.height);
        for (int y = 0; y < shape.height; ++y) {
          std::copy_n(first + y * step, shape.width, gray.row(y));
        }
        const QX_OFFSCREEN frame{
            QX_FMT_NV21, shape.width, shape.height, {first}, {static_cast<int>(step)}};
        const MKOutlineMode mode = mode_of(MK_OMODE_FILL_STROKE, 1, 0, MK_OCHAIN_ALL);
        EXPECT_EQ(expand(frame, mode), as_written::outlines(gray, mode)) << gray;
      }
    }
  }
}

// The pitch of a gray image is not used, whatever it is. A centre far away or on the shape throws
// points across the whole range of integers.
TEST_F(Outline, ValuesBeyondReason) {
  TestImage mask = test::sample_mask("collins_mask_256x256.png");
  for (const int value : {INT_MIN, INT_MAX, -100000, 128}) {
    const TPOINT center{value, value / 2};
    for (const uint32_t i : {MK_OMODE_POLAR_CENTER, MK_OMODE_VECTOR_CENTER}) {
      MKOutlineMode mode = mode_of(i, 500, 3);
      mode.center = &center;
      mask.descriptor().pitch[0] = 256;
      const Outlines outlines = expand(mask.descriptor(), mode);
      EXPECT_FALSE(outlines.empty());
      for (const auto& outline : outlines) {
        for (const int32_t coordinate : outline) ASSERT_EQ(coordinate & 255, coordinate);
      }
      mask.descriptor().pitch[0] = value;
      EXPECT_EQ(expand(mask.descriptor(), mode), outlines);
    }
  }
}

// A disc of radius 50 grows by 10 to one of 60, wherever it stands.
TEST_F(Outline, DiscGrowsAndMoves) {
  TestImage disc(QX_FMT_GRAY, 300, 300);
  for (uint32_t i = 0; i < 9; ++i) {
    std::array<Outlines, 2> found;
    for (const int shift : {0, 1}) {
      for (int k = 0; k < 300 * 300; ++k) {
        const int x = k % 300 - 150 - 13 * shift, y = k / 300 - 150 - 21 * shift;
        disc.row(0)[k] = x * x + y * y <= 2500 ? 255 : 0;
      }
      found[shift == 1] = expand(disc.descriptor(), mode_of(i, 10, i % 4, MK_OCHAIN_ALL));
    }
    ASSERT_EQ(found[0].size(), 1U) << i;
    ASSERT_EQ(found[0][0].size(), found[1][0].size()) << i;
    for (size_t k = 0; k < found[0][0].size(); k += 2) {
      const int x = found[0][0][k], y = found[0][0][k + 1];
      ASSERT_EQ(found[1][0][k] - x, 13) << i;
      ASSERT_EQ(found[1][0][k + 1] - y, 21) << i;
      ASSERT_NEAR(std::hypot(x - 150, y - 150), 60, i < MK_OMODE_VECTOR ? 2 : 15) << i;
    }
  }
}

// The far sides move by 20 / 41 of half the side, truncated; the near ones stay.
TEST_F(Outline, VectorGrowthIsOneSided) {
  const TestImage square = make({"square", 200, 200, {{80, 80, 41, 41}}});
  EXPECT_EQ(expand(square.descriptor(), mode_of(MK_OMODE_VECTOR, 10)),
            (Outlines{{129, 80, 129, 129, 80, 129, 80, 80}}));
}

}  // namespace
