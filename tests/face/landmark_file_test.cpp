// mvk_write_landmarks and mvk_read_landmarks, and the splitting of lines.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <thread>

#include "core/split.h"
#include "support/test_image.h"

namespace {

using namespace std::string_literals;

const std::string kFile = testing::TempDir() + "morvik_landmarks_" + std::to_string(getpid());
const char* const kPath = kFile.c_str();

// Any number but 0 means yes.
int is_float(const std::vector<float>&) { return 2; }
int is_float(const std::vector<int32_t>&) { return 0; }

template <typename T>
void expect_written(const std::vector<T>& values, int dims, char separator,
                    const std::string& expected) {
  const int count = static_cast<int>(values.size()) / (dims == 3 ? 3 : 2);
  mvk_write_landmarks(values.data(), count, kPath, is_float(values), dims, separator);
  std::ifstream in(kPath, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), expected);
  std::filesystem::remove(kPath);
}

// Values are -7 before the call.
template <typename T>
void expect_read(const std::string& text, int dims, char separator, int count,
                 const std::vector<T>& expected) {
  std::ofstream(kPath, std::ios::binary) << text;
  std::vector<T> values(expected.size(), T{-7});
  mvk_read_landmarks(values.data(), count, kPath, is_float(values), dims, separator);
  EXPECT_EQ(values, expected) << text;
  std::filesystem::remove(kPath);
}

TEST(LandmarkFile, HoldsTheseBytesAndValues) {
  expect_written<float>({1.5F, 2, 3, 4.25F}, 1, '\0', "1.5\0002\n3\0004.25\n"s);
  expect_written<float>({1234567, -0.0F, INFINITY}, 3, ';', "1.23457e+06;-0;inf\n");
  expect_written<int32_t>({1, -2, INT_MIN, 0, 7, 8}, 3, ' ', "1 -2 -2147483648\n0 7 8\n");
  expect_read<float>("1.5,2\r\n0x1.8p1,1e2\n+.5,-7.e-1x\ninf,-INFINITY\n1e300,-1e39\n", 2, ',', 6,
                     {1.5F, 2, 3, 100, 0.5F, -0.7F, INFINITY, -INFINITY, INFINITY, -INFINITY, -7});
  // The first is above the midpoint of two floats, but only in digits beyond double precision.
  expect_read<float>("1.00000005960464477540,1e-320\n \t8 ,9 9\n\n5\n,6,7\nx,\r\n1\0,3\0\n4,4"s, 2,
                     ',', 7, {1, 0, 8, 9, 0, 0, 5, 0, 0, 6, 0, 0, 1, 3, -7, -7});
  // Integers are saturated to 64 bits first, then truncated to 32.
  expect_read<int32_t>("7, 7abc,-0012\n0x10,1e3,1.9\n4294967299,99999999999999999999,-2147483649\n",
                       3, ',', 9, {7, 7, -12, 0, 1, 1, 3, -1, INT_MAX, -7});
  expect_read<int32_t>("1,2\n3,4\n", 0, '\n', 1, {1, 0, -7});
  expect_read<int32_t>("1,2\n3,4\n", 2, ',', INT_MIN, {-7});
}

// The 1 and 2 are within the first MiB, 34 is cut in two, and 5 and 6 are on the next line.
TEST(LandmarkFile, ReadsTheFirstMebibyteOfALine) {
  const std::string blanks((1 << 20) - 5, ' ');
  const std::string line = "1,2," + blanks;
  expect_read<int32_t>(line + "34\n5,6\n", 2, ',', 3, {1, 2, 5, 6, -7});
  expect_read<int32_t>(line + "34,7\n5,6,8\n", 3, ',', 3, {1, 2, 3, 5, 6, 8, -7});
  expect_read<int32_t>(std::string(10'000'000, ',') + "9\n5,6\n", 2, ',', 3, {0, 0, 5, 6, -7});
}

TEST(LandmarkFile, FifosAreFilesAndDevicesAreNot) {
  std::filesystem::remove(kPath);
  ASSERT_EQ(mkfifo(kPath, 0600), 0);
  int32_t values[2]{7, 7};
  std::thread writer([] { std::ofstream(kPath) << "1,2\n"; });
  EXPECT_EQ(mvk_read_landmarks(values, 1, kPath, 0, 2, ','), MVK_OK);
  writer.join();
  EXPECT_EQ(values[0] + values[1], 3);
  EXPECT_EQ(mvk_read_landmarks(values, 1, "/dev/zero", 0, 2, ','), MVK_OK);
  EXPECT_EQ(mvk_write_landmarks(values, 1, "/dev/full", 0, 2, ','), MVK_OK);
  EXPECT_EQ(values[0] + values[1], 3);
  std::filesystem::remove(kPath);
}

// A host whose locale has decimal commas, in C++ and, where installed, in C.
TEST(LandmarkFile, IgnoresTheHostsLocale) {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  std::locale::global(std::locale(std::locale(), new Commas));
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  expect_written<float>({1234.5F, -2, 0.1F}, 3, '\t', "1234.5\t-2\t0.1\n");
  expect_read<float>("1234.5\t-2\t0.1\n", 3, '\t', 1, {1234.5F, -2, 0.1F});
  std::locale::global(std::locale::classic());  // and C's
}

TEST(LandmarkFile, PathsAndArgumentsThatCannotBe) {
  float values[4]{7, 7, 7, 7};
  for (const std::string& none : {testing::TempDir(), kFile + "/none", ""s}) {
    EXPECT_EQ(mvk_read_landmarks(values, 2, none.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(mvk_write_landmarks(values, 2, none.c_str(), 1, 2, ','), MVK_OK);
    EXPECT_EQ(values[0], 7.0F) << none;
  }
  EXPECT_EQ(mvk_read_landmarks(values, 0, nullptr, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_read_landmarks(nullptr, 1, kPath, 0, 3, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_write_landmarks(values, 1, nullptr, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_write_landmarks(nullptr, 1, kPath, 1, 2, ','), MVK_BAD_ARGUMENT);
  EXPECT_FALSE(std::filesystem::exists(kPath));
  EXPECT_EQ(mvk_write_landmarks(nullptr, 0, kPath, 1, 2, ','), MVK_OK);
  EXPECT_EQ(mvk_read_landmarks(nullptr, -1, kPath, 1, 2, ','), MVK_OK);
  EXPECT_TRUE(std::filesystem::is_empty(kPath) && std::filesystem::remove(kPath));
}

// Against std::getline with a delimiter.
TEST(Split, AgreesWithGetlineOnRandomTexts) {
  test::Random random(1);
  for (int round = 0; round < 9000; ++round) {
    std::string text;
    for (int i = random.range(0, 9); i > 0; --i) text += ",, a\n\0"[random.range(0, 5)];
    const char separator = ", \n\0"[random.range(0, 3)];
    std::vector<std::string> expected, fields{text};
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, separator);) expected.push_back(field);
    ASSERT_EQ(kel::string::split(text, separator), expected) << '"' << text << '"';
    expected.insert(expected.begin(), text);
    // The text is one of the fields that it is appended to.
    ASSERT_EQ(kel::string::split(fields[0], separator, fields), expected) << '"' << text << '"';
  }
}

}  // namespace
