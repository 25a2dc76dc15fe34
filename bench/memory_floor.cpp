// memcpy of what is both read and written; of the rest, memset of what is only written, and a sum
// over what is only read.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

#include "bench.h"

namespace bench {
namespace {

// Used by all floors, as large as the largest needs.
std::vector<uint8_t>& source() {
  static std::vector<uint8_t> bytes;
  return bytes;
}
std::vector<uint8_t>& target() {
  static std::vector<uint8_t> bytes;
  return bytes;
}

void move_bytes(Traffic traffic) {
  const size_t both = std::min(traffic.read, traffic.written);
  const uint8_t* const from = source().data();
  uint8_t* const to = target().data();
  std::memcpy(to, from, both);
  std::memset(to + both, 1, traffic.written - both);
  uint64_t sum = 0;
  for (size_t i = both; i + sizeof(sum) <= traffic.read; i += sizeof(sum)) {
    uint64_t word = 0;
    std::memcpy(&word, from + i, sizeof(word));
    sum += word;
  }
  benchmark::DoNotOptimize(sum);
}

}  // namespace

void add_floor(Traffic traffic) {
  static std::set<std::pair<size_t, size_t>> known;
  if (!known.emplace(traffic.read, traffic.written).second) return;
  source().resize(std::max(source().size(), traffic.read), 1);
  target().resize(std::max(target().size(), traffic.written), 1);
  const std::string what = std::to_string(traffic.read) + '-' + std::to_string(traffic.written);
  const auto measure = [traffic](benchmark::State& state) {
    state.counters["read"] = static_cast<double>(traffic.read);
    state.counters["written"] = static_cast<double>(traffic.written);
    for (auto _ : state) {
      move_bytes(traffic);
      benchmark::ClobberMemory();
    }
  };
  benchmark::RegisterBenchmark(("memory floor|" + what + "|memcpy").c_str(), measure)
      ->UseRealTime()
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace bench
