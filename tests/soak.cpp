// Makes random calls for a while, valid and invalid ones, some with injected failures, and checks
// for leaks: objects of the core, media memory, files, descriptors, and memory that grows after a
// warm-up. Every call is made twice and must have the same results.
//
//   tavrine_soak SECONDS [SEED]
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tavrine_mpp_devkit.h"
#include "tests/random_calls.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tavrine::test {
namespace {

constexpr int kCallsInRound = 200;

// The C library counts the memory in its thread caches as allocated, unless they are switched
// off.
int64_t allocated_slack() { return std::getenv("GLIBC_TUNABLES") != nullptr ? 1024 : 256 * 1024; }
#if defined(__SANITIZE_ADDRESS__)
// The sanitizer keeps freed memory for a while.
constexpr int64_t kResidentSlack = INT64_C(512) << 20;
#elif defined(__arm__)
// The emulator caches translated code.
constexpr int64_t kResidentSlack = INT64_C(32) << 20;
#else
constexpr int64_t kResidentSlack = INT64_C(2) << 20;
#endif

struct Memory {
  int64_t allocated;
  int64_t resident;
};

int64_t resident_bytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) {
      return std::strtoll(line.c_str() + 6, nullptr, 10) * 1024;
    }
  }
  return 0;
}

Memory measure() {
#if defined(__SANITIZE_ADDRESS__)
  const auto allocated = static_cast<int64_t>(__sanitizer_get_current_allocated_bytes());
#else
  // Returns free memory to the system, so that only used memory is resident.
  malloc_trim(0);
  const struct mallinfo2 heap = mallinfo2();
  const auto allocated = static_cast<int64_t>(heap.uordblks + heap.hblkhd);
#endif
  return {allocated, resident_bytes()};
}

auto entries_of(const char *folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

class Soak {
 public:
  explicit Soak(uint32_t seed) : seeds_(seed) {
    variety_.device = 40;
    variety_.engine = 30;
    variety_.any_size = 20;
    variety_.padded = 30;
    variety_.repeated = 30;
    variety_.failing = 25;
    variety_.folder = folder_.path();
    for (const auto *operations : {&random_operations(), &random_file_operations()}) {
      operations_.insert(operations_.end(), operations->begin(), operations->end());
    }
  }

  int64_t calls() const { return calls_; }

  void round() {
    for (int i = 0; i < kCallsInRound; ++i) {
      const RandomOperation &operation = operations_[seeds_() % operations_.size()];
      const auto seed = static_cast<uint32_t>(seeds_());
      const uint64_t first = digest_of_call(operation, seed, variety_);
      const uint64_t second = digest_of_call(operation, seed, variety_);
      EXPECT_EQ(first, second) << operation.name << ", seed " << seed;
      calls_ += 2;
    }
    const tavrine_devkit_objects_t objects = tavrine_devkit_live_objects();
    EXPECT_EQ(objects.frames, 0);
    EXPECT_EQ(objects.buffers, 0);
    EXPECT_EQ(objects.tensors, 0);
    EXPECT_EQ(objects.storage_blocks, 0);
    EXPECT_EQ(tavrine_devkit_live_mmz().blocks, 0);
    EXPECT_EQ(entries_of(variety_.folder.c_str()), 0);
    EXPECT_EQ(entries_of("/proc/self/fd"), descriptors_);
  }

 private:
  const TemporaryFolder folder_;
  const std::ptrdiff_t descriptors_ = entries_of("/proc/self/fd");
  std::vector<RandomOperation> operations_;
  Random seeds_;
  Variety variety_;
  int64_t calls_ = 0;
};

void print(const char *when, int64_t calls, const Memory &memory) {
  std::printf("%-14s %10" PRId64 " calls, %8" PRId64 " KiB allocated, %8" PRId64 " KiB resident\n",
              when, calls, memory.allocated / 1024, memory.resident / 1024);
}

bool run(double seconds, uint32_t seed) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
  Soak soak(seed);
  do {
    soak.round();
  } while (elapsed() < seconds / 4 && !::testing::Test::HasFailure());
  const Memory before = measure();
  print("after warm-up", soak.calls(), before);
  do {
    soak.round();
  } while (elapsed() < seconds && !::testing::Test::HasFailure());
  const Memory after = measure();
  print("at the end", soak.calls(), after);
  EXPECT_LE(after.allocated, before.allocated + allocated_slack());
  EXPECT_LE(after.resident, before.resident + kResidentSlack);
  return !::testing::Test::HasFailure();
}

}  // namespace
}  // namespace tavrine::test

int main(int argument_count, char **arguments) {
  const double seconds = argument_count > 1 ? std::atof(arguments[1]) : 0;
  if (argument_count > 3 || seconds <= 0) {
    std::fputs("usage: tavrine_soak SECONDS [SEED]\n", stderr);
    return 2;
  }
  const auto seed =
      static_cast<uint32_t>(argument_count > 2 ? std::strtoul(arguments[2], nullptr, 10) : 1);
  std::printf("seed %" PRIu32 "\n", seed);
  tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
  const bool is_flat = tavrine::test::run(seconds, seed);
  std::puts(is_flat ? "no leaks" : "FAILED");
  return is_flat ? 0 : 1;
}
