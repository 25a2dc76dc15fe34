// Work on many files: from folders to a folder, by several threads.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "options.h"

namespace tool {

// One output and the files that it is made of.
struct Job {
  std::vector<std::string> inputs;
  std::string output;
};

struct Jobs {
  std::vector<Job> jobs;
  std::vector<std::string> unpaired;  // sentences: files without a partner
  bool many = false;                  // from folders or several files, to a folder
};

// Files of a folder that look like what a command reads, sorted.
enum class Content { kPictures, kRawFrames, kPoints };
std::vector<std::string> files_in(const std::string& folder, Content content);

// Each of `inputs`, files or folders, for itself.
Jobs jobs_of(const std::vector<std::string>& inputs, Content content, const std::string& output,
             const std::string& ending);
// Two files, or the files of two folders by their stems.
Jobs jobs_of_pairs(const std::string& first, Content first_content, const std::string& second,
                   Content second_content, const std::string& output, const std::string& ending);

// Whether two names are those of one file, there already or not.
bool same_file(const std::string& a, const std::string& b);

class BatchOptions {
 public:
  void add_to(CLI::App& command);
  using Work = std::function<void(const Job&, Session&)>;
  // A single job is done at once and its failure is the command's. Of many, and with options for
  // many, the failures are told and counted; throws at the end when there were any.
  void run(const Jobs& jobs, const Work& work, Session& session) const;

 private:
  unsigned workers_ = 0;
  bool skip_existing_ = false;
  bool keep_going_ = false;
  std::string failures_;
};

}  // namespace tool
