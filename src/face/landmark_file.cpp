#include "face/landmark_file.h"

#include <locale.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "core/split.h"

namespace mvk::face {
namespace {

// While it lives, strtod() and strtol() of this thread use the classic locale.
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

size_t values_per_point(int dims) { return dims == 3 ? 3 : 2; }

template <typename T>
T parse(const std::string& field) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(std::strtod(field.c_str(), nullptr));
  } else {
    return static_cast<T>(std::strtol(field.c_str(), nullptr, 10));
  }
}

}  // namespace

template <typename T>
void write_landmarks(const T* points, int count, const char* path, int dims, char separator) {
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
  std::ifstream in;
  in.imbue(std::locale::classic());
  in.open(path);
  const ClassicNumbers classic;
  const size_t size = values_per_point(dims);
  std::string line;
  std::vector<std::string> fields;
  for (int i = 0; i < count && std::getline(in, line, '\n'); ++i) {
    fields.clear();
    kel::string::split(line, separator, fields);
    fields.resize(size);
    for (const std::string& field : fields) *points++ = parse<T>(field);
  }
}

template void write_landmarks<float>(const float*, int, const char*, int, char);
template void write_landmarks<int32_t>(const int32_t*, int, const char*, int, char);
template void read_landmarks<float>(float*, int, const char*, int, char);
template void read_landmarks<int32_t>(int32_t*, int, const char*, int, char);

}  // namespace mvk::face
