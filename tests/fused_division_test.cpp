// The division in vectors that the perspective warp uses on armv7, compared with the scalar one.
#include "kernels/warp/fused_division_arm-inl.h"

#include <cmath>
#include <cstdlib>
#include <random>

#include "kernels/warp/warp_perspective.h"
#include "tests/kernel_support.h"
#include "tests/path_recorder.h"

namespace tavrine::test {
namespace {

class FusedDivision : public ::testing::Test {
 protected:
  // A program can only be started on a CPU that has these instructions, or has not.
  static bool cpu_has_them() { return std::getenv("TAVRINE_TEST_WITHOUT_VFPV4") == nullptr; }

  void divide(float numerator, float divisor) {
    // Each numerator takes the way of x and the way of y.
    x_[count_ / 4][count_ % 4] = numerator;
    w_[count_ / 4][count_ % 4] = divisor;
    if (++count_ == 8) {
      compare();
      count_ = 0;
    }
  }

  void compare() {
    float32x4_t x[2], y[2], w[2];
    for (int i = 0; i < 2; ++i) {
      x[i] = vld1q_f32(x_[i]);
      y[i] = vnegq_f32(vld1q_f32(x_[1 - i]));
      w[i] = vld1q_f32(w_[i]);
    }
    const float32x4_t divisors[2] = {w[0], w[1]};
    HWY_NAMESPACE::divide_fused(x, y, divisors);
    float of_x[2][4], of_y[2][4];
    for (int i = 0; i < 2; ++i) {
      vst1q_f32(of_x[i], x[i]);
      vst1q_f32(of_y[i], y[i]);
    }
    for (int i = 0; i < 2; ++i) {
      for (int k = 0; k < 4; ++k) {
        ASSERT_EQ(of_x[i][k], x_[i][k] / w_[i][k]) << x_[i][k] << " / " << w_[i][k];
        ASSERT_EQ(of_y[i][k], -x_[1 - i][k] / w_[i][k]) << -x_[1 - i][k] << " / " << w_[i][k];
      }
    }
  }

  float x_[2][4] = {};
  float w_[2][4] = {};
  int count_ = 0;
};

// With significands a and b, quotients a / b in [1, 2) are as far from m / 2^24, m odd, as
// (2^24 a - b m) / (2^24 b), and those in [1/2, 1) likewise with 2^25: all where that difference of
// products is at most 5.
TEST_F(FusedDivision, RoundsTheHardestQuotients) {
  if (!cpu_has_them()) {
    return;
  }
  int64_t tried = 0;
  for (uint32_t b = 1U << 23; b < 1U << 24; ++b) {
    const int zeros = __builtin_ctz(b);
    const uint32_t odd = b >> zeros;
    uint32_t inverse = odd;  // modulo 2^32; each step doubles the bits, from three
    for (int i = 0; i < 4; ++i) {
      inverse *= 2 - odd * inverse;
    }
    const float w = std::ldexp(static_cast<float>(b), -23);
    for (int32_t difference = -5; difference <= 5 && zeros <= 2; ++difference) {
      const int32_t multiple = difference >> zeros;
      if (multiple % 2 == 0 || multiple * (1 << zeros) != difference) {
        continue;
      }
      for (const int bits : {24, 25}) {
        // b m = -difference modulo 2^bits
        const uint32_t period = 1U << (bits - zeros);
        uint32_t m = (0U - static_cast<uint32_t>(multiple)) * inverse & (period - 1);
        for (; m < 1U << 25; m += period) {
          const uint64_t product = static_cast<uint64_t>(b) * m +
                                   static_cast<uint64_t>(static_cast<int64_t>(difference));
          const auto a = static_cast<uint32_t>(product >> bits);
          if (m >= 1U << 24 && a >= 1U << 23 && a < 1U << 24 && (a >= b) == (bits == 24)) {
            divide(static_cast<float>(a) * 0x1p-23F, w);
            ++tried;
            if (HasFatalFailure()) {
              return;
            }
          }
        }
      }
    }
  }
  EXPECT_GT(tried, 20'000'000);
}

TEST_F(FusedDivision, EqualsTheScalarDivisionInItsRange) {
  if (!cpu_has_them()) {
    return;
  }
  std::mt19937 random(41);
  // A significand, often one with few bits, with an exponent from the limits.
  const auto number = [&](int low, int high) {
    uint32_t significand = random() >> 9;
    switch (random() % 4) {
      case 0:
        significand &= 0U - (1U << random() % 24);
        break;
      case 1:
        significand |= (1U << random() % 24) - 1;
        break;
      default:
        break;
    }
    const float magnitude = std::ldexp(static_cast<float>(significand & 0x7FFFFF) * 0x1p-23F + 1.0F,
                                       low + static_cast<int>(random() % (high - low + 1U)));
    return random() % 2 == 0 ? magnitude : -magnitude;
  };
  for (int i = 0; i < 2'000'000 && !HasFatalFailure(); ++i) {
    divide(i % 50 == 0 ? 0.0F : number(-78, 92), number(-30, 29));
  }
}

TEST_F(FusedDivision, IsTakenWhereItIsExact) {
  const struct {
    PerspectiveMatrix matrix;
    bool is_exact;
  } cases[] = {
      {{{1, 0, 0, 0, 1, 0, 0.001F, 0.001F, 1}}, true},
      {{{1, 0, 0, 0, 1, 0, -0.001F, -0.001F, -1}}, true},
      {{{1, 0, 0, 0, 1, 0, -0.1F, 0, 1}}, false},  // infinite on the way
      {{{1, 0, 0, 0, 1, 0, 0, -1, 5}}, false},     // negative below
      {{{0x1p-55F, 0, 0, 0, 1, 0, 0, 0, 1}}, true},
      {{{0x1p-56F, 0, 0, 0, 1, 0, 0, 0, 1}}, false},  // remainders may be denormal
      {{{1, 0, 0, 0, 1, 0, 0, 0, 0x1p-30F}}, true},
      {{{1, 0, 0, 0, 1, 0, 0, 0, 0x1p-31F}}, false},
      {{{1, 0, 0, 0, 1, 0, 0, 0, 0x1p30F}}, true},
      {{{1, 0, 0, 0, 1, 0, 0, 0, 0x1p31F}}, false},
  };
  GuardedPlane in(32, 32, 1);
  GuardedPlane out(32, 32, 1);
  for (const auto &test : cases) {
    const PathRecorder recorder;
    ASSERT_TRUE(warp_perspective(in.view(), test.matrix, out.view()));
    EXPECT_EQ(recorder.names(), test.is_exact && cpu_has_them() ? "warp_perspective.fused_division"
                                                                : "warp_perspective.vectors")
        << &test - cases;
  }
}

}  // namespace
}  // namespace tavrine::test
