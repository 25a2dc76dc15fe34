// info: what this build of the library is and takes.
#include <iomanip>
#include <iostream>

#include "commands/commands.h"
#include "core/format.h"

namespace tool {

void add_info(CLI::App& app) {
  CLI::App& command =
      add_command(app, "info", "Print version, result codes and pixel formats", "morvik info");
  command.callback([] {
    std::cout << qxMorvik_version() << "\n\nResult codes\n"
              << "  " << MVK_OK << "  MVK_OK            done\n"
              << "  " << MVK_BAD_ARGUMENT << "  MVK_BAD_ARGUMENT  an argument failed a check\n"
              << "  " << MVK_NOT_FOUND << "  MVK_NOT_FOUND     no pixel at the level, no shape\n"
              << "  " << MVK_NULL_RECORD << "  MVK_NULL_RECORD   a null record or handle\n"
              << "\nPixel formats\n";
    for (const auto& format : kel::imageprocess::kFormats) {
      std::cout << "  0x" << std::hex << format.code << std::dec << "  " << std::setw(6)
                << std::left << format_name(format.code) << " " << format.planes
                << (format.planes == 1 ? " plane,  " : " planes, ") << format.bytes_per_pixel
                << (format.bytes_per_pixel == 1 ? " byte" : " bytes") << " a pixel"
                << (format.planes == 1 ? "" : " and a pair for 2x2 pixels") << "\n";
    }
  });
}

}  // namespace tool
