// Around one input: silences the log, injects failures, and checks for leaks.
#pragma once

#include "fuzz/input.h"

namespace tavrine::fuzz {

class Watch {
 public:
  Watch();
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;
  // Aborts if objects of the core or media memory are still alive.
  ~Watch();

  // Makes a call of the core or of the media platform fail, if the input says so.
  static void order_failures(Input &input);
};

// Aborts with a message unless `holds`.
void require(bool holds, const char *what);

}  // namespace tavrine::fuzz
