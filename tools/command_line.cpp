#include "command_line.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "align_options.h"
#include "common_options.h"
#include "compare_options.h"
#include "failure.h"
#include "input_file.h"
#include "instruction_set.h"
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
  tavrine-aux compare expected.png result.png --tolerance 2

Environment:
  TAVRINE_INSTRUCTION_SET   as --instruction-set, for every program that uses the library
)";

constexpr char kInfoNotes[] = R"(
Examples:
  tavrine-aux info photo.jpg
  tavrine-aux info --in NV12:1920x1080 frame.nv12
)";

constexpr char kConvertNotes[] = R"(
Operations are applied in the given order and can be repeated:
  --crop 0,0,64,64 --scale 2   enlarges a corner
  --scale 2 --crop 0,0,64,64   cuts a corner out of the enlarged picture

The matrices of both warps map pixels of the result to positions in the picture; pixel centres
have integer coordinates. The result has the size after @, or the picture's.
  --warp-affine A,B,C,D,E,F    pixel (x, y) shows (A x + B y + C, D x + E y + F). Bytes outside the
                               picture are 0; NV12 and NV21 repeat the edge instead.
  --warp-perspective M0,...,M8 pixel (x, y) shows ((M0 x + M1 y + M2) / w, (M3 x + M4 y + M5) / w)
                               with w = M6 x + M7 y + M8. Outside the picture the edge is repeated.

IN can be - for standard input. OUT decides what is written:
  .jpg .jpeg .png .bmp   a picture
  .nv12 .nv21 .yu12 .grey .rgb .bgr .bgra .argb .y16
                         a raw frame, converted to that format if it has another one
  .yuv                   a raw NV12, NV21 or YU12 frame as it is, everything else as NV12
  a folder, or a name that ends in /
                         one file for each picture, of the kind that --ext names
  -                      standard output, of the kind that --ext names

Raw frames are the planes one after another, rows without padding. Their format is one of
GREY, NV12, NV21, YU12, RGB24, BGR24, BGRA, ARGB, Y16.

Examples:
  tavrine-aux convert photo.jpg --crop 100,50,640,480 --resize 320x240 small.png
  tavrine-aux convert --in NV12:1920x1080 frame.yuv --format GREY luma.png
  tavrine-aux convert --in Y16:640x480 depth.y16 --format GREY depth.png
  tavrine-aux convert photo.jpg --warp-affine -1,0,639,0,1,0@640x480 mirrored.png
  tavrine-aux convert photos/*.jpg --rotate 90 --scale 0.25 --ext jpg thumbnails/ --jobs 4

Of several pictures, those that fail do not stop the others and are reported at the end.
Exit status: 0 on success, 1 when a picture failed, 2 for a wrong command line.
)";

// Shows positionals by their names alone: the names say how many there can be.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option *option) const override {
    return option->get_name(true);
  }
  std::string make_option_opts(const CLI::Option *option) const override {
    return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
  }
};

// In the order of the command line, which the parser keeps for all options together.
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
  request.set = picture_set_of(texts);
  request.extension = extension.substr(!extension.empty() && extension.front() == '.' ? 1 : 0);
  if (!extension.empty() && !is_output_extension("." + request.extension)) {
    throw UsageError("--ext: '" + extension + "' is not one of " + output_extensions());
  }
  request.layout = layout_of(texts);
  request.operations = operations_in_order(command);
  request.on_device = texts.on_device;
  return request;
}

const CLI::App *add_info_command(CLI::App &app, Texts &texts) {
  CLI::App *command = add_command(app, "info", "Print format and size of pictures", texts);
  command
      ->add_option("PICTURE...", texts.paths,
                   "Picture files, or raw frames with --in; - for standard input")
      ->required();
  add_layout_option(command, texts);
  command->footer(kInfoNotes);
  return command;
}

CLI::App *add_convert_command(CLI::App &app, Texts &texts, std::string &extension) {
  CLI::App *command =
      add_command(app, "convert", "Crop, resize, rotate, warp and convert pictures", texts);
  add_picture_set(command, texts, "IN... OUT", "Pictures, and the file or folder to write");
  add_layout_option(command, texts);
  add_device_option(command, texts);
  for (const OperationKind &kind : operation_kinds()) {
    command->add_option(kind.option)
        ->description(kind.help)
        ->option_text(kind.value_name)
        ->group("Operations")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  command
      ->add_option("--ext", extension,
                   "Kind of the files in a folder and of standard output, default png")
      ->option_text("EXTENSION");
  command->footer(kConvertNotes);
  return command;
}

std::string command_names(const CLI::App &app) {
  std::string names;
  for (const CLI::App *command : app.get_subcommands({})) {
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  return names;
}

const CLI::App *find_command(const CLI::App &app, const std::string &name) {
  for (const CLI::App *command : app.get_subcommands({})) {
    if (command->get_name() == name) {
      return command;
    }
  }
  throw UsageError("'" + name + "' is not a command, there are " + command_names(app));
}

bool is_help(const std::string &word) { return word == "-h" || word == "--help"; }

// Before the parser, which reports what is missing before what it does not know: unknown commands
// and options are named, and help is printed wherever it is asked for. Returns whether it was.
bool is_help_printed(const CLI::App &app, int argc, const char *const *argv) {
  const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  if (words.empty()) {
    throw UsageError("a command is missing, there are " + command_names(app));
  }
  if (is_help(words[0]) || words[0] == "--version") {
    return false;  // the parser prints it
  }
  const CLI::App *command = find_command(app, words[0]);
  const auto end = std::find(words.begin(), words.end(), "--");
  if (std::find_if(words.begin(), end, is_help) != end) {
    std::fputs(command->help("tavrine-aux").c_str(), stdout);
    return true;
  }
  for (auto word = words.begin() + 1; word != end; ++word) {
    const std::string name = word->substr(0, word->find('='));
    if (word->rfind("--", 0) == 0 && command->get_option_no_throw(name) == nullptr) {
      throw UsageError("'" + name + "' is not an option of " + words[0]);
    }
  }
  return false;
}

// The parser and what it fills.
struct Parser {
  CLI::App app{"Converts pictures and raw camera frames, and makes network inputs of them.",
               "tavrine-aux"};
  Texts texts;
  std::string convert_extension;
  AlignTexts align_texts;
  TensorTexts tensor_texts;
  CompareTexts compare_texts;
  const CLI::App *info, *convert, *align, *tensor, *compare;

  Parser() {
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(kExamples);
    app.set_version_flag("--version", std::string("tavrine-aux ") + tavrine_aux_version());
    app.require_subcommand(1);
    info = add_info_command(app, texts);
    convert = add_convert_command(app, texts, convert_extension);
    align = add_align_command(app, texts, align_texts);
    tensor = add_tensor_command(app, texts, tensor_texts);
    compare = add_compare_command(app, texts, compare_texts);
    add_command(app, "version", "Print the library's version and revision", texts,
                "Also print how the library was built, and for which instruction sets");
  }
};

}  // namespace

void describe_command_line(const std::function<void(const CLI::App &)> &describe) {
  const Parser parser;
  describe(parser.app);
}

std::optional<CommandLine> read_command_line(int argc, const char *const *argv) {
  Parser parser;
  CLI::App &app = parser.app;
  const Texts &texts = parser.texts;
  if (is_help_printed(app, argc, argv)) {
    return std::nullopt;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &help) {
    app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError &error) {
    throw UsageError(error.what());
  }
  if (!texts.instruction_set.empty()) {
    take_instruction_set(texts.instruction_set);
  }
  if (parser.info->parsed()) {
    check_inputs(texts.paths);
    return CommandLine{InfoRequest{texts.paths, layout_of(texts)}, texts.verbose};
  }
  if (parser.convert->parsed()) {
    return CommandLine{convert_request(*parser.convert, texts, parser.convert_extension),
                       texts.verbose};
  }
  if (parser.align->parsed()) {
    return CommandLine{align_request(texts, parser.align_texts), texts.verbose};
  }
  if (parser.tensor->parsed()) {
    return CommandLine{tensor_request(texts, parser.tensor_texts), texts.verbose};
  }
  if (parser.compare->parsed()) {
    return CommandLine{compare_request(texts, parser.compare_texts), texts.verbose};
  }
  return CommandLine{VersionRequest{texts.verbose}, texts.verbose};
}

}  // namespace tavrine::tool
