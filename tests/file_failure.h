// Makes operations on files fail on request, in all code that is linked into the test program.
#pragma once

#include <cstdint>

namespace tavrine::test {

// Makes the nth next operation of this thread (1: the next) fail once: fopen, fread, fwrite, fseek,
// ftell, fgetc or fclose, which still closes. Half of a write's bytes reach the file.
void fail_file_operation(int32_t nth);

// Cancels the request. Returns whether an operation had failed.
bool clear_failed_file_operation();

}  // namespace tavrine::test
