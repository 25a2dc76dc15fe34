#include "core/split.h"

#include <algorithm>

namespace kel::string {

std::vector<std::string>& split(const std::string& text, char separator,
                                std::vector<std::string>& fields) {
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find(separator, begin), text.size());
    fields.emplace_back(text, begin, end - begin);
    begin = end + 1;
  }
  return fields;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  split(text, separator, fields);
  return fields;
}

}  // namespace kel::string
