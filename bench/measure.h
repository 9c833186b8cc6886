// Times contenders against each other, interleaved.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tavrine::bench {

// One implementation of a row, over the pictures of one allocation.
struct Contender {
  std::string name;
  std::function<bool(int64_t times)> run;  // returns false if a run failed
};

// The seconds of one run of each contender: the fastest of `rounds` rounds in which they take
// turns, so that a disturbance meets them alike. Throws std::runtime_error if a run fails: a
// failure would be fast.
std::vector<double> fastest_runs(const std::vector<Contender> &contenders, int rounds);

}  // namespace tavrine::bench
