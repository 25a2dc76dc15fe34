// How commands read their pictures: options, and what is done before an operation sees the pixels.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "options.h"
#include "pictures/files.h"

namespace tool {

struct Image {
  Picture pixels;
  ColorTags color;
};

// A photograph as RGB24, its transparency apart where it has some.
struct Photo {
  Picture pixels;
  std::optional<Picture> alpha;
  ColorTags color;
};

// Raw frames one behind the other; one is in memory at a time.
class FrameReader {
 public:
  FrameReader(const std::string& path, const RawLayout& layout);
  // Nothing at the end; throws when the input ends within a frame or has none.
  std::optional<Picture> next();

 private:
  std::string path_;
  InputFile file_;
  RawLayout layout_;
  size_t done_ = 0;
};

class ReadOptions {
 public:
  // `input` names the argument that may be a raw frame.
  void add_to(CLI::App& command, const std::string& input);
  // Of the input without a header, if it is one.
  std::optional<RawLayout> raw() const;

  Image read(const std::string& path,
             Session& session) const;  // a raw frame, if the options say so
  Image read_file(const std::string& path, Session& session) const;
  Photo read_photo(const std::string& path, Session& session) const;  // as read()

 private:
  std::string format_;
  std::string size_;
  std::optional<int> stride_;
  std::optional<int> stride_uv_;
  std::optional<int64_t> offset_uv_;
  bool as_stored_ = false;
};

Photo as_photo(Image image, Session& session);

// How a mask is made of a picture.
class MaskOptions {
 public:
  void add_to(CLI::App& command);
  Picture as_mask(Picture picture, Session& session) const;  // GRAY

 private:
  std::string channel_ = "auto";
  bool stretch_ = false;
};

// Says so when no pixel is above the level, in which case nothing of the mask counts.
void warn_if_dark(const Picture& mask, int level, const Session& session);
// How bright the brightest pixel is and what can be done: the end of a sentence.
std::string advice_on(const Picture& mask);

}  // namespace tool
