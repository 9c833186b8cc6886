// Errors and logs
#include "check.h"

int main() {
  const tavrine::Frame picture(check_frame(TAVRINE_FORMAT_RGB24, 320, 240, 7));
  CHECK(save_thumbnail(picture, "thumbnail.png") && remove("thumbnail.png") == 0);
  CHECK(!save_thumbnail(picture, "thumbnail.gif"));
}
