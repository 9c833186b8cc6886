#include "command_line.h"

#include <map>

#include "align_options.h"
#include "common_options.h"
#include "failure.h"
#include "picture_file.h"
#include "tavrine_aux.h"
#include "tensor_options.h"

namespace tavrine::tool {

namespace {

constexpr char kExamples[] = R"(Examples:
  tavrine-aux info photo.jpg
  tavrine-aux convert photo.jpg --crop 100,50,640,480 --scale 0.5 small.png
  tavrine-aux convert photo.jpg --resize 1920x1080 frame.nv12
  tavrine-aux convert --in NV12:1920x1080 frame.nv12 frame.jpg
  tavrine-aux align photo.jpg face.png --points 412,305,489,322,441,398
  tavrine-aux tensor photo.jpg input.npy --size 224x224 --mean 124,116,104 --scale 58,57,57
)";

constexpr char kConvertNotes[] = R"(
Operations are applied in the order given and can be repeated:
  --crop 0,0,64,64 --scale 2   enlarges a corner
  --scale 2 --crop 0,0,64,64   cuts a corner out of the enlarged picture

The matrices of both warps map pixels of the result to positions in the picture, pixel centres
at whole numbers. The result has the picture's size, or the one behind @.
  --warp-affine A,B,C,D,E,F    pixel (x, y) shows (A x + B y + C, D x + E y + F). Outside the
                               picture all bytes are 0; with NV12 and NV21 its edge goes on.
  --warp-perspective M0,...,M8 pixel (x, y) shows ((M0 x + M1 y + M2) / w, (M3 x + M4 y + M5) / w)
                               with w = M6 x + M7 y + M8. Outside the picture its edge goes on.

OUT decides what is written:
  .jpg .jpeg .png .bmp   a picture
  .nv12 .nv21 .yu12 .grey .rgb .bgr .bgra .argb .y16
                         a raw frame, converted to that format when it has another
  .yuv                   a raw NV12, NV21 or YU12 frame as it is, everything else as NV12
  a folder, or a name that ends in /
                         one file for each picture, as --ext says

Raw frames are the planes one after another, rows without padding. Their format is one of
GREY, NV12, NV21, YU12, RGB24, BGR24, BGRA, ARGB, Y16.

Examples:
  tavrine-aux convert photo.jpg --crop 100,50,640,480 --resize 320x240 small.png
  tavrine-aux convert --in NV12:1920x1080 frame.yuv --format GREY luma.png
  tavrine-aux convert --in Y16:640x480 depth.y16 --format GREY depth.png
  tavrine-aux convert photo.jpg --warp-affine -1,0,639,0,1,0@640x480 mirrored.png
  tavrine-aux convert photos/*.jpg --rotate 90 --scale 0.25 --ext jpg thumbnails/

Exit status: 0 when all is done, 1 when a picture failed, 2 for a wrong command line.
)";

// Positionals are shown under the names that they were given, which tell their number.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option *option) const override {
    return option->get_name(true);
  }
  std::string make_option_opts(const CLI::Option *option) const override {
    return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
  }
};

// In the order of the command line, which only the parser as a whole knows.
std::vector<Operation> operations_in_order(const CLI::App &command) {
  std::map<std::string, const OperationKind *> kinds;
  for (const OperationKind &kind : operation_kinds()) {
    kinds[kind.option] = &kind;
  }
  std::map<const CLI::Option *, size_t> used;
  std::vector<Operation> operations;
  for (const CLI::Option *option : command.parse_order()) {
    const auto kind = kinds.find(option->get_name());
    if (kind != kinds.end()) {
      operations.push_back(kind->second->parse(option->results().at(used[option]++)));
    }
  }
  return operations;
}

ConvertRequest convert_request(const CLI::App &command, const Texts &texts,
                               const std::string &extension) {
  ConvertRequest request;
  request.pictures.assign(texts.paths.begin(), texts.paths.end() - 1);
  request.output = texts.paths.back();
  request.folder_extension =
      extension.substr(!extension.empty() && extension.front() == '.' ? 1 : 0);
  if (!extension.empty() && !is_output_name("name." + request.folder_extension)) {
    throw UsageError("--ext: '" + extension + "' is none of " + output_extensions());
  }
  request.layout = layout_of(texts);
  request.operations = operations_in_order(command);
  request.on_device = texts.on_device;
  return request;
}

}  // namespace

std::optional<CommandLine> read_command_line(int argc, const char *const *argv) {
  CLI::App app("Converts pictures and raw camera frames, and makes network inputs of them.",
               "tavrine-aux");
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(kExamples);
  app.set_version_flag("--version", std::string("tavrine-aux ") + tavrine_aux_version());
  app.require_subcommand(1);
  Texts texts;
  std::string extension;
  AlignTexts align_texts;
  TensorTexts tensor_texts;

  CLI::App *info = add_command(app, "info", "Print format and size of pictures", texts);
  info->add_option("PICTURE...", texts.paths, "Picture files, or raw frames with --in")->required();
  add_layout_option(info, texts);

  CLI::App *convert =
      add_command(app, "convert", "Crop, resize, turn, warp and convert pictures", texts);
  convert->add_option("IN... OUT", texts.paths, "Pictures, and the file or folder to write")
      ->required()
      ->expected(2, CLI::detail::expected_max_vector_size);
  add_layout_option(convert, texts);
  add_device_option(convert, texts);
  for (const OperationKind &kind : operation_kinds()) {
    convert->add_option(kind.option)
        ->description(kind.help)
        ->option_text(kind.value_name)
        ->group("Operations")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  convert->add_option("--ext", extension, "Kind of the files written to a folder, default png")
      ->option_text("EXTENSION");
  convert->footer(kConvertNotes);

  const CLI::App *align = add_align_command(app, texts, align_texts);
  const CLI::App *tensor = add_tensor_command(app, texts, tensor_texts);
  add_command(app, "version", "Print the library's version and revision", texts,
              "Print what the library was built with, too");

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &help) {
    app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError &error) {
    throw UsageError(error.what());
  }
  if (info->parsed()) {
    return CommandLine{InfoRequest{texts.paths, layout_of(texts)}, texts.verbose};
  }
  if (convert->parsed()) {
    return CommandLine{convert_request(*convert, texts, extension), texts.verbose};
  }
  if (align->parsed()) {
    return CommandLine{align_request(texts, align_texts), texts.verbose};
  }
  if (tensor->parsed()) {
    return CommandLine{tensor_request(texts, tensor_texts), texts.verbose};
  }
  return CommandLine{VersionRequest{texts.verbose}, texts.verbose};
}

}  // namespace tavrine::tool
