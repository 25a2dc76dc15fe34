#include "session.h"

#include <algorithm>

#include "messages.h"

namespace tool {

void Session::add(const CallTime& time) {
  const auto known = std::find_if(calls_.begin(), calls_.end(), [&](const CallTime& each) {
    return each.function == time.function;
  });
  if (known == calls_.end()) {
    calls_.push_back(time);
  } else {
    known->count += time.count;
    known->milliseconds += time.milliseconds;
  }
}

void Session::note(const std::string& sentence) const {
  if (!manner.quiet) print_once(Kind::kNote, sentence);
}

void Session::warn(const std::string& sentence) const {
  if (manner.strict) throw Failure(sentence);
  const std::string& subject = subject_;
  if (!manner.quiet)
    print_message(Kind::kWarning, subject.empty() ? sentence : subject + ": " + sentence);
}

}  // namespace tool
