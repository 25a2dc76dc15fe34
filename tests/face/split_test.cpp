// kel::string::split against the standard library's own loop over a delimiter.
#include "core/split.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/test_image.h"

TEST(Split, AgreesWithGetlineOnRandomTexts) {
  test::Random random(1);
  for (int round = 0; round < 3000; ++round) {
    std::string text(static_cast<size_t>(random.range(0, 9)), ' ');
    for (char& c : text) c = ",, a\n\0"[random.range(0, 5)];
    for (const char separator : {',', ' ', '\0', '\n'}) {
      std::vector<std::string> expected{"kept"};
      std::vector<std::string> fields = expected;
      std::istringstream stream(text);
      for (std::string field; std::getline(stream, field, separator);) expected.push_back(field);
      ASSERT_EQ(kel::string::split(text, separator, fields), expected) << '"' << text << '"';
    }
  }
}
