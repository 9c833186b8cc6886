// The log of the library, kept for the texts of exceptions instead of written to standard error.
#pragma once

#include <string>

namespace tavrine::python {

// Collects the records of every thread from now on.
void collect_log_records();

// Forgets this thread's record; each call starts with it.
void forget_log_record();

// This thread's most severe record since then, the latest of several: "text (tag:line)". Empty if
// there is none but notices.
std::string log_record_text();

}  // namespace tavrine::python
