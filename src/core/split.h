// Cutting a line of text into fields.
#pragma once

#include <string>
#include <vector>

namespace kel::string {

// Appends the fields of text, which may be an element of `fields`, to `fields` and returns it.
// Nothing is trimmed; adjacent and leading separators make empty fields, a trailing one does not.
std::vector<std::string>& split(const std::string& text, char separator,
                                std::vector<std::string>& fields);

std::vector<std::string> split(const std::string& text, char separator);

}  // namespace kel::string
