// Registers one contestant of a comparison: its time and the memory that one run takes. Names read
// "operation|size|who"; table.py divides the time of each peer by that of the one called "morvik".
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

#include "peak_memory.h"
#include "support/test_image.h"

namespace bench {

struct Size {
  int width;
  int height;
};
inline constexpr Size kSizes[] = {{640, 480}, {1920, 1080}, {4032, 3024}};

// What a run must read and write, in bytes.
struct Traffic {
  size_t read = 0;
  size_t written = 0;
};

inline size_t bytes_of(const test::TestImage& image) {
  const auto pixels = static_cast<size_t>(image.width()) * static_cast<size_t>(image.height());
  switch (image.descriptor().format) {
    case QX_FMT_GRAY:
      return pixels;
    case QX_FMT_RGB24:
      return 3 * pixels;
    case QX_FMT_ARGB:
    case QX_FMT_ABGR:
      return 4 * pixels;
    default:
      return pixels * 3 / 2;
  }
}

template <typename Run>
void add(const std::string& operation, Size size, const std::string& who, Run run,
         Traffic traffic = {}) {
  const std::string name =
      operation + '|' + std::to_string(size.width) + 'x' + std::to_string(size.height) + '|' + who;
  const auto measure = [run = std::move(run), traffic](benchmark::State& state) {
    reset_peak();
    run();
    state.counters["peak_bytes"] = static_cast<double>(peak_since_reset());
    state.counters["read"] = static_cast<double>(traffic.read);
    state.counters["written"] = static_cast<double>(traffic.written);
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

// Registers what memory alone takes for some traffic, once for all rows that have it.
void add_floor(Traffic traffic);

// The library's side of a comparison.
template <typename Run>
void add_morvik(const std::string& operation, Size size, Traffic traffic, Run run) {
  add_floor(traffic);
  add(operation, size, "morvik", std::move(run), traffic);
}

}  // namespace bench
