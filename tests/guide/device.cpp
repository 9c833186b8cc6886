// Device frames
#include "check.h"

int main() {
  const tavrine::Frame white(check_frame(TAVRINE_FORMAT_RGB24, 64, 64, 255));
  CHECK(nv12_by_engine(white).rows()[63][63] == 235);
}
