#include "pictures/signals.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
#include <utility>

namespace tool {
namespace {

// Written by threads, read by the handler, which may call nothing that takes a lock.
struct Slot {
  enum State { kFree, kFilling, kUsed };
  std::atomic<int> state{kFree};
  char name[PATH_MAX] = {};
};
std::array<Slot, 64> slots;
std::atomic<bool> finish_first{false};
std::atomic<int> came{0};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void end_by(int signal) {
  for (Slot& slot : slots) {
    if (slot.state == Slot::kUsed) ::unlink(slot.name);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void on_signal(int signal) {
  const bool waits = finish_first && signal != SIGPIPE && signal != SIGQUIT;
  if (waits && came.exchange(signal) == 0) return;
  end_by(signal);
}

int take_slot(const std::string& name) {
  for (size_t i = 0; i < slots.size() && name.size() < PATH_MAX; ++i) {
    int expected = Slot::kFree;
    if (!slots[i].state.compare_exchange_strong(expected, Slot::kFilling)) continue;
    std::memcpy(slots[i].name, name.c_str(), name.size() + 1);
    slots[i].state = Slot::kUsed;
    return static_cast<int>(i);
  }
  return -1;  // no slot: a signal leaves the file
}

}  // namespace

void catch_signals() {
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signal :
       {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM}) {
    struct sigaction action{};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;  // as nohup wants it
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
  }
}

FinishFirst::FinishFirst() { finish_first = true; }

FinishFirst::~FinishFirst() {
  finish_first = false;
  if (interrupted()) end_by(came);
}

bool FinishFirst::interrupted() { return came != 0; }

TemporaryName::TemporaryName(std::string name) : name_(std::move(name)), slot_(take_slot(name_)) {}

TemporaryName::~TemporaryName() {
  ::unlink(name_.c_str());  // nothing is there once it was renamed
  if (slot_ >= 0) slots[static_cast<size_t>(slot_)].state = Slot::kFree;
}

}  // namespace tool
