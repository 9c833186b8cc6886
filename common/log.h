// Log records: levels, the tag of each layer, and line numbers.
#pragma once

#include "tavrine_core.h"

namespace tavrine {

enum LogLevel : int32_t { kNotice = 0, kWarning = 3, kError = 4 };

inline constexpr char kTagAux[16] = "aux";
inline constexpr char kTagHost[16] = "aux.host";
inline constexpr char kTagHisvp[16] = "aux.hisvp";

}  // namespace tavrine

// Support staff search for a text together with its line number. A text with an assigned number
// passes that; the others pass the line of the call.
#define TAVRINE_LOG(level, tag, ...) tavrine_log((level), (tag), __LINE__, __VA_ARGS__)
#define TAVRINE_LOG_AT(line, level, tag, ...) tavrine_log((level), (tag), (line), __VA_ARGS__)
