// Why the tool gives up: a plain sentence for the user and the program's exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

inline constexpr int kNothingFound = 1;
inline constexpr int kSomeFailed = 1;  // of many files
inline constexpr int kBadInput = 2;

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& sentence, int status = kBadInput)
      : std::runtime_error(sentence), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

}  // namespace tool
