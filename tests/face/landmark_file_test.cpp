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
    EXPECT_EQ(mvk_write_landmarks(values.data(), count, path_.c_str(), 2 * std::is_same_v<T, float>,
                                  dims, separator),
              MVK_OK);
    std::ifstream in(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // At most `count` points over six values of -7.
  template <typename T>
  std::vector<T> read(const std::string& text, int dims, char separator = ',', int count = 2) {
    std::ofstream(path_, std::ios::binary) << text;
    std::vector<T> values(6, T{-7});
    EXPECT_EQ(mvk_read_landmarks(values.data(), count, path_.c_str(), 2 * std::is_same_v<T, float>,
                                 dims, separator),
              MVK_OK);
    return values;
  }

  const std::string path_ = testing::TempDir() + "morvik_" +
                            testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(LandmarkFile, WritesTheseBytes) {
  EXPECT_EQ(written<float>({1.5F, 2, 3, 4.25F}, 2, ','), "1.5,2\n3,4.25\n");
  EXPECT_EQ(written<float>({1234567, -0.0F, INFINITY}, 3, ';'), "1.23457e+06;-0;inf\n");
  EXPECT_EQ(written<int32_t>({1, -2, INT_MIN, 0, 7, 8}, 3, ' '), "1 -2 -2147483648\n0 7 8\n");
  EXPECT_EQ(written<int32_t>({1234567, 2}, 1, '\0'), std::string("1234567\0002\n", 10));
  EXPECT_EQ(written<int32_t>({}, 2, ','), "");
}

TEST_F(LandmarkFile, ReadsFloats) {
  const std::pair<std::string, Floats> cases[] = {
      {"1.5,2\r\n3,4.25\n9,9\n", {1.5F, 2, 3, 4.25F, -7, -7}},
      {"0x1.8p1,1e2\n+.5,-7.e-1x", {3, 100, 0.5F, -0.7F, -7, -7}},
      {"inf,-INFINITY\n1e300,-1e39\n", {INFINITY, -INFINITY, INFINITY, -INFINITY, -7, -7}},
      // Above the middle between two floats, but only in digits that double does not hold.
      {"1.00000005960464477540,1e-320\n", {1, 0, -7, -7, -7, -7}},
      {" \t8 ,9 9\n\n", {8, 9, 0, 0, -7, -7}},
      {"5\n,6,7\n", {5, 0, 0, 6, -7, -7}},
      {std::string("1\0002,3\0\n", 7), {1, 3, -7, -7, -7, -7}},
      {"x,\r\n", {0, 0, -7, -7, -7, -7}},
      {"", {-7, -7, -7, -7, -7, -7}}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(read<float>(text, 2), expected) << text;
}

TEST_F(LandmarkFile, ReadsIntegers) {
  EXPECT_EQ(read<int32_t>("7, 7abc,-0012\n0x10,1e3,1.9\n", 3), (Ints{7, 7, -12, 0, 1, 1}));
  // Saturated to 64 bits first, then cut to 32.
  EXPECT_EQ(
      read<int32_t>("4294967299,-2147483649\n99999999999999999999,-99999999999999999999\n", 2),
      (Ints{3, INT_MAX, -1, 0, -7, -7}));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, '\n', 1), (Ints{1, 0, -7, -7, -7, -7}));
  EXPECT_EQ(read<int32_t>("1,2\n3,4\n", 2, '\n', INT_MIN), Ints(6, -7));
}

// A host that groups digits and writes decimal commas, in C++ and, where installed, in C.
TEST_F(LandmarkFile, IgnoresTheHostsLocale) {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Commas));
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  const std::string floats = written<float>({1234.5F, -2, 0.1F}, 3, '\t');
  const Floats back = read<float>(floats, 3, '\t');
  const std::string integers = written<int32_t>({1234567, -8}, 2, '\t');
  std::setlocale(LC_ALL, "C");
  std::locale::global(before);
  EXPECT_EQ(floats + integers, "1234.5\t-2\t0.1\n1234567\t-8\n");
  EXPECT_EQ(back, (Floats{1234.5F, -2, 0.1F, -7, -7, -7}));
}

TEST_F(LandmarkFile, PathsAndArgumentsThatCannotBe) {
  float values[4]{7, 7, 7, 7};
  for (const std::string& path : {testing::TempDir(), path_ + "/none", std::string()}) {
    EXPECT_EQ(mvk_read_landmarks(values, 2, path.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(mvk_write_landmarks(values, 2, path.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(values[0], 7.0F) << path;
  }
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
