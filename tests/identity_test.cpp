// The texts by which the library identifies itself.
#include <cstring>
#include <sstream>

#include "tests/support.h"

extern "C" const char *version_seen_from_c();

namespace tavrine::test {
namespace {

std::string header_version() {
  return std::to_string(TAVRINE_AUX_VERSION_MAJOR) + "." +
         std::to_string(TAVRINE_AUX_VERSION_MINOR) + "." +
         std::to_string(TAVRINE_AUX_VERSION_PATCH);
}

TEST(Identity, Texts) {
  EXPECT_EQ(version_seen_from_c(), header_version());
  EXPECT_STREQ(tavrine_aux_revision(), "1b2e6d4f90a3c5e7d8f60a1b2c3d4e5f60718293");
  EXPECT_STREQ(__plugin_name(), "tavrine_aux");
}

TEST(Identity, BannerHasItsLines) {
  std::vector<std::string> lines;
  std::istringstream banner(tavrine_aux_meta());
  for (std::string line; std::getline(banner, line);) {
    lines.push_back(line);
  }
  ASSERT_EQ(lines.size(), 14U);
  EXPECT_EQ(lines[0], "TAVRINE " + header_version());
  EXPECT_EQ(lines[3], "Component    : tavrine_aux ");
  EXPECT_EQ(lines[4], std::string("Revision     : ") + tavrine_aux_revision());
  EXPECT_EQ(lines[6].rfind("System       : Linux-", 0), 0U);
#if defined(__arm__)
  EXPECT_EQ(lines[7], "Architecture : armv7");
#elif defined(__aarch64__)
  EXPECT_EQ(lines[7], "Architecture : aarch64");
#else
  EXPECT_EQ(lines[7], "Architecture : x86_64");
#endif
#if defined(__clang__)
  EXPECT_EQ(lines[9].rfind("C++ Compiler : Clang ", 0), 0U);
#else
  EXPECT_EQ(lines[9], "C++ Compiler : GNU " + std::to_string(__GNUC__) + "." +
                          std::to_string(__GNUC_MINOR__) + "." +
                          std::to_string(__GNUC_PATCHLEVEL__));
#endif
  EXPECT_EQ(lines[12].rfind("Contact      : ", 0), 0U);
  for (const size_t empty : {2U, 5U, 11U, 13U}) {
    EXPECT_EQ(lines[empty], "");
  }
}

}  // namespace
}  // namespace tavrine::test
