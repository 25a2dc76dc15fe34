// Picture and text files on disk.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "pictures/codecs.h"

namespace tool {

Bytes read_file(const std::string& path);

// PNG and JPEG are told by their first bytes; with a layout the file is a raw frame.
Picture read_picture(const std::string& path, const std::optional<RawLayout>& raw = std::nullopt);

// The format of the pixels that a file of this name takes; `now` when it takes several.
uint32_t format_for_file(const std::string& path, uint32_t now);

// Throws when writing `path` would replace one of `inputs` or anything but a file.
void check_output(const std::string& path, const std::vector<std::string>& inputs);

// Both appear under their name when they are complete, or not at all.
void write_file(const std::string& path, std::span<const uint8_t> content);
void write_file(const std::string& path, std::string_view text);
void write_picture(const std::string& path, const Picture& picture);

}  // namespace tool
