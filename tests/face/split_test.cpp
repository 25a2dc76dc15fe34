// kel::string::split against the standard library's own loop over a delimiter.
#include "core/split.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/test_image.h"

TEST(Split, AgreesWithGetlineOnRandomTexts) {
  test::Random random(1);
  for (int round = 0; round < 9000; ++round) {
    std::string text(static_cast<size_t>(random.range(0, 9)), ' ');
    for (char& c : text) c = ",, a\n\0"[random.range(0, 5)];
    const char separator = ", \n\0"[random.range(0, 3)];
    std::vector<std::string> expected{text}, fields{text};
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, separator);) expected.push_back(field);
    // The text is one of the fields that it is appended to.
    ASSERT_EQ(kel::string::split(fields[0], separator, fields), expected) << '"' << text << '"';
  }
}
