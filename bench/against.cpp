// Times two builds of the library against each other, interleaved in one process.
//
//   tavrine_bench_against MODULE LIBRARY_HERE LIBRARY_THERE [--filter REGEX]
//       [--instruction-set NAME] [--allocations N] [--rounds N]
//
// Each build runs in a namespace of the dynamic linker of its own, with its own copy of the
// libraries that it needs. Both work on the same pictures.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/memory.h"
#include "bench/module.h"

namespace tavrine::bench {
namespace {

constexpr double kBatchSeconds = 0.001;  // shorter than the time that a scheduler gives at once

struct Options {
  std::string module;
  std::string here;
  std::string there;
  std::regex filter{""};
  std::string instruction_set;
  uint32_t allocations = 5;
  int rounds = 25;
};

const TavrineBenchModule &load(const std::string &library, const std::string &module) {
  // The module finds this library loaded under the name that it needs.
  void *const aux = dlmopen(LM_ID_NEWLM, library.c_str(), RTLD_NOW);
  Lmid_t space = 0;
  if (aux == nullptr || dlinfo(aux, RTLD_DI_LMID, &space) != 0) {
    throw std::runtime_error(dlerror());
  }
  void *const handle = dlmopen(space, module.c_str(), RTLD_NOW);
  void *const entry = handle != nullptr ? dlsym(handle, "tavrine_bench_module") : nullptr;
  if (entry == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return *reinterpret_cast<TavrineBenchEntry>(entry)();
}

double seconds(const TavrineBenchModule &module, void *call, int64_t times) {
  const auto start = std::chrono::steady_clock::now();
  if (module.run(call, times) != 0) {
    throw std::runtime_error("the operation failed");
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
         static_cast<double>(times);
}

// One build's operation on the pictures of one allocation.
class Contender {
 public:
  Contender(const TavrineBenchModule &module, int row, Memory &memory)
      : module_(module), call_(module.prepare(row, Memory::provide, &memory)) {
    if (call_ == nullptr) {
      throw std::runtime_error("the operation could not be prepared");
    }
  }
  Contender(const Contender &) = delete;
  Contender &operator=(const Contender &) = delete;
  ~Contender() { module_.release(call_); }

  void measure(int64_t times) { best_ = std::min(best_, seconds(module_, call_, times)); }
  double best() const { return best_; }

 private:
  const TavrineBenchModule &module_;
  void *call_;
  double best_ = 1e9;
};

struct Times {
  double here;
  double there;
  double gain() const { return there / here; }
};

// Both builds on one allocation: the minimum of rounds in which they take turns.
Times measure(const TavrineBenchModule &here_module, const TavrineBenchModule &there_module,
              int row, uint32_t allocation, int rounds) {
  Memory memory(allocation);
  Contender here(here_module, row, memory);
  Contender there(there_module, row, memory);
  there.measure(1);
  const uint64_t expected = memory.hash_of_results();
  here.measure(1);
  if (memory.hash_of_results() != expected) {
    std::printf("%s: the builds give different bytes\n", here_module.row_name(row));
  }
  here.measure(1);
  const auto times = static_cast<int64_t>(std::max(1.0, kBatchSeconds / here.best()));
  for (int round = 0; round < rounds; ++round) {
    Contender &first = round % 2 == 0 ? here : there;
    Contender &second = round % 2 == 0 ? there : here;
    first.measure(times);
    second.measure(times);
  }
  return {here.best(), there.best()};
}

template <typename Value>
double median_of(const std::vector<Times> &all, Value value) {
  std::vector<double> values;
  std::transform(all.begin(), all.end(), std::back_inserter(values), value);
  std::sort(values.begin(), values.end());
  const size_t half = values.size() / 2;
  return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void compare_all(const Options &options) {
  const TavrineBenchModule &here = load(options.here, options.module);
  const TavrineBenchModule &there = load(options.there, options.module);
  for (const TavrineBenchModule *module : {&here, &there}) {
    if (!options.instruction_set.empty() &&
        module->use_instruction_set(options.instruction_set.c_str()) != 0) {
      throw std::runtime_error("this machine does not have " + options.instruction_set);
    }
  }
  std::printf("%-44s %10s %10s %6s %6s %6s\n", "microseconds; gain = there / here", "there", "here",
              "gain", "least", "most");
  for (int row = 0; row < here.row_count(); ++row) {
    const std::string name = here.row_name(row);
    if (!std::regex_search(name, options.filter)) {
      continue;
    }
    std::vector<Times> all;
    for (uint32_t allocation = 0; allocation < options.allocations; ++allocation) {
      all.push_back(measure(here, there, row, allocation, options.rounds));
    }
    const auto by_gain = [](const Times &a, const Times &b) { return a.gain() < b.gain(); };
    const auto [least, most] = std::minmax_element(all.begin(), all.end(), by_gain);
    std::printf("%-44s %10.1f %10.1f %6.2f %6.2f %6.2f\n", name.c_str(),
                1e6 * median_of(all, [](const Times &times) { return times.there; }),
                1e6 * median_of(all, [](const Times &times) { return times.here; }),
                median_of(all, [](const Times &times) { return times.gain(); }), least->gain(),
                most->gain());
    std::fflush(stdout);
  }
}

Options parse(int argc, char **argv) {
  if (argc < 4 || argc % 2 != 0) {
    throw std::invalid_argument("usage: see the head of bench/against.cpp");
  }
  Options options;
  options.module = argv[1];
  options.here = argv[2];
  options.there = argv[3];
  for (int i = 4; i < argc; i += 2) {
    const std::string option = argv[i];
    const std::string value = argv[i + 1];
    if (option == "--filter") {
      options.filter = std::regex(value);
    } else if (option == "--instruction-set") {
      options.instruction_set = value;
    } else if (option == "--allocations") {
      options.allocations = static_cast<uint32_t>(std::stoul(value));
    } else if (option == "--rounds") {
      options.rounds = std::stoi(value);
    } else {
      throw std::invalid_argument("unknown option " + option);
    }
  }
  return options;
}

}  // namespace
}  // namespace tavrine::bench

int main(int argc, char **argv) {
  try {
    tavrine::bench::compare_all(tavrine::bench::parse(argc, argv));
    return 0;
  } catch (const std::exception &failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
