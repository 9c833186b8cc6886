// Fails every call that an operation makes, one at a time: of the core, of the media platform, and
// allocations. The code is the documented one, slots and the caller's record are unchanged, and
// nothing is leaked.
#include <algorithm>
#include <cstring>
#include <new>
#include <set>

#include "tavrine_mpp_devkit.h"
#include "tests/failure_scenarios.h"
#include "tests/memory_failure.h"

namespace tavrine::test {
namespace {

constexpr const char *kCoreCalls[] = {
    "tavrine_frame_alloc",   "tavrine_frame_make",      "tavrine_frame_ref",
    "tavrine_frame_copy",    "tavrine_frame_duplicate", "tavrine_frame_download",
    "tavrine_frame_upload",  "tavrine_frame_roi",       "tavrine_frame_reset",
    "tavrine_buffer_make",   "tavrine_buffer_alloc",    "tavrine_buffer_set",
    "tavrine_buffer_resize", "tavrine_tensor_alloc",    "tavrine_tensor_make",
    "tavrine_tensor_roi"};

// A block that is not freed would be the platform's leak, so that call works and returns a code. A
// refused resize is left out: the engine may still own its scratch memory, which is leaked.
constexpr struct {
  const char *name;
  int32_t does;
  int32_t times = 1;
} kPlatformCalls[] = {{"HI_MPI_SYS_GetVirMemInfo", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_SYS_MmzAlloc_Cached", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_SYS_MmzFree", TAVRINE_DEVKIT_MPP_ITS_WORK},
                      {"HI_MPI_SYS_MmzFlushCache", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_SYS_MflushCache", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_IVE_CSC", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_IVE_Query", TAVRINE_DEVKIT_MPP_NOTHING},
                      {"HI_MPI_IVE_Query", TAVRINE_DEVKIT_MPP_NOTHING, 3},
                      {"HI_MPI_IVE_Query", TAVRINE_DEVKIT_MPP_ITS_WORK}};
constexpr HI_S32 kPlatformCode = static_cast<HI_S32>(0xA01D8040U);

// Objects and media memory in use.
struct Usage {
  tavrine_devkit_objects_t objects = tavrine_devkit_live_objects();
  tavrine_devkit_mmz_usage_t mmz = tavrine_devkit_live_mmz();

  bool operator==(const Usage &other) const {
    return objects.frames == other.objects.frames && objects.buffers == other.objects.buffers &&
           objects.tensors == other.objects.tensors &&
           objects.storage_blocks == other.objects.storage_blocks &&
           mmz.blocks == other.mmz.blocks && mmz.bytes == other.mmz.bytes;
  }
};

class FailureSweep : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    // Memory that the log keeps would count as leaked.
    tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
  }
  void TearDown() override {
    tavrine_devkit_mpp_clear_faults();
    LibraryTest::TearDown();
  }

  // Runs a scenario once, into an empty slot or into a frame as large as `model`. Calls order()
  // just before and withdraw() just after, and returns the latter's result.
  template <typename Order, typename Withdraw>
  bool run_once(const Scenario &scenario, const tavrine_frame_t *in, const tavrine_frame_t *model,
                bool is_given, Order order, Withdraw withdraw) {
    pixels_.clear();
    const Usage before;
    const int64_t allocations = live_allocations();
    bool was_reached = false;
    {
      OwnedFrame out;
      if (is_given) {
        out = make_frame(model->pixel_format, model->width, model->height, scenario.memory);
      }
      tavrine_frame_t *const given = out.get();
      const tavrine_frame_t record = is_given ? *given : tavrine_frame_t{};
      order();
      result_ = scenario.run(in, out.slot());
      was_reached = withdraw();
      if (is_given || result_ != 0) {
        EXPECT_EQ(out.get(), given);
      }
      if (is_given) {
        EXPECT_EQ(std::memcmp(&record, given, sizeof record), 0) << "the caller's record changed";
      }
      if (result_ == 0 && out && keeps_pixels_) {
        pixels_ = pixels_of(out.get());
      }
    }
    EXPECT_TRUE(Usage() == before) << "something was leaked";
    // The software engine keeps the memory of its queue.
    if (scenario.memory == TAVRINE_MEMORY_HOST) {
      EXPECT_EQ(live_allocations(), allocations);
    }
    return was_reached;
  }

  bool keeps_pixels_ = false;
  int32_t result_ = 0;
  std::vector<uint8_t> pixels_;
};

bool is_promised(const Scenario &scenario, const char *call, int32_t nth, int32_t result) {
  const auto find = [&](int32_t which) {
    return std::find_if(scenario.outcomes.begin(), scenario.outcomes.end(),
                        [&](const Outcome &outcome) {
                          return std::strcmp(outcome.call, call) == 0 && outcome.nth == which;
                        });
  };
  auto outcome = find(nth);
  outcome = outcome == scenario.outcomes.end() ? find(Outcome::kEvery) : outcome;
  return outcome != scenario.outcomes.end() && outcome->result == result;
}

// With a caller's frame there are fewer calls, so their numbers differ.
bool is_promised_somewhere(const Scenario &scenario, const char *call, int32_t result) {
  return std::any_of(scenario.outcomes.begin(), scenario.outcomes.end(),
                     [&](const Outcome &outcome) {
                       return std::strcmp(outcome.call, call) == 0 && outcome.result == result;
                     });
}

TEST_F(FailureSweep, FailedCoreCalls) {
  for (const Scenario &scenario : failure_scenarios()) {
    const OwnedFrame in = scenario.make_input();
    OwnedFrame model;
    ASSERT_EQ(scenario.run(in.get(), model.slot()), 0) << scenario.name;
    std::set<std::pair<std::string, int32_t>> reached;
    for (const bool is_given : {false, true}) {
      for (const char *call : kCoreCalls) {
        bool was_reached = is_given <= static_cast<bool>(model);
        for (int32_t nth = 1; was_reached; ++nth) {
          SCOPED_TRACE(std::string(scenario.name) + ": " + call + " " + std::to_string(nth) +
                       (is_given ? " into a frame" : ""));
          ASSERT_LT(nth, 100);
          was_reached = run_once(
              scenario, in.get(), model.get(), is_given,
              [&] { tavrine_devkit_inject_fault(call, nth); },
              [] { return tavrine_devkit_clear_faults() == 0; });
          if (was_reached) {
            reached.insert({call, is_given ? 0 : nth});
            EXPECT_TRUE(is_given ? is_promised_somewhere(scenario, call, result_)
                                 : is_promised(scenario, call, nth, result_))
                << "returns " << result_;
          } else {
            EXPECT_EQ(result_, 0);
          }
        }
      }
    }
    // Callers see these failures, so the calls stay.
    for (const Outcome &outcome : scenario.outcomes) {
      const int32_t nth = outcome.nth == Outcome::kEvery ? 1 : outcome.nth;
      EXPECT_EQ(reached.count({outcome.call, nth}) + reached.count({outcome.call, 0}) > 0, true)
          << scenario.name << ": " << outcome.call << " " << nth;
    }
  }
}

// When the engine fails, the CPU does the work; only lack of device memory is a failure.
TEST_F(FailureSweep, FailedPlatformCalls) {
  keeps_pixels_ = true;
  int32_t reached = 0;
  for (const Scenario &scenario : failure_scenarios()) {
    if (scenario.memory != TAVRINE_MEMORY_DEVICE) {
      continue;
    }
    const OwnedFrame in = scenario.make_input();
    const OwnedFrame picture = make_frame(in->pixel_format, in->width, in->height);
    fill_random(picture.get(), random_);
    tavrine_frame_t *device = in.get();
    ASSERT_EQ(tavrine_frame_upload(picture.get(), &device), 0);
    OwnedFrame model;
    ASSERT_EQ(scenario.run(in.get(), model.slot()), 0) << scenario.name;
    const auto nothing = [] { return true; };
    for (const bool is_given : {false, true}) {
      if (is_given && !model) {
        continue;  // has no output frame
      }
      run_once(scenario, in.get(), model.get(), is_given, nothing, nothing);
      const std::vector<uint8_t> by_engine = pixels_;
      run_once(
          scenario, in.get(), model.get(), is_given,
          [] {
            tavrine_devkit_mpp_inject_fault("HI_MPI_SYS_GetVirMemInfo", 1, 100, kPlatformCode,
                                            TAVRINE_DEVKIT_MPP_NOTHING);
          },
          [] { return tavrine_devkit_mpp_clear_faults() != 0; });
      const std::vector<uint8_t> by_cpu = pixels_;
      for (const auto &call : kPlatformCalls) {
        bool was_reached = true;
        for (int32_t nth = 1; was_reached; ++nth) {
          SCOPED_TRACE(std::string(scenario.name) + ": " + call.name + " " + std::to_string(nth));
          ASSERT_LT(nth, 100);
          was_reached = run_once(
              scenario, in.get(), model.get(), is_given,
              [&] {
                tavrine_devkit_mpp_inject_fault(call.name, nth, call.times, kPlatformCode,
                                                call.does);
              },
              [] { return tavrine_devkit_mpp_clear_faults() == 0; });
          reached += was_reached;
          const bool is_memory = std::strcmp(call.name, "HI_MPI_SYS_MmzAlloc_Cached") == 0;
          EXPECT_TRUE(result_ == 0 || (is_memory && result_ < 0)) << "returns " << result_;
          const bool is_cache = std::strstr(call.name, "Flush") != nullptr ||
                                std::strstr(call.name, "flush") != nullptr ||
                                std::strstr(call.name, "GetVir") != nullptr;
          EXPECT_TRUE(is_cache || result_ != 0 || pixels_ == by_engine || pixels_ == by_cpu);
        }
      }
    }
  }
  EXPECT_GT(reached, 100);
}

TEST_F(FailureSweep, FailedAllocations) {
  for (const Scenario &scenario : failure_scenarios()) {
    const OwnedFrame in = scenario.make_input();
    OwnedFrame model;
    ASSERT_EQ(scenario.run(in.get(), model.slot()), 0) << scenario.name;
    for (const bool is_given : {false, true}) {
      bool was_reached = is_given <= static_cast<bool>(model);
      for (int32_t nth = 1; was_reached; ++nth) {
        SCOPED_TRACE(std::string(scenario.name) + ": allocation " + std::to_string(nth));
        ASSERT_LT(nth, 500);
        was_reached = run_once(
            scenario, in.get(), model.get(), is_given, [&] { fail_allocation(nth); },
            [] { return clear_failed_allocation(); });
        EXPECT_TRUE(result_ == 0 || result_ == -1 || result_ == -4 || result_ == kInjected)
            << "returns " << result_;
      }
      EXPECT_EQ(result_, 0) << scenario.name;
    }
  }
}

// The least squares fit allocates; nothing else in the library throws.
TEST_F(FailureSweep, FailedAllocationsOfTransforms) {
  constexpr tavrine_point2f_t kFrom[3] = {{0, 0}, {4, 0}, {0, 4}};
  constexpr tavrine_point2f_t kTo[3] = {{1, 2}, {5, 3}, {0, 6}};
  for (const auto find : {tavrine_find_similarity_transform, tavrine_find_affine_transform}) {
    bool was_reached = true;
    for (int32_t nth = 1; was_reached; ++nth) {
      tavrine_matrix3x3f_t forward{}, inverse{};
      const Usage before;
      bool has_thrown = false;
      fail_allocation(nth);
      try {
        find(kFrom, kTo, &forward, &inverse);
      } catch (const std::bad_alloc &) {
        has_thrown = true;
      }
      was_reached = clear_failed_allocation();
      EXPECT_EQ(has_thrown, was_reached) << nth;
      EXPECT_TRUE(Usage() == before);
    }
  }
}

}  // namespace
}  // namespace tavrine::test
