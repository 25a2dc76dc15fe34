#include "face/landmark_file.h"

#include <fcntl.h>
#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "core/split.h"

namespace mvk::face {
namespace {

// While it lives, strtod() and strtoll() of this thread use the classic locale.
class ClassicNumbers {
 public:
  ClassicNumbers() : classic_(newlocale(LC_ALL_MASK, "C", locale_t{})) {
    if (classic_ == locale_t{}) throw std::bad_alloc();
    previous_ = uselocale(classic_);
  }
  ClassicNumbers(const ClassicNumbers&) = delete;
  ClassicNumbers& operator=(const ClassicNumbers&) = delete;
  ~ClassicNumbers() {
    uselocale(previous_);
    freelocale(classic_);
  }

 private:
  locale_t classic_;
  locale_t previous_{};
};

constexpr size_t kLongestLine = size_t{1} << 20;

bool is_terminal(const char* path) {
  const int file = open(path, O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return false;
  const bool result = isatty(file) != 0;
  close(file);
  return result;
}

// Devices may never end, and folders are none; a file that is not there can be made.
bool can_hold_landmarks(const char* path) {
  using std::filesystem::file_type;
  std::error_code ignored;
  const file_type type = std::filesystem::status(path, ignored).type();
  return type == file_type::regular || type == file_type::fifo || type == file_type::not_found ||
         (type == file_type::character && is_terminal(path));
}

// The beginning of the next line, at most kLongestLine bytes; false if there is none.
bool read_line(std::istream& in, std::string& line) {
  constexpr int kEnd = std::char_traits<char>::eof();
  line.clear();
  int byte = in.get();
  if (byte == kEnd) return false;
  for (; byte != kEnd && byte != '\n'; byte = in.get()) {
    if (line.size() < kLongestLine) line.push_back(static_cast<char>(byte));
  }
  return true;
}

// The first fields of a line; missing ones are empty. The line is cut first, as it may have a
// million of them.
void first_fields(std::string& line, char separator, std::vector<std::string>& fields) {
  size_t end = line.find(separator);
  for (size_t i = 1; i < fields.size() && end < line.size(); ++i) {
    end = line.find(separator, end + 1);
  }
  line.resize(std::min(end, line.size()));
  const size_t count = fields.size();
  fields.clear();
  kel::string::split(line, separator, fields);
  fields.resize(count);
}

size_t values_per_point(int dims) { return dims == 3 ? 3 : 2; }

template <typename T>
T parse(const std::string& field) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(std::strtod(field.c_str(), nullptr));
  } else {
    return static_cast<T>(std::strtoll(field.c_str(), nullptr, 10));
  }
}

}  // namespace

template <typename T>
void write_landmarks(const T* points, int count, const char* path, int dims, char separator) {
  if (!can_hold_landmarks(path)) return;
  std::ofstream out;
  out.imbue(std::locale::classic());
  out.open(path);
  const size_t size = values_per_point(dims);
  for (int i = 0; i < count; ++i) {
    out << *points++;
    for (size_t k = 1; k < size; ++k) out << separator << *points++;
    out << '\n';
  }
}

template <typename T>
void read_landmarks(T* points, int count, const char* path, int dims, char separator) {
  if (!can_hold_landmarks(path)) return;
  std::ifstream in;
  in.imbue(std::locale::classic());
  in.open(path);
  const ClassicNumbers classic;
  std::string line;
  std::vector<std::string> fields(values_per_point(dims));
  for (int i = 0; i < count && read_line(in, line); ++i) {
    first_fields(line, separator, fields);
    for (const std::string& field : fields) *points++ = parse<T>(field);
  }
}

template void write_landmarks<float>(const float*, int, const char*, int, char);
template void write_landmarks<int32_t>(const int32_t*, int, const char*, int, char);
template void read_landmarks<float>(float*, int, const char*, int, char);
template void read_landmarks<int32_t>(int32_t*, int, const char*, int, char);

}  // namespace mvk::face
