// Scaling judged by cv::resize, where that is the version whose results the library gives; the
// vector kernels, everywhere, by their plain siblings.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>

#include "core/kernels/block_mean.h"
#include "core/kernels/resize_area.h"
#include "core/kernels/resize_cubic.h"
#include "core/kernels/resize_linear.h"
#include "core/kernels/resize_nearest.h"
#include "reference/resize.h"
#include "support/judged_by_opencv.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using kel::imageprocess::InterpolationMethod;
using namespace kel::imgproc;
using test::TestImage;

const std::vector<uint32_t> kScalable{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                      QX_FMT_NV21};

// The source lies in the middle of a larger matrix: cv::resize reads in front of pairs.
void judge_plane(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int plane, uint32_t method) {
  const uint32_t format = plane == 1                   ? 2
                          : src.format == QX_FMT_RGB24 ? 3
                          : src.format == QX_FMT_ARGB  ? 4
                                                       : 1;
  const auto mat = [&](const QX_OFFSCREEN& image) {
    return cv::Mat(image.height >> plane, image.width >> plane, CV_8UC(static_cast<int>(format)),
                   image.plane[plane], static_cast<size_t>(image.pitch[plane]));
  };
  if (mat(src).empty() || mat(dst).empty()) return;
  cv::Mat padded;
  cv::copyMakeBorder(mat(src), padded, 8, 8, 8, 8, cv::BORDER_REFLECT);
  cv::Mat to = mat(dst);
  cv::resize(padded(cv::Rect({8, 8}, mat(src).size())), to, to.size(), 0, 0,
             static_cast<int>(method));
}

void expect_scaled(const TestImage& src, test::Shape to, uint32_t method) {
  const TestImage expected(src.descriptor().format, to.width, to.height, 3, 2, 2);
  const TestImage blank = expected.clone();
  judge_plane(expected, src, 0, method);
  if (src.descriptor().plane[1] != nullptr) judge_plane(expected, src, 1, method);
  test::on_every_target([&] {
    const TestImage dst = blank.clone();
    ASSERT_EQ(mvk_resize(dst.get(), src.get(), method), MVK_OK);
    ASSERT_TRUE(dst == expected) << dst << " from " << src << " by method " << method;
  });
}

class Resize : public test::JudgedByOpenCv {};

TEST_F(Resize, EveryFormatMethodAndShape) {
  for (const uint32_t format : kScalable) {
    for (const test::Shape from : test::kShapes) {
      const TestImage src(format, from.width, from.height, 5, 4);
      for (const test::Shape to : {from, {1, 1}, {2, 3}, {29, 50}, {64, 66}, {1030, 5}}) {
        for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
      }
    }
  }
}

// Any factors, up and down, whole factors, and flat, noisy and two-valued content.
TEST_F(Resize, RandomShapes) {
  test::Random random(14);
  for (int i = 0; i < 600; ++i) {
    const int side = i % 4 == 0 ? 20 : 150;
    test::Shape to{random.range(1, side), random.range(1, side)};
    test::Shape from{random.range(1, side), random.range(1, side)};
    if (i % 3 == 0) from = {to.width * random.range(1, 5), to.height * random.range(1, 5)};
    if (i % 9 == 0) from = {to.width * 2, to.height * 2};
    const uint32_t format = kScalable[static_cast<size_t>(random.range(0, 4))];
    TestImage src(format, from.width, from.height, random.range(0, 3), 0, random.next());
    if (i % 5 == 0) src.fill(static_cast<uint8_t>(random.next()));
    for (size_t at = 0; i % 5 == 1 && at < src.plane_size(); ++at) {
      src.row(0)[at] = src.row(0)[at] < 128 ? 0 : 255;
    }
    for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
  }
}

// Rows that are made in several runs of columns, weights that do not sum to 1, blocks too large
// for the vector kernels, sums too long for tables.
TEST_F(Resize, WideAndExtremeShapes) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_ARGB, QX_FMT_RGB24, QX_FMT_NV12}) {
    for (const auto& [from, to] : {std::pair<test::Shape, test::Shape>{{2, 3}, {5499, 2}},
                                   {{1, 9}, {5463, 16}},
                                   {{4300, 4}, {3333, 3}},
                                   {{4200, 8}, {2100, 4}},
                                   {{90, 60}, {3, 2}},
                                   {{4000, 5}, {3, 2}},
                                   {{5000, 4}, {1, 4}}}) {
      const TestImage src(format, from.width, from.height);
      for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
    }
  }
}

// Kernels and their plain loops, with tables that need one window or many.
class Kernels {
 public:
  explicit Kernels(uint64_t seed) : random_(seed) {
    for (auto& row : rows_) {
      for (int i = 0; i < kRowBytes; ++i) row.push_back(static_cast<uint8_t>(random_.next()));
    }
  }

  // Bytes from places that move on by up to `step`; some give nothing.
  ByteGather plan(size_t count, int step) {
    std::vector<int32_t> offsets(count);
    int at = 0;
    for (int32_t& offset : offsets) {
      at = (at + random_.range(0, step)) % (kRowBytes - 12);
      offset = random_.range(0, 19) == 0 ? ByteGather::kZero : at + random_.range(0, 11);
    }
    return plan_byte_gather(offsets, kRowBytes);
  }
  template <typename Value>
  std::vector<Value> values(size_t count, int low, int high) {
    std::vector<Value> values(count);
    for (Value& value : values) value = static_cast<Value>(random_.range(low, high));
    return values;
  }
  // What kernel(rows, columns) makes of one row or two.
  template <typename Value, typename Kernel, typename Columns>
  std::vector<Value> across(Kernel kernel, const Columns& columns, size_t count, int rows) const {
    std::vector<Value> out(2 * count);
    kernel({rows, {rows_[0].data(), rows_[1].data()}, {out.data(), out.data() + count}}, columns);
    return out;
  }
  template <typename Value, typename Columns, typename Function>
  void expect_across(Function plain, Function kernel, const Columns& columns, size_t count) const {
    for (const int rows : {1, 2}) {
      const auto expected = across<Value>(plain, columns, count, rows);
      test::on_every_target(
          [&] { EXPECT_EQ(across<Value>(kernel, columns, count, rows), expected); });
    }
  }
  const uint8_t* row() const { return rows_[0].data(); }

 private:
  static constexpr int kRowBytes = 400;
  test::Random random_;
  std::array<std::vector<uint8_t>, 2> rows_;
};

TEST(ResizeKernels, AcrossAsThePlainLoops) {
  for (int step = 0; step < 40; ++step) {
    Kernels test(static_cast<uint64_t>(step));
    const auto n = static_cast<size_t>(7 * step + 1);
    LinearColumns linear{test.plan(2 * n, step / 4), {}};
    const auto pairs = static_cast<size_t>(8 * linear.pairs.blocks);
    linear.weights = test.values<int16_t>(pairs, 0, 1024);
    for (int16_t& weight : linear.weights) weight = static_cast<int16_t>(-32 * weight);
    test.expect_across<int16_t>(linear_across_plain, linear_across, linear, pairs);

    CubicColumns cubic{test.plan(4 * n, step / 8), {}, {}};
    const auto quads = static_cast<size_t>(4 * cubic.quads.blocks);
    cubic.even = test.values<int16_t>(2 * quads, -300, 2600);
    cubic.odd = test.values<int16_t>(2 * quads, -300, 2600);
    test.expect_across<float>(cubic_across_plain, cubic_across, cubic, quads);

    AreaColumns area{step % 11 + 1, {}, {}};
    const size_t sums = 8 * (n / 8 + 1);
    area.bytes = test.plan(4 * sums * static_cast<size_t>(area.quads()), step / 8);
    area.weights = test.values<float>(static_cast<size_t>(16 * area.bytes.blocks), 1, 9999);
    for (size_t i = 0; i < area.weights.size(); ++i) {
      const auto tap = static_cast<int64_t>(i / 8) % (4 * area.quads());
      area.weights[i] = tap < area.taps ? area.weights[i] / 7777 : 0;
    }
    test.expect_across<float>(area_across_plain, area_across, area, sums);
  }
}

TEST(ResizeKernels, DownAsThePlainLoops) {
  Kernels test(99);
  for (int count = 1; count < 230; ++count) {
    const auto length = static_cast<size_t>(count + 48);
    const auto bytes_of = [&](const auto& down) {
      std::vector<uint8_t> bytes(length);
      down(bytes.data());
      return bytes;
    };
    std::vector<int16_t> low = test.values<int16_t>(length, 0, 32655);
    std::vector<int16_t> high = test.values<int16_t>(length, 0, 32655);
    const LinearRows linear{low.data(), high.data(), 700, 1348};
    std::array<std::vector<float>, 4> values;
    for (auto& row : values) row = test.values<float>(length, -99999, 699999);
    const CubicRows cubic{values[0].data(), values[1].data(), values[2].data(), values[3].data()};
    const auto expected = [&](auto& blend, auto& cubic_blend, auto& add, auto& finish) {
      std::vector<uint8_t> all = bytes_of([&](uint8_t* to) { blend(to, linear, count); });
      const auto more = bytes_of([&](uint8_t* to) {
        cubic_blend(to, cubic, {-150, 1200, 1111, -113}, count / 8 * 8, count);
      });
      const auto sums = bytes_of([&](uint8_t* to) {
        std::vector<float> sum(length);
        add(sum.data(), values[0].data(), 0.0001F, true, count / 8 * 8);
        add(sum.data(), values[1].data(), 0.0002F, false, count / 8 * 8);
        finish(to, sum.data(), count);
      });
      all.insert(all.end(), more.begin(), more.end());
      all.insert(all.end(), sums.begin(), sums.end());
      return all;
    };
    const auto plain =
        expected(linear_down_plain, cubic_down_plain, area_add_plain, area_finish_plain);
    test::on_every_target(
        [&] { EXPECT_EQ(expected(linear_down, cubic_down, area_add, area_finish), plain); });
  }
}

TEST(ResizePlane, ThreadsDoNotChangeTheResult) {
  const int threads = cv::getNumThreads();
  cv::Mat src(700, 900, CV_8UC3);
  cv::randu(src, 0, 256);
  for (const auto method : {InterpolationMethod::kNearest, InterpolationMethod::kLinear,
                            InterpolationMethod::kCubic, InterpolationMethod::kArea}) {
    cv::Mat alone(601, 803, src.type());
    cv::Mat shared = alone.clone();
    cv::setNumThreads(1);
    resize_plane(alone, src, method);
    cv::setNumThreads(2);
    resize_plane(shared, src, method);
    EXPECT_EQ(cv::norm(alone, shared, cv::NORM_INF), 0);
  }
  cv::setNumThreads(threads);
}

TEST(ResizePlane, RowsThatDoNotFitTheirPitchAreLeftAlone) {
  for (const bool breaks_dst : {false, true}) {
    TestImage src(QX_FMT_RGB24, 8, 8);
    TestImage dst(QX_FMT_RGB24, 8, 8, 0, 0, 2);
    const TestImage before = dst.clone();
    (breaks_dst ? dst : src).descriptor().pitch[0] = 16;
    EXPECT_EQ(mvk_resize(dst.get(), src.get(), MVK_RESIZE_LINEAR), MVK_OK);
    EXPECT_TRUE(dst == before);
  }
}

TEST(ResizePlane, InnerCallTakesUnknownMethodsAsNearestAndAbgrAsBytes) {
  const TestImage src(QX_FMT_ABGR, 8, 8);
  TestImage dst(QX_FMT_ABGR, 4, 4, 0, 0, 2);
  TestImage expected = dst.clone();
  for (int i = 0; i < 16; ++i) expected.row(i / 4)[i % 4] = src.row(i / 4 * 2)[i % 4 * 2];
  kel::imgproc::resize(dst.descriptor(), src, InterpolationMethod{7});
  EXPECT_TRUE(dst == expected);
}

}  // namespace
