// The library also logs notices, such as the shortcuts it takes. These programs show only
// warnings and errors.
#pragma once

#include <cstdio>

#include "tavrine_devkit.h"

namespace tavrine::demo {

inline void show_only_problems() {
  tavrine_log_set_sink(
      [](void *, int32_t level, const char *, int32_t, const char *text) {
        constexpr int32_t kWarning = 3;
        if (level >= kWarning) {
          std::fputs(text, stderr);
        }
      },
      nullptr);
}

}  // namespace tavrine::demo
