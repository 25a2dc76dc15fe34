// Files, and standard input and output under the name "-".
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pictures/codecs.h"
#include "pictures/signals.h"

namespace tool {

inline constexpr const char* kStandard = "-";

std::string shown_name(const std::string& input);  // for messages

// An input that is read from front to back.
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Up to count bytes; fewer only where the file ends.
  Bytes read(size_t count);
  Bytes read_all();

 private:
  std::string path_;
  int number_;
};

Bytes read_file(const std::string& path);

// A file that appears under its name when it is complete, or not at all. Until then it has no name
// where the file system can do that: even a process that is killed leaves nothing. Elsewhere it has
// a name of its own, which signals take away. An existing file is replaced in one step.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::span<const uint8_t> content);
  void commit();

 private:
  bool open_nameless(const std::string& folder);
  void open_named();
  bool put_in_place();
  void close();

  std::string path_;
  std::unique_ptr<TemporaryName> temporary_;
  int number_ = -1;
};

void write_file(const std::string& path, std::span<const uint8_t> content);
void write_file(const std::string& path, std::string_view text);

// "png" for "a.PNG"; empty without an ending.
std::string ending_of(const std::string& path);

// Throws when writing one of `outputs` would replace one of `inputs` or anything but a file, or
// when two of them are the same.
void check_outputs(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

}  // namespace tool
