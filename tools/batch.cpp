#include "batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "messages.h"
#include "pictures/files.h"
#include "pictures/signals.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned kMostWorkers = 64;

bool looks_like(const std::string& ending, Content content) {
  switch (content) {
    case Content::kPictures: {
      // The last ones are no pictures that the tool reads: each gives a failure that says so.
      static const std::vector<std::string> kEndings{"png",  "jpg",  "jpeg", "webp",
                                                     "heic", "heif", "avif"};
      return std::count(kEndings.begin(), kEndings.end(), ending) != 0;
    }
    case Content::kPoints:
      return ending == "txt" || ending == "csv";
    case Content::kRawFrames:
      break;
  }
  return true;
}

std::string stem_of(const std::string& path) { return fs::path(path).stem().string(); }

std::string output_in(const std::string& folder, const std::string& input,
                      const std::string& ending) {
  return (fs::path(folder) / fs::path(input).stem()).string() + "." + ending;
}

using Stems = std::map<std::string, std::string>;  // file of each stem
Stems by_stem(const std::vector<std::string>& files) {
  Stems stems;
  for (const std::string& file : files) {
    const auto [at, is_new] = stems.emplace(stem_of(file), file);
    if (!is_new) throw Failure(at->second + " and " + file + " differ in their endings only");
  }
  return stems;
}

std::string duration(double seconds) {
  const auto whole = static_cast<int64_t>(std::llround(seconds));
  if (whole < 90) return std::to_string(whole) + " s";
  if (whole < 90 * 60) return std::to_string((whole + 30) / 60) + " min";
  return std::to_string((whole + 1800) / 3600) + " h";
}

std::string rate_text(size_t count, double seconds) {
  const double rate = static_cast<double>(count) / std::max(seconds, 1e-3);
  const double shown = rate < 10 ? std::round(rate * 10) / 10 : std::round(rate);
  std::ostringstream text;
  text << shown << "/s";
  return text.str();
}

// Work on many files that is under way.
class Run {
 public:
  Run(std::vector<const Job*> jobs, const BatchOptions::Work& work, bool keep_going,
      const Manner& manner)
      : jobs_(std::move(jobs)), work_(work), keep_going_(keep_going), manner_(manner) {}

  void run(size_t workers) {
    std::vector<std::thread> threads;
    try {
      for (size_t i = 1; i < workers; ++i) threads.emplace_back([this] { do_jobs(); });
    } catch (const std::exception&) {
      // Neither memory nor threads without end: those that are there do the same work.
    }
    do_jobs();
    for (std::thread& thread : threads) thread.join();
    if (!manner_.quiet) show_progress("");
  }

  size_t done() const { return done_; }
  size_t not_tried() const { return jobs_.size() - done_ - failures_.size(); }
  const std::vector<std::string>& failures() const { return failures_; }
  const std::vector<CallTime>& calls() const { return calls_.calls(); }
  double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

 private:
  void do_jobs() {
    while (!FinishFirst::interrupted() && !stopped_) {
      const size_t next = next_++;
      if (next >= jobs_.size()) return;
      do_job(*jobs_[next]);
    }
  }

  void do_job(const Job& job) {
    Session session(manner_, job.inputs.front());
    std::string failure;
    try {
      work_(job, session);
    } catch (const std::bad_alloc&) {
      failure = "out of memory";
    } catch (const std::exception& error) {
      failure = error.what();
    }
    const std::lock_guard lock(guard_);
    for (const CallTime& time : session.calls()) calls_.add(time);
    if (failure.empty()) {
      ++done_;
    } else {
      fail(job, failure);
    }
    if (!manner_.quiet) show();
  }

  void fail(const Job& job, const std::string& failure) {
    const std::string& input = job.inputs.front();
    failures_.push_back(input + "\t" + failure);
    print_message(Kind::kPlain, failure.starts_with(input) ? failure : input + ": " + failure);
    if (!keep_going_) stopped_ = true;
  }

  void show() {
    constexpr double kInterval = 0.1;
    const double now = seconds();
    if (now - shown_ < kInterval) return;
    shown_ = now;
    const size_t tried = done_ + failures_.size();
    const double left = now / static_cast<double>(tried) * static_cast<double>(not_tried());
    show_progress(std::to_string(tried) + " of " + std::to_string(jobs_.size()) + ", " +
                  rate_text(tried, now) + ", " + duration(left) + " left");
  }

  const std::vector<const Job*> jobs_;
  const BatchOptions::Work& work_;
  const bool keep_going_;
  const Manner manner_;
  const Clock::time_point start_ = Clock::now();
  std::atomic<size_t> next_{0};
  std::atomic<bool> stopped_{false};
  std::mutex guard_;  // of all below
  size_t done_ = 0;
  std::vector<std::string> failures_;
  Session calls_;
  double shown_ = 0;
};

std::vector<const Job*> without_existing(const std::vector<Job>& jobs, bool skip) {
  std::vector<const Job*> left;
  for (const Job& job : jobs) {
    if (!skip || !fs::exists(job.output)) left.push_back(&job);
  }
  return left;
}

void check_files(const std::vector<Job>& jobs, const std::string& failures) {
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
  for (const Job& job : jobs) {
    inputs.insert(inputs.end(), job.inputs.begin(), job.inputs.end());
    outputs.push_back(job.output);
  }
  check_outputs(outputs, inputs);
  if (failures.empty()) return;
  check_outputs({failures}, inputs);
  for (const std::string& output : outputs) {
    if (same_file(output, failures)) throw Failure("--failures " + failures + " is an output");
  }
}

void make_folder(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Failure("cannot make the folder " + folder + ": " + error.message());
}

std::string summary(const Run& run, size_t skipped, size_t unpaired) {
  std::string text = std::to_string(run.done()) + " done";
  const auto add = [&](size_t count, const char* what) {
    if (count > 0) text += ", " + std::to_string(count) + what;
  };
  add(skipped, " were there before");
  add(run.failures().size(), " failed");
  add(unpaired, " without a partner");
  add(run.not_tried(), " not tried");
  return text + "; " + duration(run.seconds()) + ", " + rate_text(run.done(), run.seconds());
}

void write_failures(OutputFile& file, const Run& run, const std::vector<std::string>& unpaired) {
  std::string text;
  for (const std::string& line : run.failures()) text += line + "\n";
  for (const std::string& line : unpaired) text += line + "\n";
  file.write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  file.commit();
}

void refuse_stream(const Jobs& jobs, const std::string& output) {
  if (!jobs.many || output != kStandard) return;
  throw Failure("several inputs need a folder to write to; - is standard output");
}

bool is_folder(const std::string& output) {
  return output != kStandard && fs::is_directory(output);
}

}  // namespace

// Names are compared, not what they lead to: a file that is written replaces a link.
bool same_file(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty()) return false;
  const fs::path one = fs::absolute(a);
  const fs::path other = fs::absolute(b);
  if (one.filename() != other.filename()) return false;
  std::error_code error;
  return fs::weakly_canonical(one.parent_path(), error) ==
         fs::weakly_canonical(other.parent_path(), error);
}

std::vector<std::string> files_in(const std::string& folder, Content content) {
  std::error_code error;
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const std::string path = entry.path().string();
    std::error_code unreadable;  // such as a link to itself
    const bool is_file = entry.is_regular_file(unreadable);
    if (!is_file || entry.path().filename().string().starts_with('.')) continue;
    if (looks_like(ending_of(path), content)) files.push_back(path);
  }
  if (error) throw Failure("cannot read the folder " + folder + ": " + error.message());
  if (files.empty()) throw Failure("there is nothing to read in " + folder);
  std::sort(files.begin(), files.end());
  return files;
}

Jobs jobs_of(const std::vector<std::string>& inputs, Content content, const std::string& output,
             const std::string& ending) {
  const bool folders = std::any_of(inputs.begin(), inputs.end(), [](const std::string& input) {
    return fs::is_directory(input);
  });
  Jobs jobs;
  jobs.many = folders || inputs.size() > 1;
  refuse_stream(jobs, output);
  if (jobs.many && !folders && !fs::is_directory(output)) {
    throw Failure("several inputs need a folder to write to; " + output + " is none");
  }
  const bool to_folder = jobs.many || is_folder(output);
  const auto add = [&](const std::string& file) {
    jobs.jobs.push_back({{file}, to_folder ? output_in(output, file, ending) : output});
  };
  for (const std::string& input : inputs) {
    if (fs::is_directory(input)) {
      for (const std::string& file : files_in(input, content)) add(file);
    } else {
      add(input);
    }
  }
  return jobs;
}

Jobs jobs_of_pairs(const std::string& first, Content first_content, const std::string& second,
                   Content second_content, const std::string& output, const std::string& ending) {
  Jobs jobs;
  jobs.many = fs::is_directory(first);
  if (jobs.many != fs::is_directory(second)) {
    throw Failure(first + " and " + second + " are neither two files nor two folders");
  }
  if (!jobs.many) {
    jobs.jobs.push_back({{first, second}, output});
    if (is_folder(output)) jobs.jobs[0].output = output_in(output, first, ending);
    return jobs;
  }
  refuse_stream(jobs, output);
  Stems partners = by_stem(files_in(second, second_content));
  for (const auto& [stem, file] : by_stem(files_in(first, first_content))) {
    const auto partner = partners.find(stem);
    if (partner == partners.end()) {
      jobs.unpaired.push_back(file + "\tno " + stem + ".* in " + second);
      continue;
    }
    jobs.jobs.push_back({{file, partner->second}, output_in(output, file, ending)});
    partners.erase(partner);
  }
  for (const auto& [stem, file] : partners) {
    jobs.unpaired.push_back(file + "\tno " + stem + ".* in " + first);
  }
  if (jobs.jobs.empty()) throw Failure("no file of " + first + " has a partner in " + second);
  return jobs;
}

void BatchOptions::add_to(CLI::App& command) {
  command
      .add_option("-j,--jobs", workers_,
                  "Files of folders that are worked on at a time; 0: as many as processors")
      ->check(CLI::Range(0U, kMostWorkers))
      ->capture_default_str();
  command.add_flag("--skip-existing", skip_existing_, "Leave out what has its output already");
  command.add_flag("--keep-going", keep_going_, "Do not stop at the first file that fails");
  command.add_option("--failures", failures_, "Text file to list what failed in, and why");
}

void BatchOptions::run(const Jobs& jobs, const Work& work, Session& session) const {
  check_files(jobs.jobs, failures_);
  const bool counted = jobs.many || skip_existing_ || keep_going_ || !failures_.empty();
  if (!counted) return work(jobs.jobs.front(), session);
  const std::vector<const Job*> left = without_existing(jobs.jobs, skip_existing_);
  if (jobs.many) make_folder(fs::path(jobs.jobs.front().output).parent_path().string());
  std::optional<OutputFile> list;  // what cannot be written is better known before the work
  if (!failures_.empty()) list.emplace(failures_);
  for (const std::string& line : jobs.unpaired) {
    const size_t tab = line.find('\t');
    print_message(Kind::kPlain, line.substr(0, tab) + ": " + line.substr(tab + 1));
  }
  const unsigned processors = std::clamp(std::thread::hardware_concurrency(), 1U, kMostWorkers);
  const size_t workers = std::min<size_t>(workers_ == 0 ? processors : workers_, left.size());
  // The files share the processors; a single file must not want all of them.
  if (workers > 1) ::setenv("OPENCV_FOR_THREADS_NUM", "1", 0);
  const FinishFirst finish_first;
  Run run(left, work, keep_going_, session.manner);
  run.run(workers);
  for (const CallTime& time : run.calls()) session.add(time);
  if (list) write_failures(*list, run, jobs.unpaired);
  const std::string text = summary(run, jobs.jobs.size() - left.size(), jobs.unpaired.size());
  if (FinishFirst::interrupted()) {
    return print_message(Kind::kPlain, "interrupted: " + text + "; go on with --skip-existing");
  }
  if (run.done() < left.size() || !jobs.unpaired.empty()) throw Failure(text, kSomeFailed);
  if (!session.manner.quiet) print_message(Kind::kPlain, text);
}

}  // namespace tool
