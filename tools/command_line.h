// What the commands and their options are, for completion and manual.
#pragma once

#include <string>
#include <vector>

#include "options.h"

namespace tool {

struct OptionText {
  std::vector<std::string> names;  // dashes included; a positional argument has one without
  bool positional;
  bool takes_value;
  std::vector<std::string> choices;
  std::string description;
  std::string standard;  // the default, if it is told
};

std::vector<OptionText> options_of(const CLI::App& command);
std::vector<const CLI::App*> commands_of(const CLI::App& app);
std::string joined(const std::vector<std::string>& words, const std::string& separator);

}  // namespace tool
