#include "face/landmarks.h"

#include <algorithm>

#include "face/forehead.h"
#include "face/intersection.h"
#include "face/vertex_space.h"

namespace mvk::face {
namespace {

constexpr size_t kBandPoints = 15;

}  // namespace

void Landmarks::add_forehead(LandmarkVector& vertexs) const {
  vertexs.resize(vertexs.size() + kBandPoints);
  _add_forehead(vertexs);
}

void Landmarks::_add_forehead(LandmarkVector& vertexs) const {
  Forehead forehead(vertexs, static_cast<int>(width), static_cast<int>(height), Forehead::kPoints,
                    top_side);
  forehead.predict_by_conic();

  LandmarkPoint* const band = &vertexs[static_cast<size_t>(ranges[0].begin)];
  for (int i = 0; i < Forehead::kPoints; ++i) {
    band[i] = {static_cast<float>(forehead.result()(0, i)),
               static_cast<float>(forehead.result()(1, i))};
  }
  band[11] = {(vertexs[63].x + vertexs[74].x) * 0.5F, (vertexs[63].y + vertexs[74].y) * 0.5F};
  const LandmarkPoint nose_tip = vertexs[75];
  const LandmarkPoint apex = band[5];
  for (int i = 0; i < 3; ++i)
    band[12 + i] = get_intersection(apex, band[9 - i], nose_tip, band[1 + i]);
}

LandmarkVector get_forehead_points(const LandmarkVector& landmarks, int width, int height) {
  const uint32_t columns = static_cast<uint32_t>(width);
  const uint32_t rows = static_cast<uint32_t>(height);
  LandmarkVector internal(kInternalPoints);
  if (landmarks.size() == kStdPoints) {
    convert_landmarks_from_std(internal, landmarks);
  } else {
    std::copy_n(landmarks.begin(), std::min(landmarks.size(), kInternalPoints), internal.begin());
  }
  LandmarkVector vertexs = convert_landmarks_to_vertexs<float>(internal, columns, rows);
  const Landmarks set(columns, rows, /*forehead_on_top=*/true);
  set.add_forehead(vertexs);
  const auto first = vertexs.begin() + set.ranges[0].begin;
  return convert_vertexs_to_landmarks<float>(LandmarkVector(first, first + Forehead::kPoints),
                                             columns, rows);
}

}  // namespace mvk::face
