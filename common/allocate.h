// Scratch memory; null instead of an exception when there is none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace tavrine {

// Null when memory ran out or the address space cannot hold that many elements.
template <typename Element>
std::unique_ptr<Element[]> allocate(int64_t count) {
  if (count > static_cast<int64_t>(std::numeric_limits<ptrdiff_t>::max() / sizeof(Element))) {
    return nullptr;
  }
  return std::unique_ptr<Element[]>(new (std::nothrow) Element[static_cast<size_t>(count)]);
}

}  // namespace tavrine
