// mvk_make_mask_smooth against its pipeline as written, and the steps of the edge refinement.
#include "core/resample/enlarge.h"
#include "core/resize.h"
#include "mask/make_edge_add.h"
#include "mask/masks.h"
#include "support/judged_by_opencv.h"
#include "support/samples.h"

namespace {

using kel::mask::Guide;
using test::Kind;
using test::TestImage;

void expect_smooth_mask(TestImage mask, TestImage guide, uint32_t mode, uint32_t limit) {
  const cv::Mat expected = as_written::smooth_mask(as_written::block(mask), guide, mode, limit);
  mask.descriptor().pitch[0] += 3;  // rows are packed all the same
  guide.descriptor().pitch[0] += 5;
  const auto call = [&](const QX_OFFSCREEN* dst) {
    return mvk_make_mask_smooth(dst, mask.get(), guide.get(), mode, limit);
  };
  if (!expected.empty()) {
    return test::expect_result(expected, "limit " + std::to_string(limit), call);
  }
  const TestImage dst(QX_FMT_GRAY, guide.width(), guide.height());
  const TestImage before = dst.clone();
  EXPECT_EQ(call(dst.get()), MVK_BAD_ARGUMENT);
  EXPECT_TRUE(dst == before);
}

void expect_smooth_masks(const TestImage& mask, const cv::Mat& photo, cv::Size size) {
  const TestImage guide(QX_FMT_RGB24, size.width, size.height);
  cv::Mat scaled(size, CV_8UC3, guide.descriptor().plane[0]);
  cv::resize(photo, scaled, size);
  const auto side = static_cast<uint32_t>(std::max(size.width, size.height));
  for (const uint32_t limit : {100U, 128U, 300U, 511U, side - 1, side, UINT32_MAX}) {
    for (const uint32_t mode : {0U, 1U, 2U}) {
      expect_smooth_mask(mask.clone(), guide.clone(), mode, limit);
    }
  }
}

class MaskSmooth : public test::JudgedByOpenCv {};
class EdgeRefinement : public test::JudgedByOpenCv {};

// Bytes, and what is above a level, as bits that are enlarged in turn.
void expect_enlarged(const cv::Mat& src, cv::Size size) {
  constexpr uint8_t kLevel = 90;
  const cv::Mat expected = as_written::scaled(src, size);
  const cv::Mat above = src > kLevel;
  const cv::Mat expected_bits = as_written::scaled(above, size);
  test::on_every_target([&] {
    cv::Mat got(size, CV_8UC1);
    kel::imgproc::resize_plane(got, src, kel::imageprocess::InterpolationMethod::kLinear);
    ASSERT_EQ(cv::norm(got, expected), 0.0) << src.size() << " to " << size;
    kel::imgproc::enlarged_above(src, size, kLevel).write(got);
    ASSERT_EQ(cv::norm(got, expected > kLevel), 0.0) << src.size() << " to " << size;
    kel::imgproc::enlarge(got, kel::BitMask(src, kLevel));
    ASSERT_EQ(cv::norm(got, expected_bits), 0.0) << src.size() << " to " << size;
  });
}

TEST_F(MaskSmooth, Enlargement) {
  test::Random random(1);
  for (const auto& [width, height] : test::kShapes) {
    for (const Kind kind : test::kKinds) {
      const cv::Mat src = as_written::block(test::make_mask(kind, width, height, random.next()));
      const cv::Mat flat = as_written::scaled(src, {7 * width, 9 * height});
      for (const cv::Mat& from : {src, flat}) {
        expect_enlarged(from, {random.range(1, 600), random.range(1, 600)});
      }
    }
  }
}

// Steps between flat areas of any gray, at scales whose weights do not all add up to 2048.
TEST_F(MaskSmooth, EnlargementOfBlocks) {
  test::Random random(2);
  for (int i = 0; i < 200; ++i) {
    cv::Mat src(random.range(1, 90), random.range(16, 300), CV_8UC1, cv::Scalar(255));
    for (int k = 0; k < 4; ++k) {
      const cv::Rect area(random.range(-50, src.cols), random.range(-50, src.rows),
                          random.range(1, src.cols), random.range(1, src.rows));
      cv::rectangle(src, area, cv::Scalar(random.range(-1, 1) * 255 + random.range(0, 255)), -1);
    }
    expect_enlarged(src, {random.range(src.cols, 5000), random.range(src.rows, 500)});
  }
}

// The coarse mask may lie where the result goes.
TEST_F(MaskSmooth, InPlace) {
  const TestImage guide(QX_FMT_RGB24, 400, 300, 0, 0, 5);
  for (const Kind kind : {Kind::Soft, Kind::Rings, Kind::Noise}) {
    const TestImage mask = test::make_mask(kind, 150, 140);
    for (const uint32_t limit : {300U, 1000U}) {
      const cv::Mat expected = as_written::smooth_mask(as_written::block(mask), guide, 1, limit);
      TestImage dst(QX_FMT_GRAY, 400, 300);
      QX_OFFSCREEN coarse = mask.descriptor();
      coarse.plane[0] = dst.row(0) + 7000;
      std::copy_n(mask.row(0), 150 * 140, coarse.plane[0]);
      ASSERT_EQ(mvk_make_mask_smooth(dst.get(), &coarse, guide.get(), 1, limit), MVK_OK);
      ASSERT_EQ(cv::norm(as_written::block(dst), expected), 0.0) << mask << " limit " << limit;
    }
  }
}

// Wide enough for several bands, whose rows meet without a seam.
TEST_F(MaskSmooth, BandsAtFullSize) {
  const TestImage guide(QX_FMT_RGB24, 700, 901, 0, 0, 6);
  for (const Kind kind : test::kKinds) {
    const TestImage mask = test::make_mask(kind, 60, 70, 9);
    const cv::Mat expected = as_written::smooth_mask(as_written::block(mask), guide, 0, 1000);
    test::on_every_target([&] {
      test::expect_result(expected, "bands", [&](const QX_OFFSCREEN* dst) {
        return mvk_make_mask_smooth(dst, mask.get(), guide.get(), 0, 1000);
      });
    });
  }
}

TEST_F(MaskSmooth, Samples) {
  for (const std::string name : {"collins", "collins_tilted", "hopper"}) {
    const TestImage mask = test::sample_mask(name + "_mask_256x256.png");
    const cv::Mat photo = as_written::block(test::sample_photo(name + ".jpg"));
    expect_smooth_masks(mask, photo, photo.size());
    expect_smooth_masks(mask, photo, {1920, 1080});
  }
}

// Radii of half a width and less; the guide is in blocks of three columns, which are clear edges.
TEST_F(EdgeRefinement, AsTheSlowTranscription) {
  for (const auto& [width, height] : test::kShapes) {
    TestImage guide(QX_FMT_RGB24, width, height);
    for (int i = 0; i < 3 * width * height; i += 18) {
      std::fill_n(guide.row(0) + i, std::min(9, 3 * width * height - i), uint8_t{0});
    }
    const cv::Mat colours = as_written::block(guide);
    for (const Kind kind : test::kKinds) {
      for (const uint32_t radius : {4U, 5U, 8U, 12U, 16U, 31U}) {
        const TestImage mask = test::make_mask(kind, width, height, 3);
        cv::Mat expected = as_written::block(mask) > 90;
        cv::Mat got = expected.clone();
        as_written::snap_edges(expected, static_cast<int>(radius), colours);
        const uint32_t code = cv::countNonZero(got) == 0 ? MVK_BAD_ARGUMENT : MVK_OK;
        const kel::BitMask shapes(got, 254);
        EXPECT_EQ(kel::mask::make_edge_add(got, shapes, radius, Guide(colours)), code);
        ASSERT_EQ(cv::norm(got, expected), 0.0) << mask << " radius " << radius;
      }
    }
  }
}

// Windows of photographs that are enlarged, reduced, halved, left as they are, and very narrow.
TEST_F(EdgeRefinement, GuideIsTheScaledPhotograph) {
  test::Random random(3);
  for (int i = 0; i < 300; ++i) {
    const TestImage photo(QX_FMT_RGB24, random.range(1, i % 3 == 0 ? 9 : 400), random.range(1, 60),
                          0, 0, random.next());
    cv::Size size(random.range(1, 300), random.range(1, 80));
    if (i % 10 == 1) size = {photo.width(), photo.height()};
    if (i % 10 == 2) size = {(photo.width() + 1) / 2, (photo.height() + 1) / 2};
    const cv::Mat colours = as_written::block(photo);
    const cv::Mat scaled = as_written::scaled(colours, size);
    const int x = random.range(0, size.width - 1);
    const int y = random.range(0, size.height - 1);
    const int count = random.range(1, size.width - x + 1);
    std::vector<int16_t> expected;
    for (int k = 0; k < count; ++k) {
      const int at = y * size.width + x + k;
      const bool is_there = at < size.area();
      const cv::Vec3b c = is_there ? scaled.ptr<cv::Vec3b>()[at] : cv::Vec3b(0, 0, 0);
      expected.push_back(static_cast<int16_t>(
          std::sqrt(static_cast<double>(c[0] * c[0] + c[1] * c[1] + c[2] * c[2]))));
    }
    test::on_every_target([&] {
      std::vector<int16_t> got(expected.size() + Guide::kSlack);
      Guide(colours, size).brightness(got.data(), x, y, count);
      got.resize(expected.size());
      ASSERT_EQ(got, expected) << photo << " to " << size;
    });
  }
}

TEST_F(EdgeRefinement, UnusableSizesLeaveTheMask) {
  for (const auto& [columns, radius] : {std::pair{5, 12U}, {6, 3U}, {6, 32U}}) {
    cv::Mat mask(4, 6, CV_8UC1, cv::Scalar(7));
    const kel::BitMask shapes(mask, 6);
    const cv::Mat colours(4, columns, CV_8UC3);
    EXPECT_EQ(kel::mask::make_edge_add(mask, shapes, radius, Guide(colours)), 7U);
    EXPECT_EQ(cv::sum(mask)[0], 7.0 * 24);
  }
}

}  // namespace
