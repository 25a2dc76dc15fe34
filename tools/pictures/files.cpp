#include "pictures/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "pictures/failure.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kMaxFile = uintmax_t{1} << 30;

// An open file; closed at the end of the scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }
  bool close() { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

[[noreturn]] void fail(const std::string& what, const std::string& path) {
  throw Failure(what + " " + path + ": " + std::strerror(errno));
}

std::string ending(const std::string& path) {
  std::string text = fs::path(path).extension().string();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text.empty() ? text : text.substr(1);
}

bool writes_png(const std::string& path) { return ending(path) == "png"; }
bool writes_jpeg(const std::string& path) {
  return ending(path) == "jpg" || ending(path) == "jpeg";
}

bool write_all(int file, std::span<const uint8_t> content) {
  while (!content.empty()) {
    const ssize_t written = ::write(file, content.data(), content.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) content = content.subspan(static_cast<size_t>(written));
  }
  return true;
}

// mkstemp makes files that only their owner reads; results get the usual rights.
mode_t usual_rights() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

Bytes read_file(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.number() < 0) fail("cannot open", path);
  Bytes content;
  for (;;) {
    constexpr size_t kStep = size_t{1} << 16;
    const size_t have = content.size();
    if (have > kMaxFile) throw Failure(path + " is larger than 1 GB");
    content.resize(std::max(have + kStep, have * 2));
    const ssize_t got = ::read(file.number(), content.data() + have, content.size() - have);
    if (got < 0 && errno != EINTR) fail("cannot read", path);
    content.resize(have + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got == 0) return content;
  }
}

Picture read_picture(const std::string& path, const std::optional<RawLayout>& raw) {
  const Bytes file = read_file(path);
  try {
    if (raw) return decode_raw(file, *raw);
    if (is_png(file)) return decode_png(file);
    if (is_jpeg(file)) return decode_jpeg(file);
    throw Failure("neither PNG nor JPEG; for a raw frame add --raw FORMAT --size WIDTHxHEIGHT");
  } catch (const Failure& failure) {
    throw Failure(path + ": " + failure.what());
  }
}

uint32_t format_for_file(const std::string& path, uint32_t now) {
  if (writes_png(path) && now == QX_FMT_ARGB) return now;
  if (writes_png(path) || writes_jpeg(path)) return now == QX_FMT_GRAY ? now : QX_FMT_RGB24;
  if (const Format* raw = find_format(ending(path))) return raw->code;
  throw Failure(path +
                ": the ending says what is written; png, jpg, or for raw frames rgb24, argb, " +
                "abgr, gray, nv12 or nv21");
}

void check_output(const std::string& path, const std::vector<std::string>& inputs) {
  std::error_code ignored;
  if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored)) {
    throw Failure(path + " exists and is not a file");
  }
  for (const std::string& input : inputs) {
    if (fs::equivalent(path, input, ignored)) {
      throw Failure(path + " is an input; inputs are never overwritten");
    }
  }
}

void write_file(const std::string& path, std::span<const uint8_t> content) {
  check_output(path, {});
  std::string temporary = path + ".XXXXXX";
  Descriptor file(::mkstemp(temporary.data()));
  if (file.number() < 0) fail("cannot write", path);
  if (!write_all(file.number(), content) || ::fchmod(file.number(), usual_rights()) != 0 ||
      !file.close() || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int reason = errno;
    ::unlink(temporary.c_str());
    errno = reason;
    fail("cannot write", path);
  }
}

void write_file(const std::string& path, std::string_view text) {
  write_file(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

void write_picture(const std::string& path, const Picture& picture) {
  if (writes_png(path)) return write_file(path, encode_png(picture));
  if (writes_jpeg(path)) return write_file(path, encode_jpeg(picture));
  write_file(path, picture.bytes());
}

}  // namespace tool
