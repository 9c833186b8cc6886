// Counts live objects, so that tests can detect leaks.
#pragma once

namespace tavrine::devkit {

enum class ObjectKind { kFrame, kBuffer, kTensor, kStorageBlock };

// Every counted object has one as a member.
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
