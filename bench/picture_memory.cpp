#include "picture_memory.h"

#include <cstdlib>
#include <new>

namespace tavrine::bench {
namespace {

constexpr size_t kPage = 4096;
constexpr size_t kStep = 16;  // what malloc aligns to

}  // namespace

void PictureMemory::Free::operator()(uint8_t *block) const { std::free(block); }

void *PictureMemory::block(const std::string &name, size_t size, bool &is_new) {
  Block &block = blocks_[name];
  is_new = block.data == nullptr;
  if (is_new) {
    const size_t offset = seed_ == 0 ? 0 : random_() % (kPage / kStep) * kStep;
    const size_t needed = (offset + size + kPage - 1) / kPage * kPage;
    block.memory.reset(static_cast<uint8_t *>(std::aligned_alloc(kPage, needed)));
    if (block.memory == nullptr) {
      throw std::bad_alloc();
    }
    block.data = block.memory.get() + offset;
    block.size = size;
  }
  return block.data;
}

uint64_t PictureMemory::hash_of_results() const {
  uint64_t hash = 0xCBF29CE484222325;
  for (const auto &[name, block] : blocks_) {
    if (name.rfind("source", 0) == 0) {
      continue;
    }
    for (size_t i = 0; i < block.size; ++i) {
      hash = (hash ^ block.data[i]) * 0x100000001B3;
    }
  }
  return hash;
}

void *PictureMemory::provide(void *arg, const char *name, size_t size, int *is_new) {
  try {
    bool fresh = false;
    void *const data = static_cast<PictureMemory *>(arg)->block(name, size, fresh);
    *is_new = fresh ? 1 : 0;
    return data;
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

}  // namespace tavrine::bench
