// Around one input: a quiet log, failures on order, and nothing left behind.
#pragma once

#include "fuzz/input.h"

namespace tavrine::fuzz {

class Watch {
 public:
  Watch();
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;
  // Aborts when objects of the core or media memory are still alive.
  ~Watch();

  // Perhaps makes a call of the core or of the media platform fail.
  static void order_failures(Input &input);
};

// Ends the process with a message unless `holds`.
void require(bool holds, const char *what);

}  // namespace tavrine::fuzz
