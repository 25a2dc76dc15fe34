#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <numeric>

#include "commands/commands.h"
#include "messages.h"
#include "pictures/signals.h"

namespace tool {
namespace {

constexpr const char* kDescription =
    "Image processing for faces and segmentation masks.\n"
    "Data goes to standard output, messages to standard error. Exit status: 0 done, 1 nothing\n"
    "found or some of many files failed, 2 bad arguments or input.";

// Edits that turn one word into the other.
size_t edit_distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t substituted = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({substituted, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

void add_commands(CLI::App& app, Session& session) {
  add_convert(app, session);
  add_rotate(app, session);
  add_resize(app, session);
  add_smooth_mask(app, session);
  add_fill_holes(app, session);
  add_morph(app, session);
  add_blur(app, session);
  add_fill_polygon(app, session);
  add_bbox(app, session);
  add_outline(app, session);
  add_sticker(app, session);
  add_forehead(app, session);
  add_landmarks(app, session);
  add_info(app);
  add_completion(app);
  add_man(app);
  add_demo(app);
}

// "; did you mean 'rotate'?" for a word that is nearly one of the names, else the hint.
std::string suggestion(const std::string& word, const std::vector<std::string>& names,
                       const std::string& hint) {
  const auto nearest = std::min_element(names.begin(), names.end(), [&](auto& a, auto& b) {
    return edit_distance(word, a) < edit_distance(word, b);
  });
  const bool close = edit_distance(word, *nearest) <= std::max<size_t>(2, nearest->size() / 3);
  return close ? "; did you mean '" + *nearest + "'?" : "; see '" + hint + "'";
}

// Names of a command's options, dashes included.
std::vector<std::string> option_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// Mistyped words, before the parser complains about what it misses because of them.
void check_words(const CLI::App& app, const std::vector<std::string>& arguments) {
  const auto word = std::find_if(arguments.begin(), arguments.end(),
                                 [](const std::string& text) { return !text.starts_with("-"); });
  if (word == arguments.end()) return;
  const std::vector<const CLI::App*> commands = app.get_subcommands({});
  const auto command = std::find_if(commands.begin(), commands.end(),
                                    [&](auto* each) { return each->get_name() == *word; });
  if (command == commands.end()) {
    std::vector<std::string> names;
    for (const CLI::App* each : commands) names.push_back(each->get_name());
    throw Failure("there is no command '" + *word + "'" +
                  suggestion(*word, names, "morvik --help"));
  }
  std::vector<std::string> names = option_names(**command);
  const std::vector<std::string> global = option_names(app);
  names.insert(names.end(), global.begin(), global.end());
  const auto end = std::find(word, arguments.end(), "--");  // names follow
  for (auto it = word + 1; it < end; ++it) {
    const std::string name = it->substr(0, it->find('='));
    if (name.starts_with("--") && std::count(names.begin(), names.end(), name) == 0) {
      throw Failure("there is no option '" + name + "'" +
                    suggestion(name, names, "morvik " + *word + " --help"));
    }
  }
}

void print_times(const Session& session) {
  for (const CallTime& call : session.calls()) {
    std::cerr << call.function << " " << std::fixed << std::setprecision(3) << call.milliseconds
              << " ms in " << call.count << (call.count == 1 ? " call\n" : " calls\n");
  }
}

int report(const std::string& sentence, int status) {
  print_message(Kind::kError, sentence);
  return status;
}

int parse_and_run(const std::vector<std::string>& arguments, Session& session) {
  CLI::App app(kDescription, "morvik");
  bool times = false;
  app.add_flag("--times", times, "Print the time of the library's functions");
  app.add_flag("--quiet,-q", session.manner.quiet, "Print no warnings, notes and progress");
  app.add_flag("--strict", session.manner.strict, "Warnings are errors: exit status 2");
  app.set_version_flag("--version", qxMorvik_version());
  app.require_subcommand(1);
  app.fallthrough();
  add_commands(app, session);
  check_words(app, arguments);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::Success& help) {
    return app.exit(help, std::cout, std::cerr);
  } catch (const CLI::ParseError& error) {
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "" : chosen.front()->get_name() + " ";
    return report(error.what() + ("; see 'morvik " + command + "--help'"), kBadInput);
  }
  if (times) print_times(session);
  return std::cout.flush() ? 0 : report("standard output cannot be written", kBadInput);
}

}  // namespace

int run(const std::vector<std::string>& arguments, Session& session) {
  try {
    return parse_and_run(arguments, session);
  } catch (const Failure& failure) {
    return report(failure.what(), failure.status());
  } catch (const std::bad_alloc&) {
    return report("out of memory", kBadInput);
  } catch (const std::exception& error) {
    return report(error.what(), kBadInput);
  }
}

}  // namespace tool

int main(int count, char** values) {
  tool::catch_signals();
  tool::Session session;
  return tool::run({values + 1, values + count}, session);
}
