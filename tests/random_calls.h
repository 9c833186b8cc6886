// Random calls of the public operations. A seed makes the same calls with the same results on
// every machine, in every order and from every thread.
#pragma once

#include <map>
#include <memory>

#include "tests/support.h"

namespace tavrine::test {

// FNV-1a of the results of calls.
class Digest {
 public:
  void add(const void *data, size_t size);
  void add(int32_t value) { add(&value, sizeof(value)); }
  // All NaNs are equal: their bits depend on the machine.
  void add(float value);
  // A null frame adds nothing.
  void add(const tavrine_frame_t *frame);

  uint64_t value() const { return value_; }

 private:
  uint64_t value_ = 0xcbf29ce484222325;
};

using SharedFrame = std::shared_ptr<tavrine_frame_t>;
// By memory type and format.
using SharedFrames = std::map<std::pair<int32_t, uint32_t>, SharedFrame>;

// The base case is small tight host frames of even size, made for one call. Each number is the
// percentage of cases that differ in this way.
struct Variety {
  int device = 0;    // calls on device memory
  int engine = 0;    // of these, calls that the image engine can take
  int any_size = 0;  // frames whose size may be odd
  int padded = 0;    // frames inside a larger one
  int repeated = 0;  // destinations that are filled twice
  int failing = 0;   // calls in which the core or the platform fails
  int shared = 0;    // sources taken from `frames`
  SharedFrames frames;
  std::string folder;  // for operations on files
};

// All random values come from the generator itself: standard distributions differ by library.
class RandomSource {
 public:
  explicit RandomSource(uint32_t seed, const Variety &variety) : random_(seed), variety_(variety) {}

  // Chooses what a call's frames have in common.
  void begin_call();

  int between(int minimum, int maximum) {
    return minimum + static_cast<int>(random_() % static_cast<uint32_t>(maximum - minimum + 1));
  }
  // 0 percent takes no number from the generator.
  bool chance(int percent) { return percent > 0 && between(1, 100) <= percent; }
  float real(float magnitude) {
    return (static_cast<float>(between(0, 20000)) - 10000) * magnitude / 10000;
  }
  float odd_number();
  template <typename T, size_t kCount>
  T one_of(const T (&choices)[kCount]) {
    return choices[random_() % kCount];
  }

  int32_t memory() const { return memory_; }
  int32_t tensor_memory() const { return tensor_memory_; }
  bool is_for_engine() const { return is_for_engine_; }
  const Variety &variety() const { return variety_; }

  // A frame to write, and one to read, which other threads may be reading.
  OwnedFrame frame(uint32_t format);
  SharedFrame input(uint32_t format);

  // Runs the operation, sometimes with an injected failure.
  template <typename Operation>
  int32_t attempt(Operation operation) {
    const bool is_failing = chance(variety_.failing);
    if (is_failing) {
      inject_failure();
    }
    const int32_t status = operation();
    if (is_failing) {
      clear_failures();
    }
    return status;
  }

 private:
  void inject_failure();
  static void clear_failures();

  Random random_;
  const Variety &variety_;
  int32_t memory_ = TAVRINE_MEMORY_HOST;
  int32_t tensor_memory_ = TAVRINE_MEMORY_HOST;
  bool is_for_engine_ = false;
};

struct RandomOperation {
  const char *name;
  int calls;  // in a sample
  void (*call)(RandomSource &source, Digest &digest);
};

// All operations except those on files.
const std::vector<RandomOperation> &random_operations();

// Files, and the library's texts.
const std::vector<RandomOperation> &random_file_operations();

// A folder for them.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;
  ~TemporaryFolder();

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

// Makes one call and returns the digest of its results.
uint64_t digest_of_call(const RandomOperation &operation, uint32_t seed, const Variety &variety);

}  // namespace tavrine::test
