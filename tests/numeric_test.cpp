// Float-to-integer conversions at the values where machines differ.
#include "common/numeric.h"

#include <gtest/gtest.h>

#include <cmath>

#include "common/allocate.h"

namespace tavrine::test {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

TEST(Numeric, TruncatesAndRoundsEdgeValues) {
  const struct {
    float value;
    int32_t truncated;
    int32_t rounded;
    uint32_t truncated_unsigned;
  } cases[] = {{0.5F, 0, 1, 0},
               {-0.5F, 0, -1, 0},
               {2.5F, 2, 3, 2},
               {-2.5F, -2, -3, 0},
               {-0.49999997F, 0, 0, 0},
               {0.49999997F, 0, 0, 0},
               {2147483520.0F, 2147483520, 2147483520, 2147483520U},
               {2147483648.0F, kMax, kMax, 2147483648U},
               {-2147483648.0F, kMin, kMin, 0},
               {1e20F, kMax, kMax, 4294967295U},
               {-1e20F, kMin, kMin, 0},
               {INFINITY, kMax, kMax, 4294967295U},
               {-INFINITY, kMin, kMin, 0},
               {NAN, 0, 0, 0}};
  for (const auto &test : cases) {
    EXPECT_EQ(truncate_to_int32(test.value), test.truncated) << test.value;
    EXPECT_EQ(truncate_to_int32(double{test.value}), test.truncated) << test.value;
    EXPECT_EQ(round_to_int32(test.value), test.rounded) << test.value;
    EXPECT_EQ(truncate_to_uint32(test.value), test.truncated_unsigned) << test.value;
  }
}

TEST(Numeric, AllocationsBeyondTheAddressSpaceFail) {
  EXPECT_FALSE(allocate<int64_t>(std::numeric_limits<int64_t>::max()));
  if constexpr (sizeof(size_t) == 4) {
    EXPECT_FALSE(allocate<uint8_t>((int64_t{1} << 32) + 16)) << "truncated to 16";
  }
}

}  // namespace
}  // namespace tavrine::test
