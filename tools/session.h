// One run of the tool: what every command needs to call the library and to speak to the user.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "morvik/morvik.h"
#include "pictures/failure.h"
#include "pictures/picture.h"

namespace CLI {
class App;
}

namespace tool {

struct CallTime {
  std::string function;
  double milliseconds;
};

class Session {
 public:
  // Calls the library and notes the time. The tool checks arguments beforehand, so that the
  // library's refusal is a sentence of last resort.
  template <class Call>
  uint32_t call(const char* function, Call&& library_call) {
    const auto start = std::chrono::steady_clock::now();
    const uint32_t code = library_call();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    calls_.push_back({function, time.count()});
    if (code == MVK_BAD_ARGUMENT) throw Failure(std::string(function) + " refused its arguments");
    return code;
  }
  const std::vector<CallTime>& calls() const { return calls_; }

 private:
  std::vector<CallTime> calls_;
};

// The picture in another format, by mvk_convert().
Picture to_format(Picture picture, uint32_t format, Session& session);

// Runs one command line, program name left out, and returns the exit status: 0, 1 when the
// operation found nothing, 2 for bad arguments or input. Throws nothing.
int run(const std::vector<std::string>& arguments, Session& session);

// Adds a command with its description and an example for its help.
CLI::App& add_command(CLI::App& app, const char* name, const char* description,
                      const char* example);

void add_info(CLI::App& app);
void add_convert(CLI::App& app, Session& session);
void add_rotate(CLI::App& app, Session& session);
void add_resize(CLI::App& app, Session& session);
void add_blur(CLI::App& app, Session& session);
void add_smooth_mask(CLI::App& app, Session& session);
void add_fill_holes(CLI::App& app, Session& session);
void add_morph(CLI::App& app, Session& session);
void add_fill_polygon(CLI::App& app, Session& session);
void add_bbox(CLI::App& app, Session& session);
void add_outline(CLI::App& app, Session& session);
void add_sticker(CLI::App& app, Session& session);
void add_forehead(CLI::App& app, Session& session);
void add_landmarks(CLI::App& app, Session& session);
void add_demo(CLI::App& app);

}  // namespace tool
