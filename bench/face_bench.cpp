// The forehead against its one expensive step, Eigen's solver alone; landmark files against the
// formatted input and output of the C library.
#include <Eigen/SVD>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench.h"
#include "morvik/morvik.h"

namespace {

constexpr bench::Size kImage{1000, 1000};
constexpr int kPoints = 106;
constexpr const char* kPath = "/tmp/morvik_bench_landmarks.txt";

std::vector<int32_t> face() {
  std::vector<int32_t> points;
  for (int i = 0; i < kPoints; ++i) {
    const double angle = 3.14159265 * i / 32;
    points.push_back(static_cast<int32_t>(500 - 200 * std::cos(angle)));
    points.push_back(static_cast<int32_t>(450 + 270 * std::sin(angle)));
  }
  return points;
}

void add_forehead() {
  const std::string operation = "forehead of 106 points";
  bench::add(operation, kImage, "morvik", [points = face()] {
    std::array<int32_t, 22> out{};
    mvk_guess_forehead_landmarks(out.data(), points.data(), kPoints, kImage.width, kImage.height);
    benchmark::DoNotOptimize(out);
  });
  Eigen::MatrixXd design(7, 5);
  for (int i = 0; i < 7; ++i) {
    const double x = -0.4 * std::cos(0.5 * i);
    const double y = 0.5 * std::sin(0.5 * i);
    design.row(i) << x * x, x * y, y * y, x, y;
  }
  bench::add(operation, kImage, "Eigen's solver alone", [design] {
    const Eigen::JacobiSVD<Eigen::MatrixXd, Eigen::ColPivHouseholderQRPreconditioner> svd(
        design, Eigen::ComputeThinU | Eigen::ComputeThinV);
    const Eigen::VectorXd solution = svd.solve(Eigen::VectorXd::Constant(7, -1.0));
    benchmark::DoNotOptimize(solution.data());
  });
}

void add_files() {
  const std::vector<int32_t> points = face();
  const std::vector<float> values(points.begin(), points.end());
  bench::add("write 106 landmarks", kImage, "morvik",
             [=] { mvk_write_landmarks(values.data(), kPoints, kPath, 1, 2, ','); });
  bench::add("write 106 landmarks", kImage, "fprintf", [=] {
    std::FILE* file = std::fopen(kPath, "w");
    for (size_t i = 0; i < values.size(); i += 2) {
      std::fprintf(file, "%g,%g\n", double{values[i]}, double{values[i + 1]});
    }
    std::fclose(file);
  });
  mvk_write_landmarks(values.data(), kPoints, kPath, 1, 2, ',');
  const auto buffer = std::make_shared<std::vector<float>>(values);
  bench::add("read 106 landmarks", kImage, "morvik",
             [=] { mvk_read_landmarks(buffer->data(), kPoints, kPath, 1, 2, ','); });
  bench::add("read 106 landmarks", kImage, "fscanf", [=] {
    std::FILE* file = std::fopen(kPath, "r");
    float* value = buffer->data();
    for (int i = 0; i < kPoints; ++i, value += 2) {
      if (std::fscanf(file, "%f,%f", value, value + 1) != 2) break;
    }
    std::fclose(file);
  });
}

const bool registered = [] {
  add_forehead();
  add_files();
  return true;
}();

}  // namespace
