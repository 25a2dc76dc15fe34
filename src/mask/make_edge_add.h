// Snaps the edges of a binary mask to the steps in brightness of a photograph: every point of a
// contour that lies on a left or right edge moves along its row to the strongest Haar-like response
// within a radius (the difference of the means of two adjacent windows), and the mask is redrawn.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"
#include "mask/guide.h"

namespace kel::mask {

// Internal to the mask pipeline: a kernel or a matrix of unusable size.
inline constexpr uint32_t kUnusableSize = 7;

// Smaller radii could move points out of the image.
inline constexpr int32_t kSmallestRadius = 4;
inline constexpr int32_t kLargestRadius = 31;

// Draws mask with its edges moved. drawn: CV_8UC1 of its size; guide: of that size, too. radius:
// kSmallestRadius to kLargestRadius pixels. Returns kUnusableSize for different sizes or another
// radius, and MVK_BAD_ARGUMENT when there is no contour: nothing is drawn then.
[[nodiscard]] uint32_t make_edge_add(cv::Mat& drawn, const BitMask& mask, uint32_t radius,
                                     const Guide& guide);

// Moves points that are within two pixels of the border of a mask of a size onto it.
void fix_contours_point(Contours& contours, cv::Size size);

// Moves the points on left and right edges of mask to the steps of guide.
void find_edge_contour_add_haar(Contours& contours, int32_t radius, const Guide& guide,
                                const BitMask& mask);

// The shift towards the strongest step in a window of 2 * radius + 1 samples, 0 when none stands
// out. half: length of the compared windows, 1 to radius.
int32_t haar_move_window_limit(const int16_t* samples, int32_t radius, int32_t half);

// Marks the bottom row of image below contour points that are in its two bottom rows.
void add_image_point(const Contours& contours, cv::Mat& image);

}  // namespace kel::mask
