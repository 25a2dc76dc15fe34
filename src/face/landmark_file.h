// Landmarks as text: one point per line, values separated by one character, no header. Numbers are
// formatted as in the "C" locale.
#pragma once

namespace mvk::face {

// T is float (six significant digits) or int32_t; dims 3 means three values per point, anything
// else two. A file that cannot be opened is ignored, and so is what is no file, FIFO or terminal.
template <typename T>
void write_landmarks(const T* points, int count, const char* path, int dims, char separator);

// Reads up to count points; points without a line in the file keep their values. Of a line the
// first MiB counts.
template <typename T>
void read_landmarks(T* points, int count, const char* path, int dims, char separator);

}  // namespace mvk::face
