// kel::string::split against the standard library's own loop over a delimiter.
#include <gtest/gtest.h>

#include <sstream>

#include "core/split.h"
#include "support/test_image.h"

namespace {

TEST(Split, AgreesWithGetlineOnRandomTexts) {
  test::Random random(1);
  std::vector<std::string> collected;
  std::vector<std::string> expected;
  for (int round = 0; round < 3000; ++round) {
    std::string text(static_cast<size_t>(random.range(0, 9)), ' ');
    for (char& c : text) c = ",, a\n\0"[random.range(0, 5)];
    for (const char separator : {',', ' ', '\0', '\n'}) {
      std::istringstream stream(text);
      const size_t before = expected.size();
      for (std::string field; std::getline(stream, field, separator);) expected.push_back(field);
      ASSERT_EQ(&kel::string::split(text, separator, collected), &collected);
      ASSERT_EQ(collected, expected) << '"' << text << '"';
      ASSERT_EQ(kel::string::split(text, separator).size(), expected.size() - before);
    }
    if (round % 50 == 0) collected.clear(), expected.clear();
  }
}

}  // namespace
