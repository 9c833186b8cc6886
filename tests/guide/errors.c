/* Errors and logs */
#include "check.h"

int main(void) {
  char text[500] = "";
  tavrine_frame_t *nv12 = check_frame(TAVRINE_FORMAT_NV12, 64, 64, 0);
  tavrine_frame_t *other = check_frame(TAVRINE_FORMAT_GREY, 64, 64, 0);
  FILE *file = tmpfile();
  CHECK(file != NULL);
  log_to(file);
  const int32_t status = tavrine_frame_resize(nv12, &other, 32, 32);
  tavrine_frame_t *same = NULL;
  CHECK(tavrine_frame_cvt_color(nv12, &same, TAVRINE_FORMAT_NV12) == TAVRINE_OK); /* a notice */
  tavrine_log_set_sink(NULL, NULL);
  rewind(file);
  CHECK(fread(text, 1, sizeof text - 1, file) > 0 && strncmp(text, "aux: [", 6) == 0);
  CHECK(strchr(text, '\n') != NULL && strstr(text, "cvt_color") == NULL);
  CHECK(strcmp(status_text(status), "a bad argument, or a destination that does not match") == 0);
  CHECK(strcmp(status_text(-12345), "a code of the SDK core") == 0);
  fclose(file);
  tavrine_frame_free(&same);
  tavrine_frame_free(&other);
  tavrine_frame_free(&nv12);
  check_nothing_lives();
  return 0;
}
