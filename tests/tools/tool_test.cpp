// The tool as its users run it: command lines in, files, texts and exit status out.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "pictures/files.h"
#include "support/samples.h"

namespace {

namespace fs = std::filesystem;

struct Result {
  int status;
  std::string out;
  std::string err;
};

std::string text_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Each test works in an empty folder that holds a link to the samples.
class Tool : public testing::Test {
 protected:
  Tool() {
    std::string name = (fs::temp_directory_path() / "morvik_tool_XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
    fs::create_directory_symlink(MORVIK_SAMPLES, folder_ / "samples");
  }
  ~Tool() override { fs::remove_all(folder_); }

  Result run(const std::string& arguments) const {
    const std::string line =
        "cd '" + folder_.string() + "' && '" MORVIK_TOOL "' " + arguments + " >out.log 2>err.log";
    const int status = std::system(line.c_str());
    const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return {exit, text_of(folder_ / "out.log"), text_of(folder_ / "err.log")};
  }
  void expect_done(const std::string& arguments) const {
    const Result result = run(arguments);
    EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
    EXPECT_EQ(result.err, "") << arguments;
  }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

  // Writes all planes, padding included, as a raw frame.
  void write_raw(const test::TestImage& image, const std::string& name) const {
    std::ofstream out(file(name), std::ios::binary);
    for (int plane = 0; plane < (image.descriptor().plane[1] != nullptr ? 2 : 1); ++plane) {
      out.write(reinterpret_cast<const char*>(image.row(0, plane)),
                static_cast<std::streamsize>(image.plane_size(plane)));
    }
  }

  fs::path folder_;
};

TEST_F(Tool, PaddedFramesComeOutRight) {
  for (const uint32_t format : test::kFormats) {
    const std::string name = tool::format_of(format).name.data();
    const test::TestImage image(format, 36, 20, 13, 13);
    write_raw(image, "in." + name);
    const int stride = image.descriptor().pitch[0];
    expect_done("convert in." + name + " --raw " + name + " --size 36x20 --stride " +
                std::to_string(stride) + " -o out." + name);
    const tool::Bytes packed = tool::read_file(file("out." + name));
    const tool::Picture shape(format, {36, 20});
    ASSERT_EQ(packed.size(), shape.bytes().size());
    size_t at = 0;
    for (int plane = 0; plane < tool::format_of(format).planes; ++plane) {
      for (int y = 0; y < shape.rows(plane); ++y, at += shape.row_bytes(plane)) {
        EXPECT_TRUE(std::equal(packed.begin() + static_cast<ptrdiff_t>(at),
                               packed.begin() + static_cast<ptrdiff_t>(at + shape.row_bytes(plane)),
                               image.row(y, plane)))
            << name << " plane " << plane << " row " << y;
      }
    }
  }
}

// A quarter turn of a padded frame of odd size: the even part, clockwise.
TEST_F(Tool, TurnsTheEvenPartOfOddFrames) {
  const test::TestImage image(QX_FMT_NV21, 31, 19, 10, 9);  // rows of 41 bytes in both planes
  write_raw(image, "in.nv21");
  expect_done("rotate in.nv21 --raw nv21 --size 31x19 --stride 41 --angle 90 -o out.nv21");
  const tool::Picture turned =
      tool::read_picture(file("out.nv21"), tool::RawLayout{QX_FMT_NV21, {18, 30}, 0});
  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 18; ++x) {
      ASSERT_EQ(turned.row(y)[x], image.row(17 - x)[y]) << x << " " << y;
      ASSERT_EQ(turned.row(y / 2, 1)[x], image.row(8 - x / 2, 1)[y / 2 * 2 + x % 2])
          << x << " " << y;
    }
  }
}

TEST_F(Tool, FindsBoxesAndOutlinesOfARectangle) {
  expect_done("fill-polygon --points '40,30 99,30 99,69 40,69' --size 160x120 -o mask.png");
  EXPECT_EQ(run("bbox mask.png").out, "40 30 99 69\n");
  EXPECT_EQ(run("bbox mask.png --json").out,
            "{\"left\": 40, \"top\": 30, \"right\": 99, \"bottom\": 69}\n");
  EXPECT_EQ(
      run("outline mask.png --mode hull-fill-stroke --expand 0 --points simple --json").status, 0);
  expect_done("morph mask.png --amount 10 -o grown.png");
  EXPECT_EQ(run("bbox grown.png").out, "35 25 104 74\n");
  const std::string json = run("outline mask.png --expand 12 --polygon").out;
  EXPECT_NE(json.find("{\"width\": 160, \"height\": 120, \"outlines\": ["), std::string::npos);
  int x = 0;
  int left = 160;
  std::string rest = json.substr(json.find("outlines"));
  for (size_t at = rest.find('['); at != std::string::npos; at = rest.find('[', at + 1)) {
    if (std::sscanf(rest.c_str() + at, "[%d,", &x) == 1) left = std::min(left, x);
  }
  EXPECT_EQ(left, 40 - 12);
  expect_done("outline mask.png --svg out.svg --overlay samples/hopper.jpg -o shown.png");
  EXPECT_NE(text_of(folder_ / "out.svg").find("viewBox=\"-0.5 -0.5 160 120\""), std::string::npos);
}

TEST_F(Tool, StickersHaveAnOpaqueBorderOnTransparentGround) {
  expect_done("fill-polygon --points '100,100 300,100 300,400 100,400' --size 512x600 -o mask.png");
  expect_done("sticker samples/hopper.jpg mask.png --expand 20 --color '#1080f0' -o out.png");
  const tool::Picture sticker = tool::read_picture(file("out.png"));
  const test::TestImage photo = test::sample_photo("hopper.jpg");
  ASSERT_EQ(sticker.format(), QX_FMT_ARGB);
  EXPECT_EQ(sticker.row(10)[4 * 10 + 3], 0);
  const uint8_t* border = sticker.row(250) + 4 * 90;
  EXPECT_EQ(std::vector<int>(border, border + 4), (std::vector<int>{0xF0, 0x80, 0x10, 255}));
  EXPECT_TRUE(
      std::equal(photo.row(250) + 3 * 200, photo.row(250) + 3 * 201, sticker.row(250) + 4 * 200));
  expect_done("sticker samples/hopper.jpg mask.png --expand 20 --crop -o crop.png");
  EXPECT_NEAR(tool::read_picture(file("crop.png")).width(), 201 + 2 * 20, 5);
}

TEST_F(Tool, ConvertsLandmarksAndPredictsForeheads) {
  const Result layout = run("landmarks samples/hopper_landmarks106.txt");
  EXPECT_EQ(std::count(layout.out.begin(), layout.out.end(), '\n'), 96);
  EXPECT_TRUE(
      text_of(MORVIK_SAMPLES "/hopper_landmarks106.txt").starts_with(layout.out.substr(0, 13)));
  expect_done("landmarks samples/hopper_landmarks106.txt -o 96.txt");
  EXPECT_EQ(text_of(folder_ / "96.txt"), layout.out);
  const Result forehead = run("forehead samples/hopper_landmarks106.txt --image-size 512x600");
  EXPECT_EQ(std::count(forehead.out.begin(), forehead.out.end(), '\n'), 11);
  // Both layouts predict the same points but for the rounding of the input.
  std::istringstream one(forehead.out);
  std::istringstream other(run("forehead 96.txt --image-size 512x600").out);
  int a = 0;
  int b = 0;
  char comma = 0;
  while (one >> a && other >> b) {
    EXPECT_NEAR(a, b, 2);
    if (one.peek() == ',') one >> comma, other >> comma;
  }
  expect_done("forehead 96.txt --overlay samples/hopper.jpg -o shown.png");
}

TEST_F(Tool, WorksThroughSeveralFiles) {
  fs::create_directory(folder_ / "to");
  expect_done("resize samples/hopper.jpg samples/photographer.png --to 40x30 -o to --as jpg");
  EXPECT_EQ(tool::read_picture(file("to/hopper.jpg")).size(), (tool::Size{40, 30}));
  EXPECT_EQ(tool::read_picture(file("to/photographer.jpg")).format(), QX_FMT_GRAY);
  EXPECT_EQ(run("resize samples/hopper.jpg samples/collins.jpg --to 4x4 -o none.png").status, 2);
}

TEST_F(Tool, SaysWhatIsWrong) {
  expect_done("resize samples/hopper_mask_256x256.png --to 600x600 -o large.png");
  expect_done("fill-polygon --points '0,0' --size 64x64 -o dot.png");
  expect_done("morph dot.png --amount -8 -o empty.png");
  std::ofstream(file("text.png")) << "not a picture";
  std::ofstream(file("points.txt")) << "1,2\n3;4\n";
  const std::string mask = "samples/hopper_mask_256x256.png";
  const struct {
    std::string arguments;
    int status;
    const char* sentence;
  } cases[] = {
      {"", 2, "A subcommand is required"},
      {"rotat", 2, "there is no command 'rotat'; did you mean 'rotate'?"},
      {"something", 2, "see 'morvik --help'"},
      {"morph x.png --amout=3", 2, "there is no option '--amout'; did you mean '--amount'?"},
      {"rotate samples/hopper.jpg --angle 45 -o o.png", 2, "--angle"},
      {"rotate samples/hopper.jpg --angle 90", 2, "--output is required"},
      {"blur samples/hopper.jpg --kernel 8 -o o.png", 2, "an odd number is needed"},
      {"morph " + mask + " --amount 201 -o o.png", 2, "-200"},
      {"convert missing.png -o o.png", 2, "cannot open missing.png: No such file"},
      {"convert text.png -o o.png", 2, "text.png: neither PNG nor JPEG"},
      {"convert samples -o o.png", 2, "Is a directory"},
      {"convert samples/hopper.jpg -o o.tiff", 2, "the ending says what is written"},
      {"convert samples/hopper.jpg -o none/o.png", 2, "cannot write none/o.png: No such file"},
      {"convert samples/hopper.jpg -o /dev/null", 2, "exists and is not a file"},
      {"convert large.png -o ./large.png", 2, "is an input; inputs are never overwritten"},
      {"convert " + mask + " --raw nv21 --size 64x64 -o o.png", 2,
       "frame with rows of 64 bytes has 6144"},
      {"convert " + mask + " --raw nv21 --size 64 -o o.png", 2, "write WIDTHxHEIGHT"},
      {"resize " + mask + " --to 0x5 -o o.png", 2, "the size 0x5 is not accepted"},
      {"smooth-mask samples/hopper.jpg large.png -o o.png", 2,
       "mask is 600x600; at most 520x520 is accepted"},
      {"smooth-mask " + mask + " " + mask + " -o o.png", 2,
       "has to be smaller than the photograph (256x256)"},
      {"smooth-mask samples/hopper.jpg " + mask + " --limit 127 -o o.png", 2,
       "at least 128 is needed"},
      {"sticker samples/hopper.jpg " + mask + " -o o.jpg", 2, "write a .png"},
      {"sticker samples/hopper.jpg " + mask + " --color red -o o.png", 2, "'red' is not a colour"},
      {"forehead points.txt --image-size 64x64", 2, "line 2 is not a point"},
      {"landmarks samples/hopper_forehead_mesh15.txt", 2, "has 15 points; a face has 106"},
      {"bbox empty.png", 1, "no pixel is 128 or more"},
      {"outline empty.png", 1, "no pixel is above 127"},
  };
  for (const auto& wrong : cases) {
    const Result result = run(wrong.arguments);
    EXPECT_EQ(result.status, wrong.status) << wrong.arguments;
    EXPECT_NE(result.err.find(wrong.sentence), std::string::npos) << wrong.arguments << "\n"
                                                                  << result.err;
    EXPECT_EQ(result.out, "") << wrong.arguments;
  }
  for (const auto& entry : fs::directory_iterator(folder_)) {
    EXPECT_FALSE(entry.path().filename().string().starts_with("o.")) << "left behind: " << entry;
  }
}

TEST_F(Tool, EveryCommandExplainsItself) {
  std::istringstream help(run("--help").out.substr(run("--help").out.find("Subcommands:\n") + 13));
  int commands = 0;
  for (std::string line; std::getline(help, line) && line.starts_with("  "); ++commands) {
    const std::string name = line.substr(2, line.find(' ', 2) - 2);
    const Result result = run(name + " --help");
    EXPECT_EQ(result.status, 0) << name;
    EXPECT_NE(result.out.find("Example:\n  morvik " + name), std::string::npos) << name;
  }
  EXPECT_EQ(commands, 15);
  EXPECT_NE(run("info").out.find(qxMorvik_version()), std::string::npos);
}

TEST_F(Tool, DemoIsOneFile) {
  const Result result = run("demo");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("out/demo/index.html"), std::string::npos);
  const std::string page = text_of(folder_ / "out/demo/index.html");
  EXPECT_EQ(page.find("http"), std::string::npos);
  size_t sources = 0;
  for (size_t at = page.find(" src=\""); at != std::string::npos;
       at = page.find(" src=\"", at + 1)) {
    EXPECT_EQ(page.compare(at + 6, 11, "data:image/"), 0);
    ++sources;
  }
  EXPECT_GT(sources, 40u);
}

}  // namespace
