// Memory for one run of a picture codec. The codecs trust whatever an allocation gives them, so
// they never get null: the run ends instead, and what it had allocated goes with it.
#pragma once

#include <cstddef>

namespace tavrine {

// Ends a codec's run from the inside. Never leaves the functions that start one.
struct CodecStopped {};

class CodecMemory {
 public:
  // Serves the codecs on this thread until it goes. `budget` is how many bytes they may ask for
  // in total; what they give back does not count.
  explicit CodecMemory(size_t budget);
  CodecMemory(const CodecMemory &) = delete;
  CodecMemory &operator=(const CodecMemory &) = delete;
  ~CodecMemory();

  // Makes a block of the run the caller's, to be released with release_kept. Null stays null.
  void *keep(void *bytes);
  static void release_kept(void *bytes);

  // What the codecs call. Both throw CodecStopped. Fresh bytes are zeros: what a broken picture
  // leaves open shows as black, not as what was in memory before.
  static void *allocate(size_t size);
  static void *resize(void *bytes, size_t size);
  static void release(void *bytes);

 private:
  struct Block;

  void spend(size_t size);
  void insert(Block *block);
  void link(Block *block);  // makes its neighbours point to it
  void remove(const Block *block);

  size_t budget_;
  Block *first_ = nullptr;
  CodecMemory *outer_;
};

}  // namespace tavrine
