// Registers one contestant of a comparison: its time and the memory that one run takes. Names read
// "operation|size|who"; table.py divides the time of each peer by that of the one called "morvik".
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

#include "peak_memory.h"

namespace bench {

struct Size {
  int width;
  int height;
};
inline constexpr Size kSizes[] = {{640, 480}, {1920, 1080}, {4032, 3024}};

template <typename Run>
void add(const std::string& operation, Size size, const std::string& who, Run run) {
  const std::string name =
      operation + '|' + std::to_string(size.width) + 'x' + std::to_string(size.height) + '|' + who;
  const auto measure = [run = std::move(run)](benchmark::State& state) {
    reset_peak();
    run();
    state.counters["peak_bytes"] = static_cast<double>(peak_since_reset());
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

}  // namespace bench
