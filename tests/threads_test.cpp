// Many threads at once get the results that one thread gets alone. The thread sanitizer's build
// runs only this program.
#include <cstring>
#include <thread>

#include "tavrine_mpp_devkit.h"
#include "tests/operation_table.h"
#include "tests/random_calls.h"

namespace tavrine::test {
namespace {

constexpr unsigned kThreads = 6;
// Emulated and instrumented code is slower.
#if defined(__arm__) || defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr uint32_t kSeeds = 15;
#else
constexpr uint32_t kSeeds = 60;
#endif

struct Job {
  const RandomOperation *operation;
  uint32_t seed;
  uint64_t expected;
};

// The results of one thread for a number of calls of every operation.
std::vector<Job> make_jobs(const Variety &variety) {
  std::vector<Job> jobs;
  for (uint32_t seed = 1; seed <= kSeeds; ++seed) {
    for (const auto *operations : {&random_operations(), &random_file_operations()}) {
      for (const RandomOperation &operation : *operations) {
        jobs.push_back({&operation, seed, digest_of_call(operation, seed, variety)});
      }
    }
  }
  return jobs;
}

// Every thread makes all calls. Two threads each start at the same place, so that operations run
// beside others and beside themselves.
void run_side_by_side(size_t count, const std::function<void(size_t index)> &call) {
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, begin = thread / 2 * count * 2 / kThreads] {
      for (size_t i = 0; i < count; ++i) {
        call((begin + i) % count);
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
}

void run_side_by_side(const std::vector<Job> &jobs, const Variety &variety) {
  run_side_by_side(jobs.size(), [&](size_t index) {
    const auto &[operation, seed, expected] = jobs[index];
    EXPECT_EQ(digest_of_call(*operation, seed, variety), expected)
        << operation->name << ", seed " << seed;
  });
}

class Threads : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    tavrine_log_set_sink([](void *arg, int32_t, const char *, int32_t,
                            const char *) { ++*static_cast<int64_t *>(arg); },
                         &records_);
    tavrine_devkit_mpp_set_observer(
        [](void *arg, const tavrine_devkit_mpp_call_t *call) {
          *static_cast<int64_t *>(arg) += std::strcmp(call->name, "HI_MPI_IVE_Query") == 0 ? 1 : 0;
        },
        &engine_tasks_);
  }
  void TearDown() override {
    tavrine_devkit_mpp_set_observer(nullptr, nullptr);
    LibraryTest::TearDown();
  }

  Variety mixed() const {
    Variety variety;
    variety.device = 40;
    variety.engine = 50;
    variety.any_size = 10;
    variety.padded = 30;
    variety.repeated = 30;
    variety.folder = folder_.path();
    return variety;
  }

  // The log and the platform call their observers from one thread at a time.
  int64_t records_ = 0;
  int64_t engine_tasks_ = 0;

 private:
  const TemporaryFolder folder_;
};

TEST_F(Threads, WithFramesOfTheirOwn) {
  const Variety variety = mixed();
  const std::vector<Job> jobs = make_jobs(variety);
  const int64_t records = records_;
  const int64_t engine_tasks = engine_tasks_;
  ASSERT_GT(records, 0);
  ASSERT_GT(engine_tasks, 0);
  run_side_by_side(jobs, variety);
  EXPECT_EQ(records_, records * (1 + kThreads));
  EXPECT_EQ(engine_tasks_, engine_tasks * (1 + kThreads));
}

// Every operation and pair of formats, on small and on large frames.
TEST_F(Threads, EveryOperationBesideItself) {
  std::vector<TableCall> calls = all_calls(6, 4);
  const std::vector<TableCall> large = all_calls(162, 122);
  calls.insert(calls.end(), large.begin(), large.end());
  std::vector<CallResult> expected;
  for (const TableCall &call : calls) {
    expected.push_back(run_on_ordinary_frames(call));
    ASSERT_EQ(expected.back().code, 0) << call.name;
  }
  run_side_by_side(calls.size(), [&](size_t index) {
    EXPECT_TRUE(run_on_ordinary_frames(calls[index]) == expected[index]) << calls[index].name;
  });
}

TEST_F(Threads, ReadingTheSameFrames) {
  Variety variety = mixed();
  variety.shared = 100;
  std::map<tavrine_frame_t *, std::vector<uint8_t>> before;
  const auto share = [&](OwnedFrame frame) {
    before[frame.get()] = pixels_of(frame.get());
    const std::pair<int32_t, uint32_t> key(tavrine_frame_mem_type(frame.get()),
                                           frame->pixel_format);
    variety.frames[key] = {frame.release(),
                           [](tavrine_frame_t *owned) { tavrine_frame_free(&owned); }};
  };
  for (const uint32_t format : kAllFormats) {
    OwnedFrame host = make_frame(format, 128, 80);
    fill_random(host.get(), random_);
    share(on_device(host.get()));
    share(std::move(host));
  }
  const std::vector<Job> jobs = make_jobs(variety);
  run_side_by_side(jobs, variety);
  for (const auto &[frame, pixels] : before) {
    EXPECT_EQ(pixels_of(frame), pixels);
  }
}

}  // namespace
}  // namespace tavrine::test
