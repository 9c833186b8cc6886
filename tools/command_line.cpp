#include "command_line.h"

#include <CLI/CLI.hpp>
#include <map>

#include "failure.h"
#include "picture_file.h"
#include "pixel_format.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

constexpr char kExamples[] = R"(Examples:
  tavrine-aux info photo.jpg
  tavrine-aux convert photo.jpg --crop 100,50,640,480 --scale 0.5 small.png
  tavrine-aux convert photo.jpg --resize 1920x1080 frame.nv12
  tavrine-aux convert --in NV12:1920x1080 frame.nv12 frame.jpg
)";

constexpr char kConvertNotes[] = R"(
Operations are applied in the order given and can be repeated:
  --crop 0,0,64,64 --scale 2   enlarges a corner
  --scale 2 --crop 0,0,64,64   cuts a corner out of the enlarged picture

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
  tavrine-aux convert photos/*.jpg --scale 0.25 --ext jpg thumbnails/

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

// Texts that the parser stores: options keep their value as it was written.
struct Texts {
  std::vector<std::string> paths;
  std::string layout;
  std::string extension;
  bool verbose = false;
};

std::optional<RawLayout> layout_of(const Texts &texts) {
  return texts.layout.empty() ? std::nullopt : std::make_optional(parse_raw_layout(texts.layout));
}

CLI::App *add_command(CLI::App &app, const char *name, const char *description, Texts &texts,
                      const char *verbose_help) {
  CLI::App *command = app.add_subcommand(name, description);
  command->add_flag("-v,--verbose", texts.verbose, verbose_help);
  return command;
}

void add_layout_option(CLI::App *command, Texts &texts) {
  command
      ->add_option("--in", texts.layout,
                   "The inputs are raw frames of this format and size, like NV12:1920x1080")
      ->option_text("FORMAT:WIDTHxHEIGHT");
}

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

ConvertRequest convert_request(const CLI::App &command, const Texts &texts) {
  ConvertRequest request;
  request.pictures.assign(texts.paths.begin(), texts.paths.end() - 1);
  request.output = texts.paths.back();
  request.folder_extension =
      texts.extension.substr(!texts.extension.empty() && texts.extension.front() == '.' ? 1 : 0);
  if (!texts.extension.empty() && !is_output_name("name." + request.folder_extension)) {
    throw UsageError("--ext: '" + texts.extension + "' is none of " + output_extensions());
  }
  request.layout = layout_of(texts);
  request.operations = operations_in_order(command);
  return request;
}

}  // namespace

std::optional<CommandLine> read_command_line(int argc, const char *const *argv) {
  CLI::App app("Crops, resizes and converts pictures and raw camera frames.", "tavrine-aux");
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(kExamples);
  app.set_version_flag("--version", std::string("tavrine-aux ") + tavrine_aux_version());
  app.require_subcommand(1);
  Texts texts;

  CLI::App *info = add_command(app, "info", "Print format and size of pictures", texts,
                               "Show the library's notices");
  info->add_option("PICTURE...", texts.paths, "Picture files, or raw frames with --in")->required();
  add_layout_option(info, texts);

  CLI::App *convert = add_command(app, "convert", "Crop, resize and convert pictures", texts,
                                  "Show the library's notices");
  convert->add_option("IN... OUT", texts.paths, "Pictures, and the file or folder to write")
      ->required()
      ->expected(2, CLI::detail::expected_max_vector_size);
  add_layout_option(convert, texts);
  for (const OperationKind &kind : operation_kinds()) {
    convert->add_option(kind.option)
        ->description(kind.help)
        ->option_text(kind.value_name)
        ->group("Operations")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  convert
      ->add_option("--ext", texts.extension, "Kind of the files written to a folder, default png")
      ->option_text("EXTENSION");
  convert->footer(kConvertNotes);

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
    return CommandLine{convert_request(*convert, texts), texts.verbose};
  }
  return CommandLine{VersionRequest{texts.verbose}, texts.verbose};
}

}  // namespace tavrine::tool
