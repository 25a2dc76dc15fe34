// mvk_write_landmarks and mvk_read_landmarks.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>

#include "morvik/morvik.h"

namespace {

using Floats = std::vector<float>;
using Ints = std::vector<int32_t>;

class LandmarkFile : public testing::Test {
 protected:
  ~LandmarkFile() override { std::filesystem::remove(path_); }

  template <typename T>
  std::string written(const std::vector<T>& values, int dims, char separator) {
    const int count = static_cast<int>(values.size()) / (dims == 3 ? 3 : 2);
    EXPECT_EQ(mvk_write_landmarks(values.data(), count, path_.c_str(),
                                  std::is_same_v<T, float> ? -1 : 0, dims, separator),
              MVK_OK);
    std::ifstream in(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // At most `count` points over six values of -7.
  template <typename T>
  std::vector<T> read(const std::string& text, int dims, char separator = ',', int count = 2) {
    std::ofstream(path_, std::ios::binary) << text;
    std::vector<T> values(6, T{-7});
    EXPECT_EQ(mvk_read_landmarks(values.data(), count, path_.c_str(),
                                 std::is_same_v<T, float> ? 1 : 0, dims, separator),
              MVK_OK);
    return values;
  }

  const std::string path_ = testing::TempDir() + "morvik_" +
                            testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(LandmarkFile, WritesTheseBytes) {
  EXPECT_EQ(written<float>({1.5F, 2, 3, 4.25F}, 2, ','), "1.5,2\n3,4.25\n");
  EXPECT_EQ(written<float>({1234567, 12.5F, -0.0F, 1e-5F, INFINITY, 0.1F}, 3, ';'),
            "1.23457e+06;12.5;-0\n1e-05;inf;0.1\n");
  EXPECT_EQ(written<int32_t>({1, -2, 3, INT_MIN, INT_MAX, 0}, 3, ' '),
            "1 -2 3\n-2147483648 2147483647 0\n");
  EXPECT_EQ(written<int32_t>({1234567, 2}, 1, '\0'), std::string("1234567\0002\n", 10));
  EXPECT_EQ(written<int32_t>({}, 2, ','), "");
}

TEST_F(LandmarkFile, ReadsFloats) {
  const std::pair<std::string, Floats> cases[] = {
      {"1.5,2\n3,4.25\n9,9\n", {1.5F, 2, 3, 4.25F, -7, -7}},
      {"1.5,2\r\n3,4.25", {1.5F, 2, 3, 4.25F, -7, -7}},
      {"0x1.8p1,1e2\n+.5,-7.e-1x\n", {3, 100, 0.5F, -0.7F, -7, -7}},
      {"inf,-INFINITY\n1e300,-1e39\n", {INFINITY, -INFINITY, INFINITY, -INFINITY, -7, -7}},
      // Above the middle between two floats, but only in digits that double does not hold.
      {"1.00000005960464477540,1e-320\n", {1, 0, -7, -7, -7, -7}},
      {" \t8 ,9 9\n\n", {8, 9, 0, 0, -7, -7}},
      {"5\n,6,7\n", {5, 0, 0, 6, -7, -7}},
      {std::string("1\0002,3\0\n", 7), {1, 3, -7, -7, -7, -7}},
      {"x,\r\n", {0, 0, -7, -7, -7, -7}},
      {"", {-7, -7, -7, -7, -7, -7}}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(read<float>(text, 2), expected) << text;
  EXPECT_TRUE(std::isnan(read<float>("nan,1\n", 2)[0]));
}

TEST_F(LandmarkFile, ReadsIntegers) {
  EXPECT_EQ(read<int32_t>("7, 7abc,-0012\n0x10,1e3,1.9\n", 3), (Ints{7, 7, -12, 0, 1, 1}));
  // Saturated to 64 bits first, then cut to 32.
  EXPECT_EQ(read<int32_t>("4294967299,2147483648,-2147483649\n99999999999999999999,"
                          "-99999999999999999999,+5\n",
                          3),
            (Ints{3, INT_MIN, INT_MAX, -1, 0, 5}));
  EXPECT_EQ(read<int32_t>("1,2\n", 3), (Ints{1, 2, 0, -7, -7, -7}));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, ',', 1), (Ints{1, 2, -7, -7, -7, -7}));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, ',', 0), Ints(6, -7));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, ',', INT_MIN), Ints(6, -7));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, '\n'), (Ints{1, 0, 3, 0, -7, -7}));
}

// A host that groups digits and writes decimal commas, in C++ and, where installed, in C.
TEST_F(LandmarkFile, IgnoresTheHostsLocaleAndReadsBackWhatItWrote) {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Commas));
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
    if (std::setlocale(LC_ALL, name) != nullptr) break;
  }
  const Floats floats{1234.5F, 0.25F, 1e6F, -2, 0.1F, 7e-20F};
  const Ints ints{1234567, -8, INT_MIN, INT_MAX};
  const std::string float_text = written(floats, 3, '\t');
  const Floats floats_back = read<float>(float_text, 3, '\t');
  const std::string int_text = written(ints, 2, '\t');
  const Ints ints_back = read<int32_t>(int_text, 2, '\t');
  std::setlocale(LC_ALL, "C");
  std::locale::global(before);
  EXPECT_EQ(float_text, "1234.5\t0.25\t1e+06\n-2\t0.1\t7e-20\n");
  EXPECT_EQ(floats_back, floats);
  EXPECT_EQ(Ints(ints_back.begin(), ints_back.begin() + 4), ints);
}

TEST_F(LandmarkFile, PathsAndArgumentsThatCannotBe) {
  for (const std::string& path : {testing::TempDir(), path_ + "/none", std::string()}) {
    Floats values(4, -7.0F);
    EXPECT_EQ(mvk_read_landmarks(values.data(), 2, path.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(mvk_write_landmarks(values.data(), 2, path.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(values, Floats(4, -7.0F)) << path;
  }
  float values[2]{};
  const char* path = path_.c_str();
  EXPECT_EQ(mvk_read_landmarks(values, 0, nullptr, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_read_landmarks(nullptr, 1, path, 0, 3, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_write_landmarks(values, 1, nullptr, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_write_landmarks(nullptr, 1, path, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(mvk_write_landmarks(nullptr, 0, path, 1, 2, ','), MVK_OK);
  EXPECT_EQ(mvk_read_landmarks(nullptr, -1, path, 1, 2, ','), MVK_OK);
  EXPECT_TRUE(std::filesystem::is_empty(path));
}

}  // namespace
