#include <iostream>
#include <sstream>

#include "command_line.h"
#include "commands/commands.h"

namespace tool {
namespace {

// Text for troff: dashes stay dashes, and no line begins with a request.
std::string escaped(const std::string& text) {
  std::string result;
  bool line_starts = true;
  for (const char c : text) {
    if (line_starts && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
    line_starts = c == '\n';
  }
  return result;
}

void write_option(std::ostream& out, const OptionText& option) {
  out << ".TP\n.B " << escaped(joined(option.names, ", ")) << "\n" << escaped(option.description);
  if (!option.choices.empty()) out << " (" << escaped(joined(option.choices, ", ")) << ")";
  if (!option.standard.empty()) out << "; default " << escaped(option.standard);
  out << "\n";
}

void write_command(std::ostream& out, const CLI::App& command) {
  out << ".SS " << command.get_name() << "\n" << escaped(command.get_description()) << ".\n";
  for (const OptionText& option : options_of(command)) {
    if (option.names.back() != "--help") write_option(out, option);
  }
  const std::string footer = command.get_footer();
  const size_t example = footer.find("\n  ");
  if (example == std::string::npos) return;
  out << ".PP\n.RS\n.EX\n" << escaped(footer.substr(example + 3)) << "\n.EE\n.RE\n";
}

void write_manual(std::ostream& out, const CLI::App& app) {
  out << ".TH MORVIK 1\n.SH NAME\nmorvik \\- " << "image processing for faces and masks\n"
      << ".SH SYNOPSIS\n.B morvik\n.I COMMAND\n[\\fIOPTION\\fR]...\n.SH DESCRIPTION\n"
      << escaped(app.get_description())
      << "\n.PP\nMost commands take folders in place of files and write to a folder. The name "
         "\\fB\\-\\fR is standard input or output, and \\fB\\-\\-\\fR ends the options.\n"
         ".SH OPTIONS\n";
  for (const OptionText& option : options_of(app)) write_option(out, option);
  out << ".SH COMMANDS\n";
  for (const CLI::App* command : commands_of(app)) write_command(out, *command);
  out << ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nMessages are not coloured when it is set.\n";
}

}  // namespace

void add_man(CLI::App& app) {
  CLI::App& command = add_command(app, "man", "Print the manual page", "morvik man | man -l -");
  command.callback([&app] { write_manual(std::cout, app); });
}

}  // namespace tool
