// Runs the tool as its users do: command lines in, files, texts and exit status out.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "pictures/files.h"

namespace test {

struct Result {
  int status;
  std::string out, err;
};

// Each test works in an empty folder that holds links to the samples and to the pictures
// of tests/tools/make_pictures.py.
class Tool : public testing::Test {
 protected:
  Tool() {
    std::string name = (std::filesystem::temp_directory_path() / "morvik_tool_XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
    std::filesystem::create_directory_symlink(MORVIK_SAMPLES, folder_ / "samples");
    std::filesystem::create_directory_symlink(MORVIK_TEST_PICTURES, folder_ / "pictures");
  }
  ~Tool() override { std::filesystem::remove_all(folder_); }

  // `before` are commands for the shell.
  Result run(const std::string& arguments, const std::string& before = "") const {
    const std::string line = before + "cd " + folder_.string() + " && " MORVIK_TOOL " " + arguments;
    const int status = std::system((line + " >out.log 2>err.log").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text_of("out.log"), text_of("err.log")};
  }
  void expect_done(const std::string& arguments) const {
    const Result result = run(arguments);
    EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
    EXPECT_EQ(result.err, "") << arguments;
  }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }
  std::string text_of(const std::string& name) const {
    const tool::Bytes bytes = tool::read_file(file(name));
    return {bytes.begin(), bytes.end()};
  }
  tool::Picture picture(const std::string& name) const {
    return tool::decode_picture(tool::read_file(file(name))).picture;
  }
  std::map<std::string, std::string> names_and_contents() const {
    std::map<std::string, std::string> all;
    for (const std::filesystem::path& path : std::filesystem::directory_iterator(folder_)) {
      if (path.has_extension() && path.extension() != ".log") all[path] = text_of(path.filename());
    }
    return all;
  }

  std::filesystem::path folder_;
};

}  // namespace test
