// Signals that end the process: temporary files vanish with it, and a run may finish what it has in
// hand.
#pragma once

#include <string>

namespace tool {

// Call once, at the start. A file that grows over the shell's limit becomes a failed write.
void catch_signals();

// While one of these lives the first signal to interrupt only raises a flag; a second one ends the
// process.
class FinishFirst {
 public:
  FinishFirst();
  ~FinishFirst();  // ends the process by the signal that came
  FinishFirst(const FinishFirst&) = delete;
  FinishFirst& operator=(const FinishFirst&) = delete;
  static bool interrupted();
};

// The name of a file that must not be left behind: removed at the end of the scope, or by a signal.
class TemporaryName {
 public:
  explicit TemporaryName(std::string name);
  ~TemporaryName();
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  int slot_;
};

}  // namespace tool
