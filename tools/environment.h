// What every command works with.
#pragma once

#include "console.h"
#include "log_records.h"

namespace tavrine::tool {

struct Environment {
  Console &console;
  LogRecords &log;
};

}  // namespace tavrine::tool
