#include "core/split.h"

#include <algorithm>

namespace kel::string {

std::vector<std::string>& split(const std::string& text, char separator,
                                std::vector<std::string>& fields) {
  // Copied, as text may be one of the fields, which move when the vector grows.
  const std::string copy = text;  // NOLINT(performance-unnecessary-copy-initialization)
  for (size_t begin = 0; begin < copy.size();) {
    const size_t end = std::min(copy.find(separator, begin), copy.size());
    fields.emplace_back(copy, begin, end - begin);
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
