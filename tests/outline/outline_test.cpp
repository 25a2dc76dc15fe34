// mvk_outline_expansion against the service done by hand, and properties that need no judge.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <map>
#include <opencv2/imgproc.hpp>
#include <string>

#include "outline/outline_by_hand.h"
#include "support/samples.h"
#include "support/test_image.h"

namespace {

using test::Outlines;
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
    const Outlines expected = test::outline_by_hand(image.descriptor(), mode);
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

cv::Mat mat(TestImage& image) { return {image.height(), image.width(), CV_8UC1, image.row(0)}; }

struct Drawing {
  const char* name;
  int width;
  int height;
  std::function<void(cv::Mat&)> draw;
};

void box(cv::Mat& image, int x, int y, int width, int height, int value = 255) {
  cv::rectangle(image, cv::Rect(x, y, width, height), cv::Scalar(value), cv::FILLED);
}

const std::vector<Drawing> kDrawings{
    {"nothing", 9, 5, [](cv::Mat&) {}},
    {"everything", 17, 12, [](cv::Mat& m) { m = 255; }},
    {"one pixel image", 1, 1, [](cv::Mat& m) { m = 255; }},
    {"two columns", 2, 30, [](cv::Mat& m) { box(m, 1, 7, 1, 9); }},
    {"two rows", 41, 2, [](cv::Mat& m) { box(m, 4, 0, 20, 1); }},
    {"speck", 30, 30, [](cv::Mat& m) { box(m, 14, 11, 1, 1); }},
    {"specks and a shape", 60, 50,
     [](cv::Mat& m) {
       box(m, 20, 20, 17, 11);
       for (int i = 0; i < 6; ++i) box(m, 3 + 9 * i, 5 + 7 * i % 40, 1, 1);
     }},
    {"line", 70, 40,
     [](cv::Mat& m) {
       cv::line(m, {9, 30}, {60, 12}, {255});
     }},
    {"ring", 80, 75,
     [](cv::Mat& m) {
       cv::circle(m, {40, 37}, 22, {255}, 9);
     }},
    {"island in a hole", 90, 90,
     [](cv::Mat& m) {
       for (int i = 0; i < 4; ++i)
         box(m, 15 + 7 * i, 16 + 7 * i, 60 - 14 * i, 58 - 14 * i, 255 - 255 * (i % 2));
     }},
    {"largest first", 100, 80,
     [](cv::Mat& m) { box(m, 10, 55, 10, 9), box(m, 40, 35, 15, 12), box(m, 60, 5, 30, 20); }},
    {"largest in the middle", 100, 80,
     [](cv::Mat& m) { box(m, 10, 55, 10, 9), box(m, 40, 30, 35, 17), box(m, 70, 5, 20, 15); }},
    {"largest last", 100, 80,
     [](cv::Mat& m) { box(m, 10, 50, 40, 25), box(m, 40, 35, 15, 9), box(m, 70, 5, 20, 15); }},
    {"equal areas", 77, 60,
     [](cv::Mat& m) { box(m, 8, 9, 12, 12), box(m, 40, 10, 12, 12), box(m, 20, 35, 12, 12); }},
    {"at every border", 64, 48,
     [](cv::Mat& m) { box(m, 0, 20, 64, 8), box(m, 30, 0, 3, 48), box(m, 62, 1, 1, 3); }},
    {"crescent", 90, 80,
     [](cv::Mat& m) {
       cv::circle(m, {45, 40}, 25, {255}, -1), cv::circle(m, {56, 40}, 20, {0}, -1);
     }},
    {"checkerboard", 17, 13,
     [](cv::Mat& m) {
       for (int i = 0; i < m.rows * m.cols; i += 2) m.data[i] = 255;
     }},
    {"noise", 33, 41, [](cv::Mat& m) { cv::RNG(7).fill(m, cv::RNG::UNIFORM, 0, 182); }},
    {"dense noise", 28, 50, [](cv::Mat& m) { cv::RNG(9).fill(m, cv::RNG::UNIFORM, 60, 255); }},
};

TestImage make(const Drawing& drawing) {
  TestImage image(QX_FMT_GRAY, drawing.width, drawing.height);
  cv::Mat pixels = mat(image);
  pixels = 0;
  drawing.draw(pixels);
  return image;
}

TEST_F(Outline, DirectedShapesWithEveryParameter) {
  const TPOINT center{31, 22};
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
  for (uint32_t i = 0; i < 9; ++i) {
    expect_as_by_hand(test::sample_mask("collins_mask_256x256.png"), mode_of(i, 500, 1), "wide");
  }
}

// Y planes of odd size; the chroma plane is out of bounds. Rows that overlap or go upwards are
// taken as they are described.
TEST_F(Outline, YPlaneByPitch) {
  for (const test::Shape shape : {test::Shape{61, 43}, {30, 57}, {1, 9}, {9, 1}}) {
    for (const int padding : {0, 5, -1, -7}) {
      const int pitch = shape.width + padding;
      if (pitch < 0) continue;
      TestImage gray(QX_FMT_GRAY, shape.width, shape.height);
      std::vector<uint8_t> plane(static_cast<size_t>(pitch * (shape.height - 1) + shape.width));
      test::Random random(5);
      for (uint8_t& byte : plane) byte = static_cast<uint8_t>(random.range(80, 170));
      const auto row = [&](int y) { return plane.data() + static_cast<ptrdiff_t>(y) * pitch; };
      QX_OFFSCREEN frame{QX_FMT_NV21, shape.width, shape.height, {row(0)}, {pitch}};
      for (const bool upwards : {false, true}) {
        if (upwards) frame.plane[0] = row(shape.height - 1), frame.pitch[0] = -pitch;
        for (int y = 0; y < shape.height; ++y) {
          std::copy_n(row(upwards ? shape.height - 1 - y : y), shape.width, gray.row(y));
        }
        const MKOutlineMode mode = mode_of(MK_OMODE_FILL_STROKE, 1, 0, MK_OCHAIN_ALL);
        EXPECT_EQ(expand(frame, mode), test::outline_by_hand(gray.descriptor(), mode)) << gray;
      }
    }
  }
}

// The pitch of a gray image is not used, whatever it is.
TEST_F(Outline, GrayRowsArePacked) {
  TestImage image = test::sample_mask("hopper_frame_mask_256x144.png");
  const Outlines expected = expand(image.descriptor(), mode_of(MK_OMODE_POLAR, 5));
  for (const int pitch : {300, 0, -1, INT_MIN}) {
    image.descriptor().pitch[0] = pitch;
    EXPECT_EQ(expand(image.descriptor(), mode_of(MK_OMODE_POLAR, 5)), expected);
  }
}

// Centres far away or on the shape throw points across the whole range of integers.
TEST_F(Outline, FarCentres) {
  const TestImage mask = test::sample_mask("collins_mask_256x256.png");
  for (const TPOINT center :
       {TPOINT{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MAX, 50}, {128, 128}, {-100000, 2000}}) {
    for (const uint32_t i : {MK_OMODE_POLAR_CENTER, MK_OMODE_VECTOR_CENTER}) {
      MKOutlineMode mode = mode_of(i, 500, 3);
      mode.center = &center;
      for (const auto& outline : expand(mask.descriptor(), mode)) {
        for (const int32_t value : outline) ASSERT_TRUE(value >= 0 && value < 256);
      }
      EXPECT_EQ(code_, MVK_OK);
    }
  }
}

TEST_F(Outline, StrokeContainsTheShape) {
  for (const Drawing& drawing : kDrawings) {
    if (drawing.width < 9 || drawing.height < 5) continue;  // all of it is border
    TestImage image = make(drawing);
    const Outlines outlines = expand(image.descriptor(), mode_of(MK_OMODE_STROKE, 4));
    std::vector<std::vector<cv::Point>> contours;
    for (const auto& o : outlines) {
      contours.emplace_back();
      for (size_t k = 0; k < o.size(); k += 2) contours.back().emplace_back(o[k], o[k + 1]);
    }
    cv::Mat painted = cv::Mat::zeros(image.height(), image.width(), CV_8UC1);
    if (!contours.empty()) cv::drawContours(painted, contours, -1, {255}, -1);
    EXPECT_EQ(cv::countNonZero((mat(image) > 127) & (painted == 0)), 0) << drawing.name;
  }
}

TEST_F(Outline, MovesWithTheShape) {
  for (uint32_t i = 0; i < 9; ++i) {
    std::vector<Outlines> found;
    for (const cv::Point shift : {cv::Point(0, 0), cv::Point(13, 21)}) {
      TestImage image(QX_FMT_GRAY, 200, 180);
      image.fill(0);
      cv::Mat pixels = mat(image);
      // Symmetric, so that the centroid is a whole number in both places.
      cv::circle(pixels, cv::Point(80, 70) + shift, 30, {255}, 6);
      found.push_back(expand(image.descriptor(), mode_of(i, 9, i % 4)));
      for (auto& outline : found.back()) {
        for (size_t k = 0; k < outline.size(); ++k) outline[k] -= k % 2 == 0 ? shift.x : shift.y;
      }
    }
    EXPECT_FALSE(found[0].empty());
    EXPECT_EQ(found[0], found[1]) << "mode " << i;
  }
}

TEST_F(Outline, CircleGrowsByTheExpansion) {
  TestImage image(QX_FMT_GRAY, 300, 300);
  image.fill(0);
  cv::Mat pixels = mat(image);
  cv::circle(pixels, {150, 150}, 50, {255}, -1);
  for (const uint32_t mode : {MK_OMODE_STROKE, MK_OMODE_HULL_FILL_STROKE, MK_OMODE_POLAR}) {
    const Outlines outlines = expand(image.descriptor(), mode_of(mode, 10, 0, MK_OCHAIN_ALL));
    ASSERT_FALSE(outlines.empty());
    for (size_t k = 0; k < outlines[0].size(); k += 2) {
      EXPECT_NEAR(std::hypot(outlines[0][k] - 150, outlines[0][k + 1] - 150), 60, 2);
    }
  }
  // The far sides move 9 pixels (41 * 20 / 41 / 2, truncated), the near ones stay.
  image.fill(0);
  box(pixels, 80, 80, 41, 41);
  EXPECT_EQ(expand(image.descriptor(), mode_of(MK_OMODE_VECTOR, 10)),
            (Outlines{{129, 80, 129, 129, 80, 129, 80, 80}}));
}

}  // namespace
