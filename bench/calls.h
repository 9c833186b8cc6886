// An operation bound to its pictures, ready to be repeated, as each implementation does it.
#pragma once

#include <array>
#include <functional>

#include "operations.h"
#include "pictures.h"

namespace tavrine::bench {

// Returns whether the work was done. Empty where an implementation has no such operation. Uses
// the pictures, so it must not outlive them.
using Call = std::function<bool()>;

using MakeCall = Call (*)(const Operation &operation, Pictures &pictures);

// How an implementation makes the calls of each kind, in the order of Kind; null, or missing at the
// end, for those that it does not have.
using CallsByKind = std::array<MakeCall, kKindCount>;

inline Call call_of_kind(const CallsByKind &calls, const Operation &operation, Pictures &pictures) {
  const MakeCall make = calls[static_cast<size_t>(operation.kind)];
  return make != nullptr ? make(operation, pictures) : Call();
}

Call library_call(const Operation &operation, Pictures &pictures);
Call opencv_call(const Operation &operation, Pictures &pictures);
Call libyuv_call(const Operation &operation, Pictures &pictures);

}  // namespace tavrine::bench
