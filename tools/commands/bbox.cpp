#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "reading.h"

namespace tool {
namespace {

struct BoxOptions {
  std::string input;
  uint32_t level = 128;
  bool json = false;
  ReadOptions read;
  MaskOptions mask;
};

void print(const MKRect& box, bool json) {
  const char* separator = json ? R"(, ")" : " ";
  const auto name = [&](const char* text) {
    return json ? std::string(text) + R"(": )" : std::string();
  };
  std::cout << (json ? "{\"" : "") << name("left") << box.left << separator << name("top")
            << box.top << separator << name("right") << box.right << separator << name("bottom")
            << box.bottom << (json ? "}\n" : "\n");
}

void run_bbox(const BoxOptions& options, Session& session) {
  const Picture mask =
      options.mask.as_mask(options.read.read(options.input, session).pixels, session);
  MKRect box{};
  if (session.call("mvk_get_mask_roi", [&] {
        return mvk_get_mask_roi(mask.view().record(), &box, options.level);
      }) == MVK_NOT_FOUND) {
    throw Failure("no pixel is " + std::to_string(options.level) + " or more" + advice_on(mask),
                  kNothingFound);
  }
  print(box, options.json);
}

}  // namespace

void add_bbox(CLI::App& app, Session& session) {
  const auto options = std::make_shared<BoxOptions>();
  CLI::App& command = add_command(app, "bbox", "Print the box around a mask: left top right bottom",
                                  "morvik bbox mask.png --level 128");
  command.add_option("MASK", options->input, "Picture or raw frame; - is standard input")
      ->required();
  command.add_option("--level", options->level, "Pixels at or above it count")
      ->check(CLI::Range(1, 254))
      ->capture_default_str();
  command.add_flag("--json", options->json, "Print a JSON object");
  options->read.add_to(command, "MASK");
  options->mask.add_to(command);
  command.callback([options, &session] { run_bbox(*options, session); });
}

}  // namespace tool
