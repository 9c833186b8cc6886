// Threads and memory
#include "check.h"

int main() {
  tavrine::Frame camera(check_frame(TAVRINE_FORMAT_NV12, 640, 480, 128));
  check_paint(camera.get(), 320, 0, 320, 480, 50);
  Worker left = {camera, {0, 0, 160, 240}, {100, 100}, {}};
  Worker right = {camera, {320, 2, 160, 240}, {100, 100}, {}};
  std::thread threads[] = {start(left), start(right)};
  for (std::thread &thread : threads) {
    thread.join();
  }
  CHECK(left.status == tavrine::Status::kOk && left.result.rows()[0][0] == 128);
  CHECK(right.status == tavrine::Status::kOk && right.result.rows()[0][0] == 50);
}
