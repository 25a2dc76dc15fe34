// Snaps the edges of a binary mask to the steps in brightness of a photograph: every point of a
// contour that lies on a left or right edge moves along its row to the strongest Haar-like response
// within a radius (the difference of the means of two adjacent windows), and the mask is redrawn.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/contours/contours.h"

namespace kel::mask {

// Internal to the mask pipeline: a kernel or a matrix of unusable size.
inline constexpr uint32_t kUnusableSize = 7;

// Smaller radii could move points out of the image.
inline constexpr int32_t kSmallestRadius = 4;
inline constexpr int32_t kLargestRadius = 31;

// mask: CV_8UC1, binarised (only 255 counts) and replaced by the redrawn one. guide: CV_8UC3 of
// the same size, continuous. radius: kSmallestRadius to kLargestRadius pixels. Returns
// kUnusableSize for different sizes or another radius, and MVK_BAD_ARGUMENT when there is no
// contour: the mask is then binary.
[[nodiscard]] uint32_t make_edge_add(cv::Mat& mask, uint32_t radius, const cv::Mat& guide);

// Redraws mask from its contours after moving them; contours returns the moved ones.
void make_contour_edge(cv::Mat& mask, const cv::Mat& guide, uint32_t radius, Contours& contours,
                       const Hierarchy& hierarchy);

// Moves points that are within two pixels of mask's border onto it.
void fix_contours_point(Contours& contours, const cv::Mat& mask);

// Moves the points on left and right edges of mask to the steps of guide.
void find_edge_contour_add_haar(Contours& contours, int32_t radius, const cv::Mat& guide,
                                const cv::Mat& mask);

// The shift towards the strongest step in a window of 2 * radius + 1 samples, 0 when none stands
// out. sums: radius * 2 + 2 prefix sums, the first 0; half: length of the compared windows.
int32_t haar_move_window_limit(const int32_t* sums, int32_t radius, int32_t half);

// Marks the bottom row of image below contour points that are in its two bottom rows.
void add_image_point(const Contours& contours, cv::Mat& image);

}  // namespace kel::mask
