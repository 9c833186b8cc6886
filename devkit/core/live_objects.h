// Counts of what is alive, so that a test can show that nothing leaked.
#pragma once

namespace tavrine::devkit {

enum class ObjectKind { kFrame, kBuffer, kTensor, kStorageBlock };

// A member of each object that is counted.
class LiveCount {
 public:
  explicit LiveCount(ObjectKind kind);
  ~LiveCount();
  LiveCount(const LiveCount &) = delete;
  LiveCount &operator=(const LiveCount &) = delete;

 private:
  const ObjectKind kind_;
};

}  // namespace tavrine::devkit
