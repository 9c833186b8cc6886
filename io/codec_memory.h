// Memory for one run of a picture codec. The codecs do not check allocations. Failure therefore
// throws CodecStopped, and the destructor frees what the run had allocated.
#pragma once

#include <cstddef>

namespace tavrine {

// Ends a codec's run from the inside. The functions that start a run catch it.
struct CodecStopped {};

class CodecMemory {
 public:
  // Serves the codecs on this thread until it is destroyed. `budget` is how many bytes they may
  // allocate in total; freeing does not increase it again.
  explicit CodecMemory(size_t budget);
  CodecMemory(const CodecMemory &) = delete;
  CodecMemory &operator=(const CodecMemory &) = delete;
  ~CodecMemory();

  // Gives a block of the run to the caller, who frees it with release_kept. Null stays null.
  void *keep(void *bytes);
  static void release_kept(void *bytes);

  // What the codecs call. allocate and resize throw CodecStopped. Memory of allocate is zeroed, so
  // that pixels a broken picture leaves out are black and never other data of the process; that of
  // allocate_unset is for pixels that are all written.
  static void *allocate(size_t size);
  static void *allocate_unset(size_t size);
  static void *resize(void *bytes, size_t size);
  static void release(void *bytes);

 private:
  struct Block;

  void spend(size_t size);
  void *insert(Block *block);
  void link(Block *block);  // lets its neighbours point to it
  void remove(const Block *block);

  size_t budget_;
  Block *first_ = nullptr;
  CodecMemory *outer_;
};

}  // namespace tavrine
