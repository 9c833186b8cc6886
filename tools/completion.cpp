#include "completion.h"

#include <algorithm>

namespace tavrine::tool {

namespace {

constexpr char kHead[] =
    R"(# Completion of tavrine-aux in bash: commands, options, values that have names, and files.

_tavrine_aux() {
  local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words=''
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    command=''
  fi
  # A case without words completes the names of files.
  case "$command ${COMP_WORDS[COMP_CWORD - 1]}" in
)";

constexpr char kOptions[] = R"(    *)
      if [[ $word == -* || -z $command ]]; then
        case $command in
)";

constexpr char kFoot[] = R"(        esac
        [[ -n $words ]] || return
      fi
      ;;
  esac
  if [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _tavrine_aux tavrine-aux
)";

std::string words_of(const CLI::App &command) {
  std::string words;
  for (const CLI::App *each : command.get_subcommands({})) {
    words += each->get_name() + " ";
  }
  for (const CLI::Option *option : command.get_options()) {
    for (const std::string &name : option->get_lnames()) {
      words += "--" + name + " ";
    }
  }
  words.erase(words.find_last_not_of(' ') + 1);
  return words;
}

// The case for what follows an option that takes a value.
std::string value_case(const CLI::App &command, const CLI::Option &option) {
  const std::string pattern =
      "    '" + command.get_name() + " --" + option.get_lnames().front() + "') ";
  std::string value = option.get_option_text();
  if (value == "FILE") {
    return pattern + ";;\n";
  }
  if (value.find('|') == std::string::npos) {
    return pattern + "return ;;\n";
  }
  std::replace(value.begin(), value.end(), '|', ' ');
  return pattern + "words='" + value + "' ;;\n";
}

}  // namespace

std::string bash_completion(const CLI::App &program) {
  std::string text = kHead;
  for (const CLI::App *command : program.get_subcommands({})) {
    for (const CLI::Option *option : command->get_options()) {
      if (!option->get_lnames().empty() && option->get_items_expected_max() > 0) {
        text += value_case(*command, *option);
      }
    }
  }
  text += kOptions + ("          '') words='" + words_of(program)) + "' ;;\n";
  for (const CLI::App *command : program.get_subcommands({})) {
    text += "          " + command->get_name() + ") words='" + words_of(*command) + "' ;;\n";
  }
  return text + kFoot;
}

}  // namespace tavrine::tool
