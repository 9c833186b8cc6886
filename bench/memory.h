// The memory of one row's pictures, owned by the program that measures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace tavrine::bench {

// Where a picture begins shifts some results by half: cache lines that loads cross, pages that
// alias. Each seed places the blocks differently; seed 0 places them at the start of a page.
class Memory {
 public:
  explicit Memory(uint32_t seed) : seed_(seed), random_(seed) {}

  void *block(const std::string &name, size_t size, bool &is_new);

  // Of everything that was written: of all blocks but sources.
  uint64_t hash_of_results() const;

  // As modules ask for memory; `arg` is a Memory.
  static void *provide(void *arg, const char *name, size_t size, int *is_new);

 private:
  struct Free {
    void operator()(uint8_t *block) const;
  };
  struct Block {
    std::unique_ptr<uint8_t, Free> memory;
    uint8_t *data = nullptr;
    size_t size = 0;
  };

  uint32_t seed_;
  std::mt19937 random_;
  std::map<std::string, Block> blocks_;
};

}  // namespace tavrine::bench
