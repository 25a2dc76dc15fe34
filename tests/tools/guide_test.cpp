// The code in README.md and docs/guide.md is that of the programs in examples/, which the build
// compiles. A line "<!-- examples/FILE [NAME] -->" before a code block names the passage between
// two lines "//! [NAME]"; without a name the block is the whole file.
#include <gtest/gtest.h>

#include <regex>

#include "pictures/files.h"

namespace {

std::string passage(const std::string& file, const std::string& name) {
  const tool::Bytes bytes = tool::read_file(MORVIK_ROOT "/" + file);
  const std::string text(bytes.begin(), bytes.end());
  if (name.empty()) return text;
  const std::string mark = "//! [" + name + "]\n";
  const size_t start = text.find(mark) + mark.size();
  return text.substr(start, text.find(mark, start) - start);
}

TEST(Guide, ShowsTheCodeOfTheExamples) {
  const std::regex block(
      R"(<!-- (examples/[a-z_.]+)(?: \[([a-z]+)\])? -->\n```[a-z]*\n([^`]*)```)");
  for (const auto& [page, blocks] : {std::pair{"README.md", 1}, {"docs/guide.md", 8}}) {
    const std::string text = passage(page, "");
    int found = 0;
    for (std::sregex_iterator it(text.begin(), text.end(), block), end; it != end; ++it, ++found) {
      EXPECT_EQ((*it)[3].str(), passage((*it)[1], (*it)[2])) << page << ": " << (*it)[0];
    }
    EXPECT_EQ(found, blocks) << page;
  }
}

}  // namespace
