// Commands that make one mask of one.
#pragma once

#include <memory>

#include "formats.h"
#include "picture_files.h"

namespace tool {

class MaskFiles {
 public:
  void add_to(CLI::App& command) {
    files_.add_to(command, "MASK");
    mask_.add_to(command);
  }

  // `check` sees each mask first; `operation` has the form (dst, src) -> code.
  template <class Check, class Operation>
  void run(const char* function, Session& session, Check check, Operation operation) const {
    const auto work = [&](Image image, Session& its_session) {
      const Picture mask = mask_.as_mask(std::move(image.pixels), its_session);
      check(mask, its_session);
      Picture result(QX_FMT_GRAY, mask.size());
      its_session.call(function,
                       [&] { return operation(result.view().record(), mask.view().record()); });
      return Image{std::move(result), {}};
    };
    files_.run(work, session);
  }

 private:
  PictureFiles files_;
  MaskOptions mask_;
};

}  // namespace tool
