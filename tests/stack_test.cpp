// How much stack each operation needs. Threads on cameras often have little.
#include <pthread.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "tests/failure_scenarios.h"
#include "tests/operation_table.h"

namespace tavrine::test {
namespace {

// A sanitizer's code needs several times as much.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

constexpr size_t kPainted = size_t{1} << 20;
constexpr size_t kCeiling = size_t{64} << 10;
constexpr uint8_t kPaint = 0xC3;

void *call_function(void *function) {
  (*static_cast<const std::function<void()> *>(function))();
  return nullptr;
}

// Runs on a thread of its own, and returns the bytes of its stack that were written.
size_t stack_of(const std::function<void()> &function) {
  const std::unique_ptr<uint8_t, void (*)(void *)> stack(
      static_cast<uint8_t *>(std::aligned_alloc(4096, kPainted)), std::free);
  std::fill_n(stack.get(), kPainted, kPaint);
  pthread_attr_t attributes;
  EXPECT_EQ(pthread_attr_init(&attributes), 0);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack.get(), kPainted), 0);
  pthread_t thread;
  auto *argument = const_cast<std::function<void()> *>(&function);
  EXPECT_EQ(pthread_create(&thread, &attributes, call_function, argument), 0);
  EXPECT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
  const uint8_t *end = stack.get() + kPainted;
  return static_cast<size_t>(end - std::find_if(static_cast<const uint8_t *>(stack.get()), end,
                                                [](uint8_t byte) { return byte != kPaint; }));
}

class Stack : public LibraryTest {
 protected:
  void measure(const std::string &name, const std::function<void()> &function) {
    const size_t bytes = stack_of(function);
    EXPECT_LE(bytes, kCeiling) << name;
    if (bytes > largest_) {
      largest_ = bytes;
      largest_name_ = name;
    }
  }
  void TearDown() override {
    std::printf("[  STACK   ] at most %zu bytes, the thread's own included: %s\n", largest_,
                largest_name_.c_str());
    LibraryTest::TearDown();
  }

 private:
  size_t largest_ = 0;
  std::string largest_name_;
};

TEST_F(Stack, OfEveryOperation) {
  for (const TableCall &call : all_calls(322, 242)) {
    measure(call.name, [&] { EXPECT_EQ(run_on_ordinary_frames(call).code, 0); });
  }
}

TEST_F(Stack, OfEveryScenario) {
  for (const Scenario &scenario : failure_scenarios()) {
    const OwnedFrame in = scenario.make_input();
    measure(scenario.name, [&] {
      OwnedFrame out;
      EXPECT_EQ(scenario.run(in.get(), out.slot()), 0);
    });
  }
}

TEST_F(Stack, OfEveryPicture) {
  for (const char *folder : {"corpus/picture", "findings/picture"}) {
    const auto path = std::filesystem::path(TAVRINE_FUZZ_FOLDER) / folder;
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
      measure(entry.path(),
              [&] { const OwnedFrame frame(tavrine_frame_load(entry.path().c_str())); });
    }
  }
}

#endif

}  // namespace
}  // namespace tavrine::test
