// The commands of the tool, each in the file of its name.
#pragma once

#include "options.h"

namespace tool {

void add_convert(CLI::App& app, Session& session);
void add_rotate(CLI::App& app, Session& session);
void add_resize(CLI::App& app, Session& session);
void add_blur(CLI::App& app, Session& session);
void add_smooth_mask(CLI::App& app, Session& session);
void add_fill_holes(CLI::App& app, Session& session);
void add_morph(CLI::App& app, Session& session);
void add_fill_polygon(CLI::App& app, Session& session);
void add_bbox(CLI::App& app, Session& session);
void add_outline(CLI::App& app, Session& session);
void add_sticker(CLI::App& app, Session& session);
void add_forehead(CLI::App& app, Session& session);
void add_landmarks(CLI::App& app, Session& session);
void add_info(CLI::App& app);
void add_completion(CLI::App& app);
void add_man(CLI::App& app);
void add_demo(CLI::App& app);

}  // namespace tool
