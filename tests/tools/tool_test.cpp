// The tool as its users run it: command lines in, files, texts and exit status out.
#include <fcntl.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <opencv2/core.hpp>
#include <regex>

#include "morvik/morvik.hpp"
#include "support/samples.h"
#include "tool_fixture.h"

namespace {

namespace fs = std::filesystem;
using test::Result;
using test::TestImage;
using Tool = test::Tool;

std::vector<int32_t> numbers_in(const std::string& text) {
  std::vector<int32_t> numbers;
  const std::regex number("-?[0-9]+");
  for (std::sregex_iterator it(text.begin(), text.end(), number), end; it != end; ++it) {
    numbers.push_back(std::stoi(it->str()));
  }
  return numbers;
}

// Of a two-plane frame turns keep the even part.
TEST_F(Tool, PaddedFramesComeOutPackedAndTurned) {
  for (const uint32_t format : test::kFormats) {
    const TestImage image(format, 37, 21);
    const tool::Picture packed_picture(format, {37, 21});
    const int planes = tool::planes_of(format);
    std::string padded, packed, even;
    for (int plane = 0; plane < planes; ++plane) {
      for (int y = 0; y < packed_picture.rows(plane); ++y) {
        const auto* bytes = reinterpret_cast<const char*>(image.row(y, plane));
        const std::string row(bytes, packed_picture.row_bytes(plane));
        packed += row;
        padded += row + std::string(160 - row.size(), '?');
        if (planes == 1) even += row;
        if (planes == 2 && y < (plane == 0 ? 20 : 10)) even += row.substr(0, 36);
      }
    }
    tool::write_file(file("in"), padded);
    const std::string name = tool::format_name(format), raw = " --raw " + name + " --size ";
    expect_done("convert in" + raw + "37x21 --stride 160 -o packed." + name);
    EXPECT_TRUE(text_of("packed." + name) == packed) << name;
    if (format == QX_FMT_ABGR) continue;  // can only be converted
    expect_done("rotate in" + raw + "37x21 --stride 160 --angle 90 -o turned." + name);
    expect_done("rotate turned." + name + raw + (planes == 2 ? "20x36" : "21x37") +
                " --angle 270 -o back." + name);
    EXPECT_TRUE(text_of("back." + name) == even) << name;
  }
}

TEST_F(Tool, PrintsBoxesAndOutlinesOfASquare) {
  expect_done("fill-polygon --points '80,80 120,80 120,120 80,120' --size 200x160 -o mask.png");
  EXPECT_EQ(run("bbox mask.png").out, "80 80 120 120\n");
  EXPECT_EQ(run("bbox mask.png --json").out,
            "{\"left\": 80, \"top\": 80, \"right\": 120, \"bottom\": 120}\n");
  expect_done("rotate mask.png --angle 90 -o turned.png");
  EXPECT_EQ(run("bbox turned.png").out, "39 80 79 120\n");
  EXPECT_EQ(
      run("outline mask.png --mode vector --expand 10 --points simple --svg o.svg --json").out,
      "{\"width\": 200, \"height\": 160, \"outlines\": [\n"
      "  [[129,80],[129,129],[80,129],[80,80]]\n]}\n");
  EXPECT_NE(text_of("o.svg").find("viewBox=\"-0.5 -0.5 200 160\""), std::string::npos);
  EXPECT_NE(text_of("o.svg").find("\"M129,80 L129,129 L80,129 L80,80 Z\n\""), std::string::npos);
}

TEST_F(Tool, OutlineOptionsReachTheService) {
  const std::string mask = "photographer_mask_256x256.png";
  const TestImage image = test::sample_mask(mask);
  const QX_OFFSCREEN& pixels = image.descriptor();
  const morvik::ConstView view(morvik::Format::gray, {256, 256}, image.row(0), pixels.pitch[0]);
  const TPOINT center{120, 90};
  MKOutlineMode mode{0, MK_OCHAIN_SIMPLE, 9, MK_OSMOOTH_3, 1, &center, 60};
  for (const std::string name : {"stroke", "fill-stroke", "hull-fill-stroke", "polar", "hull-polar",
                                 "polar-center", "vector", "hull-vector", "vector-center"}) {
    std::vector<int32_t> expected{256, 256};
    for (const morvik::Outline outline : morvik::Outlines(view, mode)) {
      for (const auto& [x, y] : outline) expected.insert(expected.end(), {x, y});
    }
    expect_done(
        "outline samples/" + mask + " --mode " + name +
        " --expand 9 --points simple --smooth 3 --polygon --threshold 60 --quiet --center 120,90");
    EXPECT_EQ(numbers_in(text_of("out.log")), expected) << name;
    ++mode.mode;
  }
}

TEST_F(Tool, StickersHaveAnOpaqueBorderOnTransparentGround) {
  expect_done("fill-polygon --points '100,100 300,100 300,400 100,400' --size 512x600 -o mask.png");
  expect_done("sticker samples/hopper.jpg mask.png --expand 20 --color '#1080f0' -o out.png");
  const tool::Picture sticker = picture("out.png");
  const TestImage photo = test::sample_photo("hopper.jpg");
  const auto pixel = [&](int x) { return cv::Vec4b(sticker.row(250) + 4 * x); };
  EXPECT_EQ(pixel(10)[3], 0);
  EXPECT_EQ(pixel(90), cv::Vec4b(0xF0, 0x80, 0x10, 255));
  const uint8_t* inside = photo.row(250) + 3 * 200;
  EXPECT_EQ(pixel(200), cv::Vec4b(inside[0], inside[1], inside[2], 255));
  expect_done("sticker samples/hopper.jpg mask.png --expand 20 --crop -o crop.png");
  EXPECT_NEAR(picture("crop.png").width(), 201 + 2 * 20, 5);
  expect_done("sticker samples/hopper.jpg mask.png --fit 128 -o fit.webp --quality 100");
  const tool::Picture fit = picture("fit.webp");
  ASSERT_EQ(fit.size(), (tool::Size{128, 128}));
  EXPECT_EQ(fit.row(64)[4 * 64 + 3], 255);
  EXPECT_EQ(fit.row(64)[3], 0) << "taller than wide: nothing at the side";
  EXPECT_NE(fit.row(0)[4 * 64 + 3], 0) << "reaches the upper edge";
}

// A blue shape on a red ground, their colours mixed where they meet: no red in the soft edge, nor
// in what is transparent; a hard edge shows what is there.
TEST_F(Tool, StickersShowNothingOfTheGround) {
  tool::Picture photo(QX_FMT_RGB24, {120, 80}), mask(QX_FMT_GRAY, {120, 80});
  for (int y = 0; y < 80; ++y) {
    for (int x = 0; x < 120; ++x) {
      const bool inside = x >= 40 && x < 80 && y >= 20 && y < 60;
      const bool rim = inside && (x == 40 || x == 79 || y == 20 || y == 59);
      photo.row(y)[3 * x] = rim ? 128 : (inside ? 255 : 0);
      photo.row(y)[3 * x + 2] = rim ? 128 : (inside ? 0 : 255);
      mask.row(y)[x] = inside ? 255 : 0;
    }
  }
  tool::write_file(file("p.png"), tool::encode_png(photo));
  tool::write_file(file("m.png"), tool::encode_png(mask));
  const auto count = [&](const std::string& options, auto predicate) {
    expect_done("sticker p.png m.png --color '#000000' -o out.png " + options);
    const tool::Bytes bytes = picture("out.png").bytes();
    int found = 0;
    for (size_t i = 0; i < bytes.size(); i += 4) found += predicate(&bytes[i]) ? 1 : 0;
    return found;
  };
  const auto red = [](const uint8_t* pixel) { return pixel[2] > 0; };
  const auto soft = [](const uint8_t* pixel) { return pixel[0] > 0 && pixel[0] < 255; };
  const auto half = [](const uint8_t* pixel) { return pixel[3] > 0 && pixel[3] < 255; };
  EXPECT_EQ(count("", red), 0);
  EXPECT_GE(count("", soft), 4 * 38);
  EXPECT_EQ(count("--expand 0", red), 0);
  EXPECT_GE(count("--expand 0", half), 4 * 38);
  EXPECT_EQ(count("--hard-edge", red), 4 * 39);
  EXPECT_EQ(count("--hard-edge --expand 0", half), 0);
}

TEST_F(Tool, ConvertsLandmarksAndPredictsForeheads) {
  std::vector<float> read(212);
  mvk_read_landmarks(read.data(), 106, MORVIK_SAMPLES "/hopper_landmarks106.txt", 1, 2, ',');
  std::vector<int32_t> points, expected(22);
  for (const float value : read) points.push_back(static_cast<int32_t>(std::lround(value)));
  mvk_guess_forehead_landmarks(expected.data(), points.data(), 106, 512, 600);
  const std::string face = "forehead samples/hopper_landmarks106.txt ";
  EXPECT_EQ(numbers_in(run(face + "--image-size 512x600").out), expected);
  EXPECT_EQ(numbers_in(run(face + "--overlay samples/hopper.jpg -o o.png --json").out), expected);
  expect_done("landmarks samples/hopper_landmarks106.txt -o 96.txt");
  EXPECT_EQ(run("landmarks samples/hopper_landmarks106.txt").out, text_of("96.txt"));
  // Both layouts predict the same points but for the rounding of the input.
  const std::vector<int32_t> other = numbers_in(run("forehead 96.txt --image-size 512x600").out);
  for (size_t i = 0; i < 22; ++i) EXPECT_NEAR(other.at(i), expected[i], 2);
}

TEST_F(Tool, WorksThroughSeveralFiles) {
  fs::create_directory(folder_ / "to");
  const Result result =
      run("resize samples/hopper.jpg samples/photographer.png --to 40x30 -o to --as jpg");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("2 done"), std::string::npos) << result.err;
  EXPECT_EQ(picture("to/hopper.jpg").size(), (tool::Size{40, 30}));
  EXPECT_EQ(picture("to/photographer.jpg").format(), QX_FMT_GRAY);
}

TEST_F(Tool, SaysWhatIsWrong) {
  expect_done("resize samples/hopper_mask_256x256.png --to 600x600 -o large.png");
  expect_done("resize samples/hopper_mask_256x256.png --to 900x600 -o wide.png");
  expect_done("fill-polygon --points '0,0' --size 64x64 -o dot.png");
  expect_done("morph dot.png --amount -8 -o empty.png");
  std::ofstream(file("text.png")) << "not a picture";
  std::ofstream(file("points.txt")) << "1,2\n3;4\n";
  const auto before = names_and_contents();
  const std::string photo = "samples/hopper.jpg", mask = "samples/hopper_mask_256x256.png";
  const std::string raw = "convert " + mask + " --raw nv21 --size ", out = " -o o.png";
  const char* const kept = "is an input; inputs are never overwritten";
  // As the CLI11 of this system words it.
  const std::string range = "--png-level: " + CLI::Range(1, 12)(std::string("13")) + "; see";
  const std::tuple<std::string, int, const char*> cases[] = {
      {"", 2, "A subcommand is required"},
      {"rotat", 2, "there is no command 'rotat'; did you mean 'rotate'?"},
      {"something", 2, "there is no command 'something'; see 'morvik --help'"},
      {"morph x.png --amout=3", 2, "there is no option '--amout'; did you mean '--amount'?"},
      {"blur " + photo + " --kernel 8" + out, 2, "an odd number is needed"},
      {"convert missing.png" + out, 2, "cannot open missing.png: No such file"},
      {"convert text.png" + out, 2, "text.png: neither PNG nor JPEG nor WebP"},
      {"convert " + photo + " -o o.tiff", 2, "the ending says what is written"},
      {"convert " + photo + " -o none/o.png", 2, "cannot write none/o.png: No such file"},
      {"convert " + photo + " -o /dev/null", 2, "exists and is not a file"},
      {raw + "64x64" + out, 2, "frame with rows of 64 bytes has 6144"},
      {raw + "5x4 --stride 5" + out, 2, "have 6 bytes"},
      {raw + "32766x32766" + out, 2, "at most 100 million"},
      {raw + "64" + out, 2, "write WIDTHxHEIGHT"},
      {"resize " + mask + " " + photo + " --to 4x4" + out, 2, "several inputs need a folder"},
      {"smooth-mask " + photo + " wide.png" + out, 2, "their proportions differ by more than 1 %"},
      {"smooth-mask " + photo + " samples" + out, 2, "neither two files nor two folders"},
      {"convert " + mask + " -o o.png --png-level 13", 2, range.c_str()},
      {raw + "64x64 --stride-uv 8" + out, 2, "--stride-uv 8 is too small"},
      {"smooth-mask " + photo + " " + mask + " --limit 127" + out, 2, "at least 128 is needed"},
      {"sticker " + photo + " " + mask + " -o o.jpg", 2, "write a .png, .webp"},
      {"sticker " + photo + " " + mask + " --color red" + out, 2, "'red' is not a colour"},
      {"forehead points.txt --image-size 64x64", 2, "line 2 is not a point"},
      {"landmarks samples/hopper_forehead_mesh15.txt", 2, "has 15 points; a face has 106"},
      {"convert large.png -o ./large.png", 2, kept},
      {"smooth-mask large.png m.png -o large.png", 2, kept},
      {"smooth-mask p.jpg large.png -o large.png", 2, kept},
      {"sticker large.png m.png -o large.png", 2, kept},
      {"sticker p.jpg large.png -o large.png", 2, kept},
      {"outline large.png --svg large.png", 2, kept},
      {"outline large.png -o a.svg --svg ./a.svg", 2, "-o and --svg would both become a.svg"},
      {"outline m.png --overlay large.png -o large.png", 2, kept},
      {"forehead points.txt --overlay p.jpg -o points.txt", 2, kept},
      {"forehead points.txt --overlay large.png -o large.png", 2, kept},
      {"landmarks points.txt -o points.txt", 2, kept},
      {"fill-polygon --size 9x9 --file points.txt -o points.txt", 2, kept},
      {"bbox empty.png", 1, "no pixel is 128 or more"},
      {"outline empty.png --svg o.svg", 1, "no pixel is above 127"},
  };
  for (const auto& [arguments, status, sentence] : cases) {
    const Result result = run(arguments);
    EXPECT_EQ(result.status, status) << arguments;
    EXPECT_NE(result.err.find(sentence), std::string::npos) << arguments << "\n" << result.err;
    EXPECT_EQ(result.out, "") << arguments;
  }
  EXPECT_TRUE(names_and_contents() == before) << "a file was written";
}

// On a disk that is full half-way a file keeps its old content.
TEST_F(Tool, WritesWholeFilesOrNone) {
  expect_done("convert samples/hopper.jpg -o out.png");
  const auto before = names_and_contents();
  const Result result = run("convert samples/collins.jpg -o out.png", "ulimit -f 8; ");
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.err.find("cannot write out.png: File too large"), std::string::npos);
  EXPECT_TRUE(names_and_contents() == before);
  const std::string frames = "(cat samples/*.nv21; sleep 1) | timeout -s ";
  for (const std::string signal : {"KILL", "TERM"}) {
    const std::string killed = frames + signal +
                               " 0.5 " MORVIK_TOOL
                               " rotate - --raw nv21 --size 640x480 --angle 90 -o killed.nv21";
    EXPECT_NE(std::system(("cd " + folder_.string() + "; " + killed).c_str()), 0);
    EXPECT_TRUE(names_and_contents() == before) << signal;
  }
}

TEST_F(Tool, WritesToLongNamesAndSlowReaders) {
  const std::string name = std::string(250, 'n') + ".png";
  for (const std::string photo : {"hopper", "collins"}) {
    expect_done("convert samples/" + photo + ".jpg -o " + name);
    EXPECT_TRUE(picture(name).bytes() == picture("samples/" + photo + ".jpg").bytes()) << photo;
  }
  // A pipe that takes 64 KB and then says that it is not ready.
  FILE* slow = ::popen(("sleep 0.3; cat >" + file("slow.nv21")).c_str(), "w");
  ASSERT_NE(slow, nullptr);
  ASSERT_EQ(::fcntl(::fileno(slow), F_SETFL, O_WRONLY | O_NONBLOCK), 0);
  const std::string frame = "samples/hopper_frame_640x480.nv21";
  const std::string to_pipe = " -o - >&" + std::to_string(::fileno(slow));
  const std::string convert =
      MORVIK_TOOL " convert " + frame + " --raw nv21 --size 640x480 --as nv21";
  EXPECT_EQ(std::system(("cd " + folder_.string() + " && " + convert + to_pipe).c_str()), 0);
  ::pclose(slow);
  EXPECT_TRUE(text_of("slow.nv21") == text_of(frame));
}

// Not where a sanitizer or an emulator takes more memory than this for itself.
TEST_F(Tool, EndsWithASentenceWhenMemoryRunsOut) {
  if (run("--version", "ulimit -v 80000; ").status != 0) GTEST_SKIP();
  std::string noise(20'000'000, '\0');
  test::Random random(5);
  for (char& byte : noise) byte = static_cast<char>(random.next());
  tool::write_file(file("noise.gray"), noise);
  for (const std::string limit : {"80000", "100000", "110000", "120000"}) {
    const Result result =
        run("convert noise.gray --raw gray --size 5000x4000 --quality 100 -o n.jpg",
            "ulimit -v " + limit + "; ");
    if (result.status == 0) continue;  // some systems need less
    EXPECT_EQ(result.status, 2) << limit;
    EXPECT_NE(result.err.find("memory"), std::string::npos) << limit << ": " << result.err;
  }
}

TEST_F(Tool, EveryCommandExplainsItself) {
  for (const std::string name : {"convert", "rotate", "resize", "smooth-mask", "fill-holes",
                                 "morph", "blur", "fill-polygon", "bbox", "outline", "sticker",
                                 "forehead", "landmarks", "info", "completion", "man", "demo"}) {
    expect_done(name + " --help");
    EXPECT_NE(text_of("out.log").find("Example:\n  morvik " + name), std::string::npos) << name;
    EXPECT_NE(run("man").out.find("\n.SS " + name + "\n"), std::string::npos) << name;
    EXPECT_NE(run("completion zsh").out.find(" " + name + ") _arguments"), std::string::npos);
  }
  EXPECT_NE(run("info").out.find(qxMorvik_version()), std::string::npos);
}

// Completion as bash asks for it: the words so far, and what it offers for the last one.
TEST_F(Tool, BashCompletesCommandsOptionsAndChoices) {
  tool::write_file(file("completion"), run("completion bash").out);
  const auto offered = [&](const std::string& words, int last) {
    const std::string ask = "cd " + folder_.string() + "; bash -c '. ./completion; COMP_WORDS=(" +
                            words + "); COMP_CWORD=" + std::to_string(last) +
                            "; _morvik; echo ${COMPREPLY[*]}' >offered";
    EXPECT_EQ(std::system(ask.c_str()), 0);
    return text_of("offered");
  };
  EXPECT_EQ(offered("morvik ro", 1), "rotate\n");
  EXPECT_EQ(offered("morvik --quiet sti", 2), "sticker\n");
  EXPECT_EQ(offered("morvik rotate in.png --ang", 3), "--angle\n");
  EXPECT_EQ(offered("morvik resize in.png --method c", 4), "cubic\n");
  EXPECT_EQ(offered("morvik rotate in", 2), "\n") << "files are left to the shell";
}

TEST_F(Tool, ColoursAreForTerminalsThatWantThem) {
  if (std::system("script -qec true /dev/null >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "this system gives no terminal to script";
  }
  const std::string on_terminal =
      "cd " + folder_.string() + "; export TERM=xterm; script -qec \"" MORVIK_TOOL;
  for (const bool wanted : {true, false}) {
    const std::string setting = wanted ? "unset NO_COLOR; " : "export NO_COLOR=1; ";
    EXPECT_NE(std::system((setting + on_terminal + " nothing\" log >shown").c_str()), 0);
    EXPECT_NE(text_of("shown").find("there is no command"), std::string::npos);
    EXPECT_EQ(text_of("shown").find('\033') != std::string::npos, wanted);
  }
}

TEST_F(Tool, DemoIsOneFile) {
  expect_done("demo --quick -o 'a demo'");
  const std::string page = text_of("a demo/index.html");
  EXPECT_EQ(page.find("http"), std::string::npos);
  EXPECT_FALSE(std::regex_search(page, std::regex(" src=\"(?!data:image/)")));
  EXPECT_FALSE(std::regex_search(page, std::regex(" (id|href)=\"[^\"]* ")));  // anchors are words
  const std::regex picture(" src=\"data:image/");
  EXPECT_GT(std::distance(std::sregex_iterator(page.begin(), page.end(), picture), {}), 40);
}

}  // namespace
