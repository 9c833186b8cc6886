#include "compare_options.h"

#include "failure.h"
#include "input_file.h"

namespace tavrine::tool {

namespace {

constexpr char kNotes[] = R"(
Both pictures must have the same size and pixel format. Every sample of all planes is compared:
a byte, or two bytes for Y16. The picture of the differences is GREY; each pixel shows the largest
difference of its samples, scaled so that the largest of all is white.

Examples:
  tavrine-aux compare expected.png result.png --tolerance 2
  tavrine-aux compare --in NV12:1920x1080 a.nv12 b.nv12 --picture differences.png

Exit status: 0 when no difference is above the tolerance, or none was given; 1 when one is, or
when the pictures cannot be compared; 2 for a wrong command line.
)";

}  // namespace

CLI::App *add_compare_command(CLI::App &app, Texts &texts, CompareTexts &compare) {
  CLI::App *command = add_command(app, "compare", "Print how much two pictures differ", texts);
  add_two_files(command, texts, "A B", "The pictures; - for standard input");
  command->add_option("--tolerance", compare.tolerance, "Largest difference that is accepted")
      ->option_text("NUMBER");
  command->add_option("--picture", compare.picture, "Write a picture of the differences")
      ->option_text("FILE");
  add_layout_option(command, texts);
  command->footer(kNotes);
  return command;
}

CompareRequest compare_request(const Texts &texts, const CompareTexts &compare) {
  check_inputs(texts.paths);
  CompareRequest request{texts.paths[0], texts.paths[1], layout_of(texts), {}, {}};
  if (!compare.tolerance.empty()) {
    request.tolerance = parse_integer(compare.tolerance);
    if (!request.tolerance || *request.tolerance < 0) {
      throw UsageError("--tolerance: '" + compare.tolerance +
                       "' is not an integer of at least 0, like 2");
    }
  }
  if (!compare.picture.empty()) {
    request.output = Destination::at(compare.picture);
  }
  return request;
}

}  // namespace tavrine::tool
