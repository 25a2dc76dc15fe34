// The code in README.md and docs/guide.md is that of the programs in examples/, which the build
// compiles. A line "<!-- examples/FILE [NAME] -->" before a code block names the passage between
// two lines "//! [NAME]"; without a name the block is the whole file.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

namespace {

std::string read(const std::string& name) {
  std::ifstream file(MORVIK_ROOT "/" + name);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string passage(const std::string& file, const std::string& name) {
  const std::string text = read(file);
  if (name.empty()) return text;
  const std::string mark = "//! [" + name + "]\n";
  const size_t start = text.find(mark) + mark.size();
  return text.substr(start, text.find(mark, start) - start);
}

void expect_code_of_examples(const std::string& page, ptrdiff_t blocks) {
  const std::string text = read(page);
  const std::regex block(
      R"(<!-- (examples/[a-z_.]+)(?: \[([a-z]+)\])? -->\n```[a-z]*\n([^`]*)```)");
  const std::sregex_iterator first(text.begin(), text.end(), block);
  for (std::sregex_iterator it = first; it != std::sregex_iterator(); ++it) {
    EXPECT_EQ((*it)[3].str(), passage((*it)[1], (*it)[2])) << page << ": " << (*it)[0];
  }
  EXPECT_EQ(std::distance(first, std::sregex_iterator()), blocks) << page;
}

TEST(Guide, ShowsTheCodeOfTheExamples) {
  expect_code_of_examples("README.md", 1);
  expect_code_of_examples("docs/guide.md", 4);
}

}  // namespace
