#include "io/codec_memory.h"

#include <cstdlib>
#include <limits>
#include <utility>

namespace tavrine {
namespace {

thread_local CodecMemory *current = nullptr;

}  // namespace

// Precedes the bytes that the codec sees.
struct alignas(std::max_align_t) CodecMemory::Block {
  Block *previous;
  Block *next;

  void *bytes() { return this + 1; }
  static Block *of(void *bytes) { return static_cast<Block *>(bytes) - 1; }
};

CodecMemory::CodecMemory(size_t budget) : budget_(budget), outer_(std::exchange(current, this)) {}

CodecMemory::~CodecMemory() {
  current = outer_;
  while (first_ != nullptr) {
    std::free(std::exchange(first_, first_->next));
  }
}

void *CodecMemory::keep(void *bytes) {
  if (bytes != nullptr) {
    remove(Block::of(bytes));
  }
  return bytes;
}

void CodecMemory::release_kept(void *bytes) {
  if (bytes != nullptr) {
    std::free(Block::of(bytes));
  }
}

void *CodecMemory::allocate(size_t size) {
  current->spend(size);
  return current->insert(static_cast<Block *>(std::calloc(1, sizeof(Block) + size)));
}

void *CodecMemory::allocate_unset(size_t size) {
  current->spend(size);
  return current->insert(static_cast<Block *>(std::malloc(sizeof(Block) + size)));
}

void *CodecMemory::resize(void *bytes, size_t size) {
  if (bytes == nullptr) {
    return allocate(size);
  }
  current->spend(size);
  auto *block = static_cast<Block *>(std::realloc(Block::of(bytes), sizeof(Block) + size));
  if (block == nullptr) {
    throw CodecStopped();
  }
  current->link(block);
  return block->bytes();
}

void CodecMemory::release(void *bytes) {
  if (bytes != nullptr) {
    current->remove(Block::of(bytes));
    std::free(Block::of(bytes));
  }
}

void CodecMemory::spend(size_t size) {
  if (size > budget_ || size > std::numeric_limits<ptrdiff_t>::max() - sizeof(Block)) {
    throw CodecStopped();
  }
  budget_ -= size;
}

void *CodecMemory::insert(Block *block) {
  if (block == nullptr) {
    throw CodecStopped();
  }
  block->previous = nullptr;
  block->next = first_;
  link(block);
  return block->bytes();
}

void CodecMemory::link(Block *block) {
  (block->previous != nullptr ? block->previous->next : first_) = block;
  if (block->next != nullptr) {
    block->next->previous = block;
  }
}

void CodecMemory::remove(const Block *block) {
  (block->previous != nullptr ? block->previous->next : first_) = block->next;
  if (block->next != nullptr) {
    block->next->previous = block->previous;
  }
}

}  // namespace tavrine
