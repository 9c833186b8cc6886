#include "api/identity.h"

#include "tavrine_aux.h"

namespace tavrine {

const char kBanner[] = "TAVRINE " TAVRINE_VERSION_TEXT
                       "\n"
                       "Copyright (c) the TAVRINE developers\n"
                       "\n"
                       "Component    : tavrine_aux \n"
                       "Revision     : " TAVRINE_REVISION_TEXT
                       "\n"
                       "\n"
                       "System       : " TAVRINE_BUILD_SYSTEM
                       "\n"
                       "Architecture : " TAVRINE_BUILD_ARCHITECTURE
                       "\n"
                       "C Compiler   : " TAVRINE_BUILD_C_COMPILER
                       "\n"
                       "C++ Compiler : " TAVRINE_BUILD_CXX_COMPILER
                       "\n"
                       "Build Config : " TAVRINE_BUILD_CONFIG
                       "\n"
                       "\n"
                       "Contact      : support@tavrine.example\n"
                       "\n";

}  // namespace tavrine

const char *tavrine_aux_meta(void) { return tavrine::kBanner; }

const char *tavrine_aux_version(void) { return TAVRINE_VERSION_TEXT; }

const char *tavrine_aux_revision(void) { return TAVRINE_REVISION_TEXT; }

const char *__plugin_name(void) { return "tavrine_aux"; }
