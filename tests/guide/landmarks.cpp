// Five landmarks to three points
#include "check.h"

int main() {
  const auto three = three_of_five({{{38, 52}, {74, 52}, {56, 72}, {41, 92}, {71, 92}}});
  CHECK(three[0].x == 38 && three[1].x == 74 && three[2].x == 56 && three[2].y == 92);
}
