#include "align_options.h"

#include "failure.h"
#include "picture_file.h"

namespace tavrine::tool {

namespace {

constexpr char kNotes[] = R"(
The points are the left eye, the right eye and the middle of the mouth as seen in the picture,
in pixels. The result shows the face upright, with the three points at fixed places:

  38,52  74,52  56,92   of 112x112; in other sizes scaled to the shorter side and centred

The picture is only rotated, scaled and shifted, so the points get as close to these places as
that allows. Bytes outside the picture are 0; NV12 and NV21 repeat the edge instead.

Example:
  tavrine-aux align photo.jpg face.png --points 412,305,489,322,441,398 --size 224x224
)";

std::array<tavrine_point2f_t, 3> points_of(const std::string &text) {
  std::array<tavrine_point2f_t, 3> points{};
  const auto numbers = parse_numbers(text);
  if (!numbers || numbers->size() != 2 * points.size()) {
    throw UsageError("--points: '" + text + "' is not X,Y,X,Y,X,Y, like 38,52,74,52,56,92");
  }
  for (size_t index = 0; index < points.size(); ++index) {
    points[index] = {(*numbers)[2 * index], (*numbers)[2 * index + 1]};
  }
  for (size_t index = 0; index < points.size(); ++index) {
    const tavrine_point2f_t &next = points[(index + 1) % points.size()];
    if (points[index].x == next.x && points[index].y == next.y) {
      throw UsageError("--points: '" + text + "' contains the same point twice");
    }
  }
  return points;
}

}  // namespace

CLI::App *add_align_command(CLI::App &app, Texts &texts, AlignTexts &align) {
  CLI::App *command =
      add_command(app, "align", "Cut out a face, upright and at a fixed size", texts);
  add_two_files(command, texts, "IN OUT",
                "The picture, and the file to write; - for standard input and output");
  command->add_option("--points", align.points, "Left eye, right eye, mouth")
      ->option_text("X,Y,X,Y,X,Y")
      ->required();
  command->add_option("--size", align.size, "Size of the result, default 112x112")
      ->option_text("WIDTHxHEIGHT");
  add_layout_option(command, texts);
  command->footer(kNotes);
  return command;
}

AlignRequest align_request(const Texts &texts, const AlignTexts &align) {
  return {texts.paths[0], Destination::at(texts.paths[1]), layout_of(texts),
          points_of(align.points), size_of_option("--size", align.size)};
}

}  // namespace tavrine::tool
