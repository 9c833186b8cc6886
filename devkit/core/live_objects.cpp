#include "live_objects.h"

#include <atomic>
#include <cstddef>

#include "core_api.h"

namespace tavrine::devkit {
namespace {

std::atomic<int32_t> live_counts[4];

std::atomic<int32_t> &live_count(ObjectKind kind) { return live_counts[static_cast<size_t>(kind)]; }

}  // namespace

LiveCount::LiveCount(ObjectKind kind) : kind_(kind) { ++live_count(kind_); }
LiveCount::~LiveCount() { --live_count(kind_); }

}  // namespace tavrine::devkit

tavrine_devkit_objects_t tavrine_devkit_live_objects() {
  using namespace tavrine::devkit;
  return {live_count(ObjectKind::kFrame), live_count(ObjectKind::kBuffer),
          live_count(ObjectKind::kTensor), live_count(ObjectKind::kStorageBlock)};
}
