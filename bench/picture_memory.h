// The memory of one row's pictures, owned by the program that measures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace tavrine::bench {

// Where a picture begins shifts some results by half, because loads cross cache lines and addresses
// collide modulo a page. Each seed places the blocks differently; seed 0 aligns them to pages.
class PictureMemory {
 public:
  explicit PictureMemory(uint32_t seed) : seed_(seed), random_(seed) {}

  void *block(const std::string &name, size_t size, bool &is_new);

  // Hashes everything that the operation wrote: all blocks but the sources.
  uint64_t hash_of_results() const;

  // A TavrineBenchMemory; `arg` is a PictureMemory.
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
