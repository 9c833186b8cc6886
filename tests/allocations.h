// What this program's own calls of calloc and realloc ask for, and one of them failing.
#pragma once

#include <cstddef>

namespace tavrine::test {

class Allocations {
 public:
  // Watches until it goes. The n-th call fails (1: the next); 0: none.
  explicit Allocations(int failing);
  Allocations(const Allocations &) = delete;
  Allocations &operator=(const Allocations &) = delete;
  ~Allocations();

  bool has_failed() const;
  size_t largest() const;
};

}  // namespace tavrine::test
