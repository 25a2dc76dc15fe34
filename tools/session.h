// One piece of work of the tool: what it needs to call the library and to speak to the user.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "morvik/morvik.h"
#include "pictures/failure.h"
#include "pictures/picture.h"

namespace tool {

// All calls of one function of the library.
struct CallTime {
  std::string function;
  int count;
  double milliseconds;
};

// What the user wants to hear.
struct Manner {
  bool quiet = false;   // nothing but errors
  bool strict = false;  // warnings are errors
};

class Session {
 public:
  Manner manner;

  Session() = default;
  // Of one file among many: messages begin with its name.
  Session(const Manner& its_manner, std::string subject)
      : manner(its_manner), subject_(std::move(subject)) {}

  // Calls the library and notes the time. The tool checks arguments beforehand, so that the
  // library's refusal is a sentence of last resort.
  template <class Call>
  uint32_t call(const char* function, Call&& library_call) {
    const auto start = std::chrono::steady_clock::now();
    const uint32_t code = library_call();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    add({function, 1, time.count()});
    if (code == MVK_BAD_ARGUMENT) throw Failure(std::string(function) + " refused its arguments");
    return code;
  }
  const std::vector<CallTime>& calls() const { return calls_; }
  void add(const CallTime& time);

  // For what was done so that the user gets a result; the same sentence is printed once a process.
  void note(const std::string& sentence) const;
  // For a result that is surely not what was meant. Throws when warnings are errors.
  void warn(const std::string& sentence) const;

 private:
  std::string subject_;
  std::vector<CallTime> calls_;
};

// Runs one command line, program name left out, and returns the exit status: 0, 1 when the
// operation found nothing or some of many files failed, 2 for bad arguments or input. Throws
// nothing.
int run(const std::vector<std::string>& arguments, Session& session);

}  // namespace tool
