#include "pictures/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>

#include "pictures/failure.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxFile = size_t{1} << 30;

[[noreturn]] void fail_at(const std::string& what, const std::string& path) {
  throw Failure(what + " " + path + ": " + std::strerror(errno));
}

std::string own_path(int number) { return "/proc/self/fd/" + std::to_string(number); }

// A name beside the file's that no other thread or process uses. File systems end at 255 bytes, and
// some want whole characters of UTF-8.
std::string name_beside(const std::string& path) {
  static std::atomic<unsigned> count{0};
  const fs::path to(path);
  std::string name = to.filename().string();
  size_t length = std::min<size_t>(name.size(), 200);
  while (length > 0 && length < name.size() && (name[length] & 0xC0) == 0x80) --length;
  name = name.substr(0, length) + "." + std::to_string(::getpid()) + "-" + std::to_string(++count);
  return (to.parent_path() / name).string();
}

// Whether a read or write that failed is worth another try: a signal came, or the other end was not
// ready and now is.
bool may_try_again(int number, short event) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd end{number, event, 0};
  ::poll(&end, 1, -1);
  return true;
}

}  // namespace

std::string shown_name(const std::string& input) {
  return input == kStandard ? "standard input" : input;
}

InputFile::InputFile(const std::string& path)
    : path_(path),
      number_(path == kStandard ? ::dup(STDIN_FILENO)
                                : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (number_ < 0) fail_at("cannot open", path);
}

InputFile::~InputFile() { ::close(number_); }

Bytes InputFile::read(size_t count) {
  Bytes content;
  while (content.size() < count) {
    // Memory grows with what is there, not with what a broken size asks for.
    constexpr size_t kStep = size_t{1} << 16;
    const size_t have = content.size();
    content.resize(std::min(count, std::max(have + kStep, have * 2)));
    const ssize_t got = ::read(number_, content.data() + have, content.size() - have);
    if (got < 0 && !may_try_again(number_, POLLIN)) fail_at("cannot read", shown_name(path_));
    content.resize(have + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got == 0) break;
  }
  return content;
}

Bytes InputFile::read_all() {
  Bytes content = read(kMaxFile + 1);
  if (content.size() > kMaxFile) throw Failure(shown_name(path_) + " is larger than 1 GB");
  return content;
}

Bytes read_file(const std::string& path) { return InputFile(path).read_all(); }

OutputFile::OutputFile(const std::string& path) : path_(path) {
  if (path == kStandard) {
    if (::isatty(STDOUT_FILENO) != 0) throw Failure("pictures are not written to a terminal");
    number_ = ::dup(STDOUT_FILENO);
  } else {
    check_outputs({path}, {});
    const std::string folder = fs::path(path).parent_path().string();
    if (!open_nameless(folder.empty() ? "." : folder)) open_named();
  }
  if (number_ < 0) fail_at("cannot write", path);
}

OutputFile::~OutputFile() { close(); }

void OutputFile::close() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

bool OutputFile::open_nameless(const std::string& folder) {
  number_ = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  // It gets its name by this path.
  if (number_ >= 0 && ::access(own_path(number_).c_str(), F_OK) == 0) return true;
  close();
  return false;
}

void OutputFile::open_named() {
  temporary_ = std::make_unique<TemporaryName>(name_beside(path_));
  number_ = ::open(temporary_->name().c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
}

void OutputFile::write(std::span<const uint8_t> content) {
  while (!content.empty()) {
    const ssize_t written = ::write(number_, content.data(), content.size());
    if (written < 0 && !may_try_again(number_, POLLOUT)) fail_at("cannot write", path_);
    if (written > 0) content = content.subspan(static_cast<size_t>(written));
  }
}

bool OutputFile::put_in_place() {
  if (temporary_ == nullptr) {
    const std::string self = own_path(number_);
    const auto link_to = [&](const std::string& name) {
      return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (link_to(path_)) return true;
    if (errno != EEXIST) return false;
    temporary_ = std::make_unique<TemporaryName>(name_beside(path_));
    if (!link_to(temporary_->name())) return false;
  }
  return std::rename(temporary_->name().c_str(), path_.c_str()) == 0;
}

void OutputFile::commit() {
  const bool named = temporary_ != nullptr;
  // Some file systems tell only now that the disk is full.
  const auto closed = [&] { return ::close(std::exchange(number_, -1)) == 0; };
  if ((named && !closed()) || (path_ != kStandard && !put_in_place()) || (!named && !closed())) {
    fail_at("cannot write", path_);
  }
}

void write_file(const std::string& path, std::span<const uint8_t> content) {
  OutputFile file(path);
  file.write(content);
  file.commit();
}

void write_file(const std::string& path, std::string_view text) {
  write_file(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::string ending_of(const std::string& path) {
  std::string text = fs::path(path).extension().string();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text.empty() ? text : text.substr(1);
}

void check_outputs(const std::vector<std::string>& outputs,
                   const std::vector<std::string>& inputs) {
  std::set<std::pair<dev_t, ino_t>> read;
  struct stat status{};
  for (const std::string& input : inputs) {
    if (::stat(input.c_str(), &status) == 0) read.emplace(status.st_dev, status.st_ino);
  }
  std::set<std::string_view> names;
  for (const std::string& output : outputs) {
    if (!names.insert(output).second) throw Failure("two inputs would both become " + output);
    if (output == kStandard || ::stat(output.c_str(), &status) != 0) continue;
    if (!S_ISREG(status.st_mode)) throw Failure(output + " exists and is not a file");
    if (read.count({status.st_dev, status.st_ino}) != 0) {
      throw Failure(output + " is an input; inputs are never overwritten");
    }
  }
}

}  // namespace tool
