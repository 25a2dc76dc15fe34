// INPUT... -o OUTPUT of commands that make one picture of one: files, folders or streams of frames.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "batch.h"
#include "reading.h"
#include "writing.h"

namespace tool {

class PictureFiles {
 public:
  void add_to(CLI::App& command, const std::string& input);
  using Operation = std::function<Image(Image, Session&)>;
  void run(const Operation& operation, Session& session) const;

 private:
  void run_one(const Job& job, const Operation& operation, Session& session) const;
  void run_frames(const Job& job, const RawLayout& layout, const Operation& operation,
                  Session& session) const;

  std::vector<std::string> inputs_;
  ReadOptions read_;
  WriteOptions write_;
  BatchOptions batch_;
};

}  // namespace tool
