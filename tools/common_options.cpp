#include "common_options.h"

#include "failure.h"
#include "instruction_set.h"
#include "numbers.h"

namespace tavrine::tool {

CLI::App *add_command(CLI::App &app, const char *name, const char *description, Texts &texts,
                      const char *verbose_help) {
  CLI::App *command = app.add_subcommand(name, description);
  command->footer("");  // not the program's
  command->add_flag("-v,--verbose", texts.verbose, verbose_help);
  command
      ->add_option("--instruction-set", texts.instruction_set,
                   "Run on this instruction set instead of the best one that the CPU has")
      ->option_text(instruction_set_names());
  return command;
}

void add_two_files(CLI::App *command, Texts &texts, const char *names, const char *description) {
  command->add_option(names, texts.paths, description)->required()->expected(2);
}

void add_picture_set(CLI::App *command, Texts &texts, const char *names, const char *description) {
  command->add_option(names, texts.paths, description)
      ->required()
      ->expected(2, CLI::detail::expected_max_vector_size);
  command->add_option("--jobs", texts.jobs, "Pictures at a time, default 1")->option_text("N");
  command->add_flag("--replace", texts.may_replace_inputs,
                    "With a folder: files may replace pictures that are read");
}

PictureSet picture_set_of(const Texts &texts) {
  PictureSet set;
  set.pictures.assign(texts.paths.begin(), texts.paths.end() - 1);
  set.output = texts.paths.back();
  set.may_replace_inputs = texts.may_replace_inputs;
  const auto jobs = parse_integer(texts.jobs);
  if (!jobs || *jobs < 1 || *jobs > kMostJobs) {
    throw UsageError("--jobs: '" + texts.jobs + "' is not a number from 1 to " +
                     std::to_string(kMostJobs));
  }
  set.jobs = *jobs;
  return set;
}

void add_layout_option(CLI::App *command, Texts &texts) {
  command
      ->add_option("--in", texts.layout,
                   "The inputs are raw frames of this format and size, like NV12:1920x1080")
      ->option_text("FORMAT:WIDTHxHEIGHT");
}

void add_device_option(CLI::App *command, Texts &texts) {
  command->add_flag("--device", texts.on_device,
                    "Work in device memory: the image engine first, the CPU for what it refuses; "
                    "-v shows which did what");
}

std::optional<RawLayout> layout_of(const Texts &texts) {
  return texts.layout.empty() ? std::nullopt : std::make_optional(parse_raw_layout(texts.layout));
}

}  // namespace tavrine::tool
