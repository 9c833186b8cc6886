#include "measure.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace tavrine::bench {
namespace {

// Shorter than the time for which a scheduler takes the processor away.
constexpr double kBatchSeconds = 0.001;

double seconds_of(const Contender &contender, int64_t times) {
  const auto start = std::chrono::steady_clock::now();
  if (!contender.run(times)) {
    throw std::runtime_error(contender.name + " failed");
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count() / static_cast<double>(times);
}

}  // namespace

std::vector<double> fastest_runs(const std::vector<Contender> &contenders, int rounds) {
  const size_t count = contenders.size();
  std::vector<int64_t> times(count);
  std::vector<double> fastest(count);
  for (size_t i = 0; i < count; ++i) {
    seconds_of(contenders[i], 1);
    fastest[i] = seconds_of(contenders[i], 1);
    times[i] = static_cast<int64_t>(std::max(1.0, kBatchSeconds / fastest[i]));
  }
  for (int round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < count; ++i) {
      // Each round begins with another one, and every other round goes backwards, so that none
      // always follows the same.
      const size_t turn = (i + static_cast<size_t>(round)) % count;
      const size_t index = round % 2 == 0 ? turn : count - 1 - turn;
      fastest[index] = std::min(fastest[index], seconds_of(contenders[index], times[index]));
    }
  }
  return fastest;
}

}  // namespace tavrine::bench
