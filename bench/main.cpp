// Times every operation as this library and its peers do it, beside the copy of as many bytes
// as it has to read and write.
#include <benchmark/benchmark.h>
#include <libyuv/version.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iostream>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/calls.h"
#include "bench/heap_peak.h"
#include "bench/memory.h"
#include "bench/traffic.h"
#include "tavrine_aux.h"

namespace tavrine::bench {
namespace {

struct Measure {
  const char *who;
  Call call;
};

void repeat(benchmark::State &state, const Call &call) {
  for ([[maybe_unused]] const auto &round : state) {
    benchmark::DoNotOptimize(call());
  }
}

// The heap that a first call takes at its peak, when nothing is kept from earlier ones.
int64_t call_once(const Measure &measure, const Operation &operation) {
  bool is_done = false;
  const int64_t heap = heap_peak_of([&] { is_done = measure.call(); });
  if (!is_done) {
    // It would be fast.
    throw std::runtime_error(operation.name + ": " + measure.who + " failed");
  }
  return heap;
}

// Reads one half of the bytes and writes the other.
Call limit_call(int64_t traffic, std::vector<uint8_t> &from, std::vector<uint8_t> &to) {
  const auto size = static_cast<size_t>(traffic / 2);
  from.resize(std::max(from.size(), size), 1);
  to.resize(std::max(to.size(), size), 1);
  return [&from, &to, size] {
    std::memcpy(to.data(), from.data(), size);
    benchmark::ClobberMemory();
    return true;
  };
}

void register_all(Pictures &pictures, std::vector<uint8_t> &from, std::vector<uint8_t> &to) {
  for (const Operation &operation : all_operations()) {
    const int64_t traffic = traffic_of(operation);
    const Measure measures[] = {
        {"library", library_call(operation, pictures)},
        {"opencv", opencv_call(operation, pictures)},
        {"libyuv", libyuv_call(operation, pictures)},
        {"limit", limit_call(traffic, from, to)},
    };
    for (const Measure &measure : measures) {
      if (!measure.call) {
        continue;
      }
      const std::string name =
          std::string(name_of(operation.group)) + "/" + operation.name + "/" + measure.who;
      const int64_t heap = call_once(measure, operation);
      benchmark::RegisterBenchmark(name.c_str(), [call = measure.call, heap,
                                                  traffic](benchmark::State &state) {
        repeat(state, call);
        state.counters["heap"] = static_cast<double>(heap);
        state.counters["traffic"] = static_cast<double>(traffic);
      })->Unit(benchmark::kMillisecond);
    }
  }
}

int run(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  cv::setNumThreads(1);
  benchmark::AddCustomContext("library", std::string(tavrine_aux_version()));
  benchmark::AddCustomContext("compiler", TAVRINE_BENCH_COMPILER);
  benchmark::AddCustomContext("opencv", CV_VERSION);
  benchmark::AddCustomContext("libyuv", std::to_string(LIBYUV_VERSION));
  Memory memory(0);
  Pictures pictures(Memory::provide, &memory);
  std::vector<uint8_t> from;
  std::vector<uint8_t> to;
  register_all(pictures, from, to);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace
}  // namespace tavrine::bench

int main(int argc, char **argv) {
  try {
    return tavrine::bench::run(argc, argv);
  } catch (const std::exception &failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
