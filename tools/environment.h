// What every command uses.
#pragma once

#include "console.h"
#include "log_records.h"

namespace tavrine::tool {

struct Environment {
  Console &console;
  LogRecords &log;
};

}  // namespace tavrine::tool
