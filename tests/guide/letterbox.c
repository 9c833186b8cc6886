/* A centred letterbox */
#include "check.h"

int main(void) {
  const struct {
    int32_t width, height, rows, columns, first_row, first_column;
  } cases[] = {{192, 108, 96, 96, 21, 0},
               {108, 192, 96, 96, 0, 21},
               {100, 100, 50, 100, 0, 25},
               {96, 96, 96, 96, 0, 0}};
  tavrine_buffer_t *workspace = NULL;
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    tavrine_frame_t *picture =
        check_frame(TAVRINE_FORMAT_RGB24, cases[i].width, cases[i].height, 255);
    tavrine_tensor_t *tensor =
        check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, cases[i].rows, cases[i].columns);
    struct letterbox used;
    CHECK(fill_letterbox(picture, tensor, &workspace, &used) == TAVRINE_OK);
    for (int32_t row = 0; row < cases[i].rows; ++row) {
      for (int32_t column = 0; column < cases[i].columns; ++column) {
        /* As much padding on one side as on the other. */
        const int is_picture = row >= cases[i].first_row && column >= cases[i].first_column &&
                               row < cases[i].rows - cases[i].first_row &&
                               column < cases[i].columns - cases[i].first_column;
        CHECK((check_element(tensor, 0, row, column) != 0) == is_picture);
      }
    }
    const tavrine_point2f_t corner = {(float)cases[i].first_column, (float)cases[i].first_row};
    const tavrine_point2f_t found = point_in_picture(&used, corner);
    CHECK(check_near(found.x, 0, 0.01F) && check_near(found.y, 0, 0.01F));
    tavrine_frame_free(&picture);
    tavrine_tensor_free(&tensor);
  }
  tavrine_buffer_free(&workspace);
  check_nothing_lives();
  return 0;
}
