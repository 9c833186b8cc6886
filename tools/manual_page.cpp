#include "manual_page.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

namespace tavrine::tool {

namespace {

constexpr size_t kSourceWidth = 78;

bool is_command(const std::string &line) {
  return !line.empty() && (line[0] == '.' || line[0] == '\'');
}

// Text that is shown as it stands: no character is a command, and a hyphen can be copied.
std::string literal(const std::string &text) {
  std::string result = is_command(text) ? "\\&" : "";
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return result;
}

// Prose, in short lines: the hyphens of options are literal, others may be broken at.
std::string prose(const std::string &text) {
  std::istringstream words(text);
  std::string result;
  size_t column = 0;
  for (std::string word; words >> word;) {
    word = word[0] == '-' || is_command(word) ? literal(word) : word;
    if (column > 0) {
      const bool fits = column + 1 + word.size() <= kSourceWidth;
      result += fits ? ' ' : '\n';
      column = fits ? column + 1 : 0;
    }
    result += word;
    column += word.size();
  }
  return result;
}

std::string upper_case(std::string text) {
  for (char &c : text) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return text;
}

std::string section(const std::string &name) { return ".SH " + upper_case(name) + "\n"; }

std::string bold(const std::string &text) { return "\\fB" + literal(text) + "\\fR"; }
std::string italic(const std::string &text) { return "\\fI" + literal(text) + "\\fR"; }

// "-v, --verbose" or "--size WIDTHxHEIGHT".
std::string option_names(const CLI::Option &option) {
  std::string names;
  for (const std::string &name : option.get_snames()) {
    names += (names.empty() ? "" : ", ") + bold("-" + name);
  }
  for (const std::string &name : option.get_lnames()) {
    names += (names.empty() ? "" : ", ") + bold("--" + name);
  }
  const std::string &value = option.get_option_text();
  return value.empty() ? names : names + " " + italic(value);
}

std::string options_of_group(const CLI::App &command, const std::string &group) {
  std::string text = section(group);
  for (const CLI::Option *option : command.get_options()) {
    if (!option->get_positional() && option->get_group() == group) {
      text += ".TP\n" + option_names(*option) + "\n" + prose(option->get_description()) +
              (option->get_required() ? " (required)" : "") + "\n";
    }
  }
  return text;
}

std::vector<std::string> groups_of(const CLI::App &command) {
  std::vector<std::string> groups;
  for (const CLI::Option *option : command.get_options()) {
    const std::string &group = option->get_group();
    if (!option->get_positional() &&
        std::find(groups.begin(), groups.end(), group) == groups.end()) {
      groups.push_back(group);
    }
  }
  return groups;
}

// What follows the options in --help. Indented lines are kept as they are, other lines are filled,
// and "Examples:", "Environment:" and "Exit status:" begin sections.
class Notes {
 public:
  explicit Notes(const std::string &footer) {
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
      add(line);
    }
    end_block();
  }

  const std::string &text() const { return text_; }

 private:
  void add(const std::string &line) {
    if (line.empty()) {
      end_block();
    } else if (line == "Examples:" || line == "Example:") {
      begin_section("Examples");
    } else if (line == "Environment:") {
      begin_section("Environment");
    } else if (line.rfind("Exit status:", 0) == 0) {
      begin_section("Exit status");
      add_prose(line.substr(line.find(':') + 1));
    } else if (line[0] == ' ') {
      add_literal(line.substr(std::min<size_t>(2, line.size())));
    } else {
      add_prose(line);
    }
  }

  void begin_section(const std::string &name) {
    end_block();
    text_ += section(name);
    is_in_section_ = true;
    is_first_ = true;
  }

  void begin_block(const char *macro) {
    end_block();
    if (!is_in_section_) {
      begin_section("Notes");
    }
    text_ += is_first_ ? "" : ".PP\n";
    text_ += macro;
    is_first_ = false;
  }

  void add_prose(const std::string &line) {
    if (block_ != Block::kProse) {
      begin_block("");
      block_ = Block::kProse;
    }
    text_ += prose(line) + "\n";
  }

  void add_literal(const std::string &line) {
    if (block_ != Block::kLiteral) {
      begin_block(".EX\n");
      block_ = Block::kLiteral;
    }
    text_ += literal(line) + "\n";
  }

  void end_block() {
    text_ += block_ == Block::kLiteral ? ".EE\n" : "";
    block_ = Block::kNone;
  }

  enum class Block { kNone, kProse, kLiteral };
  Block block_ = Block::kNone;
  bool is_in_section_ = false;
  bool is_first_ = true;  // of its section
  std::string text_;
};

std::string positionals(const CLI::App &command) {
  std::string names;
  for (const CLI::Option *option : command.get_options()) {
    if (option->get_positional()) {
      names += " " + italic(option->get_name(true));
    }
  }
  return names;
}

std::string synopsis(const CLI::App &command, const CLI::App *program) {
  if (program == nullptr) {
    return bold(command.get_name()) + " " + italic("COMMAND") + " [" + italic("OPTION") + "]... [" +
           italic("FILE") + "]...\n";
  }
  return bold(program->get_name() + " " + command.get_name()) + " [" + italic("OPTION") + "]..." +
         positionals(command) + "\n";
}

std::string description(const CLI::App &command) {
  std::string text = command.get_description();
  text += text.back() == '.' ? "" : ".";
  text = prose(text) + "\n";
  for (const CLI::Option *option : command.get_options()) {
    if (option->get_positional()) {
      text +=
          ".TP\n" + italic(option->get_name(true)) + "\n" + prose(option->get_description()) + "\n";
    }
  }
  return text;
}

std::string list_of_commands(const CLI::App &program) {
  std::string text = section("Commands");
  for (const CLI::App *command : program.get_subcommands({})) {
    text += ".TP\n" + bold(command->get_name()) + "\n" + prose(command->get_description()) + "\n";
  }
  return text;
}

std::string see_also(const CLI::App &command, const CLI::App *program) {
  std::vector<std::string> names;
  if (program != nullptr) {
    names.push_back(program->get_name());
  }
  const CLI::App &parent = program != nullptr ? *program : command;
  for (const CLI::App *other : parent.get_subcommands({})) {
    if (other != &command) {
      names.push_back(manual_page_name(*other, &parent));
    }
  }
  std::string text = section("See also");
  for (const std::string &name : names) {
    text += ".BR " + literal(name) + " (1)" + (name == names.back() ? "" : ",") + "\n";
  }
  return text;
}

}  // namespace

std::string manual_page_name(const CLI::App &command, const CLI::App *program) {
  return program == nullptr ? command.get_name() : program->get_name() + "-" + command.get_name();
}

std::string manual_page(const CLI::App &command, const CLI::App *program, const Release &release) {
  const std::string name = manual_page_name(command, program);
  std::string summary = command.get_description();
  summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
  summary.erase(summary.find_last_not_of('.') + 1);

  std::string page = ".TH " + upper_case(name) + " 1 " + release.date + " \"tavrine-aux " +
                     release.version + "\" \"User Commands\"\n";
  page += section("Name") + prose(name + " \\- " + summary) + "\n";
  page += section("Synopsis") + synopsis(command, program);
  page += section("Description") + description(command);
  page += program == nullptr ? list_of_commands(command) : "";
  for (const std::string &group : groups_of(command)) {
    page += options_of_group(command, group);
  }
  page += Notes(command.get_footer()).text();
  return page + see_also(command, program);
}

}  // namespace tavrine::tool
