#include <memory>

#include "commands/commands.h"
#include "points.h"
#include "writing.h"

namespace tool {

void add_fill_polygon(CLI::App& app, Session& session) {
  struct Options {
    std::string points;
    std::string file;
    std::string size;
    WriteOptions write;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& command = add_command(
      app, "fill-polygon", "Make a mask of a polygon",
      "morvik fill-polygon --points '10,10 90,20 50,80' --size 100x100 -o triangle.png");
  CLI::Option* points = command.add_option("--points", options->points, "Corners: 'X,Y X,Y ...'");
  CLI::Option* file = command.add_option("--file", options->file, "Text file with a corner a line");
  points->excludes(file);
  command.add_option("--size", options->size, "Size of the mask, WIDTHxHEIGHT")->required();
  options->write.add_to(command, "Picture to write")->required();
  command.callback([options, &session] {
    if (options->points.empty() && options->file.empty()) {
      throw Failure("--points or --file is needed");
    }
    check_outputs({options->write.path()}, {options->file});
    const std::vector<TPOINT> corners =
        options->file.empty() ? parse_points(options->points) : rounded(read_points(options->file));
    if (corners.empty()) throw Failure("a polygon has at least one corner");
    Picture mask(QX_FMT_GRAY, parse_size(options->size));
    session.call("mvk_fill_area_up", [&] {
      return mvk_fill_area_up(mask.view().record(), static_cast<uint32_t>(corners.size()),
                              corners.data());
    });
    options->write.write(options->write.path(), {std::move(mask), {}}, session);
  });
}

}  // namespace tool
