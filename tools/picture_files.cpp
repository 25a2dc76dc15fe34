#include "picture_files.h"

namespace tool {

void PictureFiles::add_to(CLI::App& command, const std::string& input) {
  command
      .add_option(input, inputs_,
                  "Pictures (PNG, JPEG, WebP) or raw frames; folders of them; - is standard input")
      ->required();
  write_.add_to(command, "File to write; a folder for several inputs")->required();
  read_.add_to(command, input);
  batch_.add_to(command);
}

void PictureFiles::run(const Operation& operation, Session& session) const {
  const Content content = read_.raw() ? Content::kRawFrames : Content::kPictures;
  batch_.run(
      jobs_of(inputs_, content, write_.path(), write_.kind_in_folder()),
      [&](const Job& job, Session& its_session) { run_one(job, operation, its_session); }, session);
}

void PictureFiles::run_one(const Job& job, const Operation& operation, Session& session) const {
  const std::optional<RawLayout> layout = read_.raw();
  if (layout && find_format(write_.kind_of(job.output)) != 0) {
    return run_frames(job, *layout, operation, session);
  }
  Image image = read_.read(job.inputs.front(), session);
  write_.write(job.output, operation(std::move(image), session), session);
}

void PictureFiles::run_frames(const Job& job, const RawLayout& layout, const Operation& operation,
                              Session& session) const {
  const std::string kind = write_.kind_of(job.output);
  FrameReader frames(job.inputs.front(), layout);
  std::optional<OutputFile> output;
  while (std::optional<Picture> frame = frames.next()) {
    Image result = operation({std::move(*frame), {}}, session);
    const Picture pixels = for_kind(std::move(result.pixels), kind, session);
    if (!output) output.emplace(job.output);
    output->write(pixels.bytes());
  }
  output->commit();
}

}  // namespace tool
