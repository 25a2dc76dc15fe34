// mvk_outline_expansion against plain OpenCV calls; its result codes, their order, and what a call
// leaves in the record.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <utility>

#include "outline/closed_length.h"
#include "outline/smoothing.h"
#include "reference/judge.h"
#include "reference/outline.h"
#include "support/samples.h"

namespace {

using as_written::Outlines;
using test::TestImage;

// Every parameter at its limit; random images have pixels above 253.
const MKOutlineMode kGood{MK_OMODE_VECTOR_CENTER, 2, 500, MK_OSMOOTH_5, 7, nullptr, 253};

// One handle and one record for all calls of a test: every call releases what the previous one
// left.
class Outline : public testing::Test {
 protected:
  ~Outline() override { mvk_outline_destroy(handle_, &record_); }

  Outlines expand(const QX_OFFSCREEN& image, const MKOutlineMode& mode) {
    const uint32_t code = mvk_outline_expansion(handle_, &image, &mode, &record_);
    EXPECT_EQ(code, record_.contour_count == 0 ? MVK_NOT_FOUND : MVK_OK);
    Outlines outlines;
    for (uint32_t i = 0; i < record_.contour_count; ++i) {
      const int32_t* values = record_.points[i];
      outlines.emplace_back(values, values + size_t{2} * record_.point_counts[i]);
    }
    return outlines;
  }

  // With random parameters. The pitch of a gray image is not used, nor the chroma of a frame; rows
  // of a Y plane may overlap or go upwards.
  void expect_as_by_hand(TestImage image, TPOINT center) {
    MKOutlineMode mode{};
    mode.mode = random_.next() % 9;
    mode.chain_approx = 1 + random_.next() % 2;
    const uint32_t limit = std::array{1U, 2U, 41U, 501U}[random_.next() % 4];
    mode.expand_size = static_cast<uint16_t>(random_.next() % limit);
    mode.smooth_level = static_cast<MKOSmoothLevel>(random_.next() % 6);
    mode.approx_poly = random_.next() % 2;
    mode.center = random_.next() % 4 != 0 ? &center : nullptr;
    mode.threshold = static_cast<uint8_t>(random_.next() % 254);

    const int width = image.width();
    const int steps[] = {width, width + 5, width - 7, -width - 3};
    const int step = steps[random_.range(0, 3)];
    TestImage memory(QX_FMT_GRAY, std::abs(step) * (image.height() - 1) + width, 1);
    uint8_t* first = memory.row(0) + (step < 0 ? memory.width() - width : 0);
    for (int y = 0; y < image.height(); ++y) std::copy_n(image.row(y), width, first + y * step);
    for (int y = 0; y < image.height(); ++y) std::copy_n(first + y * step, width, image.row(y));
    const QX_OFFSCREEN frame{QX_FMT_NV21, width, image.height(), {first}, {step}};
    QX_OFFSCREEN gray = image;
    gray.pitch[0] = static_cast<int32_t>(random_.next());

    const Outlines expected = as_written::outlines(image, mode);
    EXPECT_EQ(expand(gray, mode), expected) << image << " mode " << mode.mode;
    EXPECT_EQ(expand(frame, mode), expected) << image << " mode " << mode.mode << " step " << step;
  }

  // The call is made with a filled record. Null records are checked first: then nothing is touched.
  void expect_emptied(uint32_t code, const QX_OFFSCREEN* image, const MKOutlineMode* mode) {
    ASSERT_EQ(mvk_outline_expansion(handle_, good_image_.get(), &kGood, &record_), MVK_OK);
    EXPECT_EQ(mvk_outline_expansion(nullptr, image, mode, &record_), MVK_NULL_RECORD);
    EXPECT_NE(record_.contour_count, 0U);
    EXPECT_EQ(mvk_outline_expansion(handle_, image, mode, nullptr), MVK_NULL_RECORD);
    EXPECT_EQ(mvk_outline_expansion(handle_, image, mode, &record_), code);
    EXPECT_EQ(record_.contour_count, 0U);
    EXPECT_TRUE(record_.point_counts == nullptr && record_.points == nullptr);
  }

  test::Random random_{7};
  TestImage good_image_{QX_FMT_GRAY, 40, 40};
  void* handle_ = mvk_outline_create();
  MKGetOutline record_{};
};

// Boxes inside each other, overlapping or of equal size, each inverting the pixels it covers:
// specks, rings, islands in holes, shapes at borders.
TEST_F(Outline, AsByHandOnBoxes) {
  if (!as_written::kOpenCvIsJudge) GTEST_SKIP() << as_written::kOtherJudge;
  for (int round = 0; round < 12000 && !HasFailure(); ++round) {
    TestImage image(QX_FMT_GRAY, random_.range(1, 12 + round % 140), random_.range(1, 150));
    image.fill(0);
    const cv::Rect whole(0, 0, image.width(), image.height());
    const cv::Mat pixels(whole.size(), CV_8UC1, image.row(0));
    cv::Rect box = whole;
    for (int i = random_.range(0, 2 + round % 12); i > 0; --i) {
      const cv::Point inset(random_.range(0, 9), random_.range(0, 9));
      const cv::Point place(random_.range(0, whole.width - 1), random_.range(0, whole.height - 1));
      const cv::Size size(random_.range(1, whole.width), random_.range(1, whole.height));
      const cv::Rect kinds[] = {
          {box.tl() + inset, box.br() - inset}, {place, box.size()}, {place, size}};
      box = kinds[random_.range(0, 2)] & whole;
      if (box.empty()) continue;
      cv::Mat part = pixels(box);
      part ^= cv::Scalar(random_.range(0, 3) == 0 ? random_.range(0, 255) : 255);
    }
    // On the row of the top edge of the box, where distances are whole numbers.
    const int reach = round % 20 == 0 ? 20000 : 40;
    expect_as_by_hand(std::move(image), {box.x + random_.range(-reach, reach), box.y});
  }
}

TEST_F(Outline, AsByHandOnMasksOfPeople) {
  if (!as_written::kOpenCvIsJudge) GTEST_SKIP() << as_written::kOtherJudge;
  for (const char* name : {"collins_mask_256x256.png", "hopper_frame_mask_256x144.png",
                           "photographer_mask_256x256.png"}) {
    const TestImage mask = test::sample_mask(name);
    for (int round = 0; round < 60; ++round) expect_as_by_hand(mask.clone(), {128, 100});
  }
}

// The outline of a comb is so long that cv::blur refuses the window.
TEST_F(Outline, AsByHandWhereNothingCanBeSmoothed) {
  TestImage comb(QX_FMT_GRAY, 1500, 1000);
  for (int i = 0; i < 1500 * 1000; ++i) comb.row(0)[i] = i < 1500 || i % 2 == 0 ? 255 : 0;
  const MKOutlineMode mode{MK_OMODE_STROKE, 2, 0, MK_OSMOOTH_5, 0, nullptr, 127};
  EXPECT_TRUE(expand(comb, mode) == as_written::outlines(comb, mode));
}

// Far coordinates and wide windows: the sums have more digits than single precision holds, or wrap.
TEST_F(Outline, MovingMeanIsThatOfABlur) {
  for (int round = 0; round < 2000 && !HasFailure(); ++round) {
    kel::Contour contour(static_cast<size_t>(random_.range(1, round % 50 == 0 ? 30000 : 500)));
    const int reach = 1 << random_.range(1, 20);
    for (cv::Point& point : contour) point = {random_.range(0, reach), random_.range(0, reach)};
    const int window = random_.range(1, round % 50 == 0 ? 10000 : 100) | 1;
    kel::Contour expected;
    cv::blur(contour, expected, cv::Size(window, 1), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
    EXPECT_TRUE(outline::moving_mean(contour, window) == expected)
        << contour.size() << " points within " << reach << ", window " << window;
  }
}

TEST_F(Outline, ClosedLengthIsOpenCvs) {
  if (!as_written::kOpenCvIsJudge) GTEST_SKIP() << as_written::kOtherJudge;
  for (int round = 0; round < 2000; ++round) {
    kel::Contour contour(static_cast<size_t>(random_.range(1, 300)));
    const int reach = 1 << random_.range(1, 30);
    for (cv::Point& point : contour)
      point = {random_.range(-reach, reach), random_.range(0, reach)};
    ASSERT_EQ(outline::closed_length(contour), cv::arcLength(contour, true)) << "reach " << reach;
  }
}

TEST_F(Outline, RefusedCallsEmptyTheRecord) {
  MKOutlineMode mode = kGood;
  QX_OFFSCREEN image = good_image_;
  const auto expect_refused = [&](const char* name, auto& field, auto value) {
    SCOPED_TRACE(name);
    const auto good = std::exchange(field, value);
    expect_emptied(MVK_BAD_ARGUMENT, &image, &mode);
    field = good;
  };
  expect_refused("mode", mode.mode, 9U);
  expect_refused("chain 0", mode.chain_approx, 0U);
  expect_refused("chain 3", mode.chain_approx, 3U);
  expect_refused("expand", mode.expand_size, uint16_t{501});
  expect_refused("smooth", mode.smooth_level, MKOSmoothLevel{6});
  expect_refused("threshold", mode.threshold, uint8_t{254});
  expect_refused("null plane", image.plane[0], nullptr);
  expect_refused("width 0", image.width, 0);
  expect_refused("height negative", image.height, -40);
  for (const uint32_t format : {0U, QX_FMT_NV12, QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_ABGR}) {
    expect_refused(test::format_name(format), image.format, format);
  }
  expect_emptied(MVK_BAD_ARGUMENT, nullptr, &kGood);
  expect_emptied(MVK_NULL_RECORD, nullptr, nullptr);
  TestImage ground(QX_FMT_GRAY, 40, 40);
  ground.fill(253);
  expect_emptied(MVK_NOT_FOUND, ground.get(), &kGood);
}

// The pointers of a record with count 0 are ignored; with any other count, null is skipped.
TEST_F(Outline, PointersOfRecordsAsTheyCome) {
  uint32_t some = 0;
  int32_t* others = nullptr;
  MKGetOutline record{0, &some, &others};
  EXPECT_EQ(mvk_outline_expansion(handle_, good_image_.get(), nullptr, &record), MVK_NULL_RECORD);
  EXPECT_EQ(record.point_counts, &some);
  EXPECT_EQ(record.points, &others);
  EXPECT_EQ(mvk_outline_expansion(handle_, good_image_.get(), &kGood, &record), MVK_OK);
  mvk_outline_destroy(nullptr, &record);
  record = {3, nullptr, nullptr};
  EXPECT_EQ(mvk_outline_expansion(handle_, good_image_.get(), &kGood, &record), MVK_OK);
  const MKGetOutline before = record;
  mvk_outline_destroy(nullptr, &record);
  EXPECT_EQ(record.contour_count, before.contour_count);
  EXPECT_EQ(record.points, before.points);
  mvk_outline_destroy(mvk_outline_create(), nullptr);
  mvk_outline_destroy(nullptr, nullptr);
}

}  // namespace
