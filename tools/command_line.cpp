#include "command_line.h"

namespace tool {
namespace {

// "TEXT:{png,jpg}" names the choices.
std::vector<std::string> choices_of(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t start = type.find('{');
  if (start == std::string::npos) return {};
  return CLI::detail::split(type.substr(start + 1, type.find('}') - start - 1), ',');
}

OptionText text_of(const CLI::Option& option) {
  OptionText text;
  text.positional = option.get_positional();
  if (text.positional) text.names.push_back(option.get_name(true));
  for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
  text.takes_value = option.get_items_expected_max() > 0;
  text.choices = choices_of(option);
  text.description = option.get_description();
  text.standard = option.get_default_str();
  return text;
}

}  // namespace

std::vector<OptionText> options_of(const CLI::App& command) {
  std::vector<OptionText> options;
  for (const CLI::Option* option : command.get_options()) options.push_back(text_of(*option));
  return options;
}

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
  return CLI::detail::join(words, separator);
}

}  // namespace tool
