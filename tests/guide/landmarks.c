/* Five landmarks to three points */
#include "check.h"

int main(void) {
  static const tavrine_point2f_t upright[5] = {{38, 52}, {74, 52}, {56, 72}, {41, 92}, {71, 92}};
  tavrine_point2f_t seen[5];
  tavrine_point2f_t from[3];
  tavrine_point2f_t to[3];
  tavrine_matrix3x3f_t forward;
  tavrine_matrix3x3f_t inverse;
  for (int i = 0; i < 5; ++i) { /* tilted, enlarged and moved */
    seen[i].x = 2 * upright[i].x + upright[i].y + 300;
    seen[i].y = -upright[i].x + 2 * upright[i].y + 200;
  }
  three_of_five(seen, from);
  three_of_five(upright, to);
  CHECK(to[2].x == 56 && to[2].y == 92);
  tavrine_find_similarity_transform(from, to, &forward, &inverse);
  const float *m = forward.m;
  for (int i = 0; i < 5; ++i) {
    CHECK(check_near(m[0] * seen[i].x + m[1] * seen[i].y + m[2], upright[i].x, 0.01F));
    CHECK(check_near(m[3] * seen[i].x + m[4] * seen[i].y + m[5], upright[i].y, 0.01F));
  }
  return 0;
}
