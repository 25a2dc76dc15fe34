// How commands write their pictures.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "options.h"
#include "pictures/files.h"
#include "reading.h"

namespace tool {

class WriteOptions {
 public:
  // `kinds` are what else but pictures the command writes, such as "svg".
  CLI::Option* add_to(CLI::App& command, const std::string& description,
                      const std::vector<std::string>& kinds = {});

  const std::string& path() const { return path_; }
  bool is_given() const { return !path_.empty(); }
  // "png", "jpg", "webp", a raw format, or one of the command's kinds: what --as says, or the
  // name's ending. Throws for others.
  std::string kind_of(const std::string& path) const;
  const std::string& kind_in_folder() const { return as_; }

  void write(const std::string& path, Image image, Session& session) const;

 private:
  std::vector<std::string> known_kinds() const;

  std::string path_;
  std::string as_ = "png";
  const CLI::Option* as_option_ = nullptr;
  std::vector<std::string> kinds_;
  Encoding encoding_;
};

// Whether files of a kind hold a picture's transparency.
bool holds_alpha(const std::string& kind);

// What a file of this kind takes; colours over white where transparency cannot be kept.
Picture for_kind(Picture picture, const std::string& kind, Session& session);

}  // namespace tool
