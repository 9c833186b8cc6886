// Log records of this library: the tags of its layers, and the line that goes with a text.
#pragma once

#include "tavrine_core.h"

namespace tavrine {

enum LogLevel : int32_t { kNotice = 0, kWarning = 3, kError = 4 };

inline constexpr char kTagAux[16] = "aux";
inline constexpr char kTagHost[16] = "aux.host";
inline constexpr char kTagHisvp[16] = "aux.hisvp";

}  // namespace tavrine

// Support staff search for text and line together: texts with an assigned line pass it,
// the others the line of the call.
#define TAVRINE_LOG(level, tag, ...) tavrine_log((level), (tag), __LINE__, __VA_ARGS__)
#define TAVRINE_LOG_AT(line, level, tag, ...) tavrine_log((level), (tag), (line), __VA_ARGS__)
