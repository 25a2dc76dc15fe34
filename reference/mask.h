// The mask operations as plain chains of OpenCV calls, and the edge refinement as plain loops:
// slow, but simple enough to be obviously right. Tests compare results with them, benchmarks times.
#pragma once

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "morvik/morvik.h"
#include "reference/resize.h"

namespace as_written {

// A copy of the packed rows of plane 0, and the way back.
inline cv::Mat block(const QX_OFFSCREEN& image) {
  const int type = image.format == QX_FMT_GRAY ? CV_8UC1 : CV_8UC3;
  return cv::Mat(image.height, image.width, type, image.plane[0]).clone();
}
inline void write_back(const QX_OFFSCREEN& image, const cv::Mat& result) {
  std::copy_n(result.data, result.total() * result.elemSize(), image.plane[0]);
}

inline cv::Mat morph(const cv::Mat& src, int amount) {
  const int side = std::abs(amount) + 1;
  cv::Mat dst;
  cv::morphologyEx(src.clone(), dst, amount > 0 ? cv::MORPH_DILATE : cv::MORPH_ERODE,
                   cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side)),
                   cv::Point(-1, -1), 1, cv::BORDER_CONSTANT, cv::morphologyDefaultBorderValue());
  return dst;
}

inline cv::Mat blur(const cv::Mat& in, cv::Mat out, int ksize, MKBlur type, double p1, double p2) {
  const cv::Size size(ksize, ksize);
  if (type == MKBlur::Mean) cv::blur(in, out, size, cv::Point(-1, -1), 4);
  if (type == MKBlur::Median) cv::medianBlur(in, out, ksize);
  if (type == MKBlur::Gaussian) cv::GaussianBlur(in, out, size, p1, p2, 4);
  if (type == MKBlur::Bilateral) cv::bilateralFilter(in, out, ksize, p1, p2, 4);
  return out;
}

inline cv::Mat fill_area(int width, int height, const std::vector<cv::Point>& points) {
  cv::Mat mask = cv::Mat::zeros(height, width, CV_8UC1);
  const std::vector<std::vector<cv::Point>> contours{points};
  if (points.empty()) return mask;
  cv::drawContours(mask, contours, 0, cv::Scalar(255), -1, 0, cv::noArray(), INT_MAX, cv::Point());
  return mask;
}

// Byte by byte; no pixel gives the box INT_MAX, INT_MAX, 0, 0.
inline cv::Rect2i box(const QX_OFFSCREEN& image, uint32_t level) {
  cv::Rect2i edges(INT_MAX, INT_MAX, 0, 0);  // left, top, right, bottom
  for (int y = 0; y < image.height; ++y) {
    const uint8_t* row = image.plane[0] + static_cast<ptrdiff_t>(y) * image.pitch[0];
    for (int x = 0; x < image.width; ++x) {
      if (row[x] < level) continue;
      edges = {std::min(edges.x, x), std::min(edges.y, y), std::max(edges.width, x),
               std::max(edges.height, y)};
    }
  }
  return edges;
}

inline cv::Mat fill_holes(const cv::Mat& src, int level) {
  cv::Mat image;
  cv::threshold(src.clone(), image, level, 255.0, cv::THRESH_BINARY);
  std::vector<std::vector<cv::Point>> contours;
  std::vector<cv::Vec4i> tree;
  cv::findContours(image.clone(), contours, tree, 3, 1, cv::Point(0, 0));
  if (contours.empty()) return image;
  size_t best = 0;
  float best_area = 0.0F;
  for (size_t i = 0; i < contours.size(); ++i) {
    const double area = cv::contourArea(contours[i], false);
    if (i == 0 || area > double{best_area}) best = i, best_area = static_cast<float>(area);
  }
  int at = static_cast<int>(best);
  while (tree[static_cast<size_t>(at)][1] != -1) at = tree[static_cast<size_t>(at)][1];
  for (; at != -1; at = tree[static_cast<size_t>(at)][0]) {
    const std::vector<std::vector<cv::Point>> one{contours[static_cast<size_t>(at)]};
    cv::fillPoly(image, one, cv::Scalar(255), 8, 0, cv::Point(0, 0));
  }
  return image;
}

// The place of the strongest response, step by step as the method is defined.
inline int haar_shift(const std::vector<int>& sums, int n, int w) {
  const int h = n > w ? w : n / 2;
  const int count = 2 * n + 2 - 2 * h;
  std::vector<int> responses;
  double mean = 0.0;
  for (size_t j = 0; j < static_cast<size_t>(count); ++j) {
    const auto at = [&](int steps) { return sums[j + static_cast<size_t>(steps * h)]; };
    responses.push_back(h == 0 ? 0 : std::abs((at(1) - at(0)) / h - (at(2) - at(1)) / h));
    mean += responses.back();
  }
  mean /= count;
  double spread = 0.0;
  for (const int response : responses) spread += (response - mean) * (response - mean);
  if (std::sqrt(spread / count) < 35.0) return 0;
  const auto strongest = std::max_element(responses.begin(), responses.end());
  return static_cast<int>(strongest - responses.begin()) - count / 2;
}

inline cv::Point moved_point(cv::Point p, const cv::Mat& mask, const cv::Mat& guide, int r) {
  const int columns = mask.cols;
  const int rows = mask.rows;
  if (p.x < 2) p.x = 0;
  if (p.x >= columns - 2) p.x = columns - 1;
  const bool top = p.y < 2;
  if (top) p.y = 0;
  if ((!top || rows <= 2) && p.y >= rows - 2) p.y = rows - 1;
  if (p.x < r || p.x + r > columns) return p;
  const int a = mask.at<uint8_t>(p.y, p.x - 1);
  const int b = mask.at<uint8_t>(p.y, p.x + 1);
  if (a == b) return p;  // the mask is binary
  std::vector<int> sums{0};
  for (int x = p.x - r; x <= p.x + r; ++x) {
    const size_t index =
        static_cast<size_t>(p.y) * static_cast<size_t>(columns) + static_cast<size_t>(x);
    cv::Vec3b c(0, 0, 0);
    if (index < guide.total()) c = guide.ptr<cv::Vec3b>()[index];
    sums.push_back(sums.back() + static_cast<int>(std::sqrt(static_cast<double>(
                                     c[0] * c[0] + c[1] * c[1] + c[2] * c[2]))));
  }
  p.x += (a < b ? 1 : 0) + haar_shift(sums, r, r / 2);
  return p;
}

inline void snap_edges(cv::Mat& mask, int r, const cv::Mat& guide) {
  cv::threshold(mask.clone(), mask, 254.0, 255.0, cv::THRESH_BINARY);
  std::vector<std::vector<cv::Point>> contours;
  std::vector<cv::Vec4i> tree;
  cv::findContours(mask.clone(), contours, tree, 3, 1, cv::Point(0, 0));
  if (contours.empty()) return;
  std::vector<std::vector<cv::Point>> moved = contours;
  for (auto& contour : moved) {
    for (cv::Point& point : contour) point = moved_point(point, mask, guide, r);
  }
  cv::Mat drawn = cv::Mat::zeros(mask.size(), CV_8UC1);
  cv::drawContours(drawn, moved, -1, cv::Scalar(255), -1, 16, tree, 2, cv::Point(0, 0));
  for (const auto& contour : contours) {
    for (const cv::Point& point : contour) {
      if (point.y > drawn.rows - 3) drawn.at<uint8_t>(drawn.rows - 1, point.x) = 255;
    }
  }
  mask = drawn;
}

// An empty matrix when the limit is too small.
inline cv::Mat smooth_mask(const cv::Mat& coarse, const QX_OFFSCREEN& guide, uint32_t mode,
                           uint32_t limit) {
  cv::Mat m = coarse.clone();
  const cv::Size size(guide.width, guide.height);
  if (limit >= static_cast<uint32_t>(std::max(size.width, size.height))) {
    m = scaled(m, size);
    cv::medianBlur(m.clone(), m, 15);
    return m;
  }
  const int s = static_cast<int>(
      static_cast<float>(limit) / static_cast<float>(std::max(m.cols, m.rows)) + 0.5F);
  if (s < 1) return {};
  const cv::Size working(m.cols * s, m.rows * s);
  cv::threshold(m.clone(), m, 250.0, 255.0, cv::THRESH_BINARY);
  m = scaled(m, working);
  cv::threshold(m.clone(), m, 250.0, 255.0, cv::THRESH_BINARY);
  if (mode == 1) {
    snap_edges(m, 12, scaled(block(guide), working));
  }
  cv::medianBlur(m.clone(), m, 25);
  return scaled(m, size);
}

}  // namespace as_written
