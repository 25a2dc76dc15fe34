#include <iostream>
#include <memory>
#include <sstream>

#include "command_line.h"
#include "commands/commands.h"

namespace tool {
namespace {

std::string dashed_names(const std::vector<OptionText>& options) {
  std::string names;
  for (const OptionText& option : options) {
    for (const std::string& name : option.names) {
      if (name.starts_with("-")) names += " " + name;
    }
  }
  return names;
}

// A case of what may follow each option of a command that has choices.
void write_choices(std::ostream& out, const std::string& command,
                   const std::vector<OptionText>& options) {
  for (const OptionText& option : options) {
    if (option.choices.empty()) continue;
    std::vector<std::string> keys;
    for (const std::string& name : option.names) keys.push_back("'" + command + " " + name + "'");
    out << "    " << joined(keys, "|") << ") words='" << joined(option.choices, " ") << "' ;;\n";
  }
}

void write_bash(std::ostream& out, const CLI::App& app) {
  std::vector<std::string> names;
  std::ostringstream choices;
  std::ostringstream options;
  const std::string global = dashed_names(options_of(app));
  for (const CLI::App* command : commands_of(app)) {
    names.push_back(command->get_name());
    write_choices(choices, names.back(), options_of(*command));
    options << "      " << names.back() << ") words='" << dashed_names(options_of(*command))
            << global << "' ;;\n";
  }
  out << R"(# Completion of morvik for bash: morvik completion bash
_morvik() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word != -* ]]; then
      command=$word
      break
    fi
  done
  COMPREPLY=()
  case "$command $before" in
)" << choices.str()
      << R"(  esac
  if [[ -z $words && -z $command ]]; then
    words=')"
      << joined(names, " ") << global << R"('
  elif [[ -z $words && $current == -* ]]; then
    case $command in
)" << options.str()
      << R"(    esac
  fi
  [[ -z $words ]] || COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -o default -F _morvik morvik
)";
}

// Within single quotes and the brackets of _arguments.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
      continue;
    }
    if (c == '[' || c == ']' || c == ':') result += '\\';
    result += c;
  }
  return result;
}

void write_zsh_options(std::ostream& out, const std::vector<OptionText>& options) {
  for (const OptionText& option : options) {
    for (const std::string& name : option.names) {
      if (!name.starts_with("-")) continue;
      out << " \\\n        '" << name << "[" << escaped(option.description) << "]";
      if (option.takes_value && option.choices.empty()) out << ":value:_files";
      if (!option.choices.empty()) out << ":value:(" << joined(option.choices, " ") << ")";
      out << "'";
    }
  }
}

void write_zsh(std::ostream& out, const CLI::App& app) {
  out << "#compdef morvik\n# Completion of morvik for zsh: morvik completion zsh\n"
         "_morvik() {\n  local state line\n  local -a commands\n  commands=(\n";
  for (const CLI::App* command : commands_of(app)) {
    out << "    '" << command->get_name() << ":" << escaped(command->get_description()) << "'\n";
  }
  out << "  )\n  _arguments -C";
  write_zsh_options(out, options_of(app));
  out << " \\\n        '1:command:->command' '*::argument:->argument'\n"
         "  case $state in\n    command) _describe command commands ;;\n"
         "    argument)\n      case $line[1] in\n";
  for (const CLI::App* command : commands_of(app)) {
    out << "      " << command->get_name() << ") _arguments";
    write_zsh_options(out, options_of(*command));
    out << " \\\n        '*:file:_files' ;;\n";
  }
  // As a function of the search path the file runs when it is first needed; read by hand it
  // announces itself.
  out << "      esac ;;\n  esac\n}\n"
         "if [[ $funcstack[1] == _morvik ]]; then _morvik \"$@\"; else compdef _morvik morvik; "
         "fi\n";
}

}  // namespace

void add_completion(CLI::App& app) {
  const auto shell = std::make_shared<std::string>();
  CLI::App& command = add_command(app, "completion", "Print a shell's completion of commands",
                                  "morvik completion bash >/etc/bash_completion.d/morvik");
  command.add_option("SHELL", *shell, "bash or zsh")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh"}));
  command.callback([shell, &app] {
    if (*shell == "bash") {
      write_bash(std::cout, app);
    } else {
      write_zsh(std::cout, app);
    }
  });
}

}  // namespace tool
