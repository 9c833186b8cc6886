#include "common_options.h"

#include "instruction_set.h"

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
