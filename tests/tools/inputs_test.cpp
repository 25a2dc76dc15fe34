// Pictures as they come: turned by EXIF, with profiles, with transparency, in streams, and masks
// that do not quite fit.
#include <opencv2/core.hpp>

#include "support/samples.h"
#include "tool_fixture.h"

namespace {

using test::Result;
using tool::Bytes;
using tool::Decoded;
using tool::Picture;

class Inputs : public test::Tool {
 protected:
  Decoded decoded(const std::string& name) const {
    return tool::decode_picture(tool::read_file(file(name)));
  }
  // Runs the command line and looks for the sentence on standard error; "" wants none.
  void expect_said(const std::string& arguments, int status, const std::string& sentence) const {
    const Result result = run(arguments);
    EXPECT_EQ(result.status, status) << arguments << "\n" << result.err;
    EXPECT_EQ(result.err.empty(), sentence.empty()) << arguments << "\n" << result.err;
    EXPECT_NE(result.err.find(sentence), std::string::npos) << arguments << "\n" << result.err;
  }
};

// Files made by Pillow stand upright, keep their profile and lose their orientation.
TEST_F(Inputs, OrientationIsAppliedAndProfilesTravel) {
  const Picture upright = picture("pictures/upright.png");
  const Bytes icc = decoded("pictures/turned_1.png").color.icc;
  ASSERT_GT(icc.size(), 128u);
  for (const std::string ending : {"png", "jpg", "webp"}) {
    for (int i = 1; i <= 8; ++i) {
      const std::string name = "pictures/turned_" + std::to_string(i) + "." + ending;
      expect_done("convert " + name + " -o out." + ending + " --quality 100");
      const Decoded out = decoded("out." + ending);
      ASSERT_EQ(out.picture.size(), upright.size()) << name;
      const bool exact = ending != "jpg";
      EXPECT_GT(cv::PSNR(out.picture.bytes(), upright.bytes()), exact ? 300 : 35) << name;
      EXPECT_EQ(out.color.icc, icc) << name;
      EXPECT_EQ(out.orientation, 1) << name;
      expect_done("convert " + name + " --no-orient -o stored.png");
      EXPECT_EQ(picture("stored.png").width(), i <= 4 ? 48 : 32) << name;
    }
  }
  expect_done("fill-holes pictures/turned_6.png -o mask.png");
  EXPECT_TRUE(decoded("mask.png").color.icc.empty()) << "a mask has no colours";
}

TEST_F(Inputs, MasksAreReadAsTheyAreMeant) {
  const Picture mask = picture("pictures/mask.png");
  for (const std::string name : {"cut.png", "cut.webp", "gray_cut.png", "mask_gamma.png"}) {
    expect_done("fill-holes pictures/" + name + " -o out.png");
    EXPECT_EQ(picture("out.png").bytes(), mask.bytes()) << name;
  }
  Picture veil(QX_FMT_ARGB, {9, 7});  // half transparent everywhere
  for (uint8_t* byte = veil.row(0); byte < veil.row(0) + 9 * 7 * 4; ++byte) *byte = 128;
  tool::write_file(file("veil.png"), tool::encode_png(veil));
  expect_done("blur veil.png -o out.png");
  EXPECT_EQ(picture("out.png").bytes(), veil.bytes());
  EXPECT_EQ(run("bbox pictures/cut.png").out, "8 8 39 23\n");
  EXPECT_NE(run("bbox pictures/cut.png --mask-channel luma").out, "8 8 39 23\n");
  expect_said("bbox pictures/mask.png --mask-channel alpha", 2, "the mask has no alpha channel");
}

TEST_F(Inputs, TransparencyIsKeptWhereItCanBe) {
  expect_done("rotate pictures/cut.png --angle 180 -o turned.webp --quality 100");
  expect_done("resize turned.webp --to 24x16 -o small.png");
  expect_done("blur small.png --kernel 3 -o blurred.png");
  const Picture small = picture("blurred.png");
  ASSERT_EQ(small.format(), QX_FMT_ARGB);
  EXPECT_EQ(small.row(0)[3], 0);
  EXPECT_EQ(small.row(8)[4 * 12 + 3], 255);
  expect_said("convert pictures/cut.png -o flat.jpg", 0, "white lies behind it");
  EXPECT_GT(picture("flat.jpg").row(0)[0], 250);
  // What is cut off in the photograph stays cut off in the sticker.
  expect_done("fill-polygon --points '0,0 47,0 47,31 0,31' --size 48x32 -o all.png");
  expect_done("sticker pictures/cut.png all.png --expand 1 -o sticker.png");
  const Picture sticker = picture("sticker.png");
  EXPECT_EQ(sticker.row(2)[4 * 2 + 3], 0);
  EXPECT_EQ(sticker.row(16)[4 * 24 + 3], 255);
}

TEST_F(Inputs, FramesPassThroughOneByOne) {
  const std::string frame = "samples/hopper_frame_640x480.nv21";
  const std::string turn = "rotate - --raw nv21 --size 640x480 --angle 90 --as nv21 -o ";
  const std::string cat = "cat " + frame + " " + frame + " " + frame + " | ";
  const std::string command = "cd " + folder_.string() + "; " + cat + MORVIK_TOOL " ";
  ASSERT_EQ(std::system((command + turn + "- >turned.nv21").c_str()), 0);
  expect_done("rotate " + frame + " --raw nv21 --size 640x480 --angle 90 -o one.nv21");
  const std::string one = text_of("one.nv21");
  EXPECT_TRUE(text_of("turned.nv21") == one + one + one);
  tool::write_file(file("cut"), one + one + "rest");
  const std::string again = "convert cut --raw nv12 --size 480x640 -o out.";
  expect_said(again + "nv21", 2, "frame 3 has 4 bytes");
  expect_said(again + "nv21", 2, "frames done before: 2");
  expect_said(again + "png", 2, "has more than one frame");
  EXPECT_FALSE(std::filesystem::exists(file("out.nv21")));
  tool::write_file(file("-in"), one);
  expect_done("convert --raw nv21 --size 480x640 -o -out.webp -- -in");
  EXPECT_EQ(picture("-out.webp").size(), (tool::Size{480, 640}));
  EXPECT_EQ(
      std::system((command + "convert - -o - --as webp <pictures/mask.png >out.webp").c_str()), 0);
  EXPECT_EQ(picture("out.webp").row(16)[3 * 24], 255);
}

TEST_F(Inputs, WhatIsSurelyNotMeantIsSaid) {
  const std::string photo = "samples/hopper.jpg", mask = "samples/hopper_mask_256x256.png";
  const std::string smooth = "smooth-mask -o out.png " + photo + " ";
  expect_done("resize " + mask + " --to 1024x1024 -o large.png");
  expect_done("resize " + mask + " --to 511x600 -o odd.png");
  expect_done("resize " + mask + " --to 240x205 -o lying.png");
  Picture dark = picture(mask), label = dark;
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      label.row(y)[x] = dark.row(y)[x] / 255;
      dark.row(y)[x] = static_cast<uint8_t>(dark.row(y)[x] * 240 / 255);
    }
  }
  tool::write_file(file("dark.png"), tool::encode_png(dark));
  tool::write_file(file("label.png"), tool::encode_png(label));
  tool::write_file(file("black.png"), tool::encode_png(Picture(QX_FMT_GRAY, {512, 600})));
  std::string points, normalised;
  for (int i = 0; i < 106; ++i) points += std::to_string(0.005 * i) + ",0.5\n";
  tool::write_file(file("shares.txt"), points + "\n\n");
  tool::write_file(file("heic"), std::string_view("\0\0\0\x18"
                                                  "ftypheic\0\0\0\0",
                                                  16));
  struct Case {
    std::string arguments;
    const char* sentence;
    bool warning;  // an error under --strict
  };
  const Case cases[] = {
      {smooth + mask + " --snap", "--snap does nothing at a limit of 640", true},
      {smooth + "dark.png --limit 512", "--stretch maps 0..240 to 0..255", true},
      {smooth + "dark.png --limit 512 --stretch", "", false},
      {smooth + "label.png", "its brightest pixel is 1", true},
      {"fill-holes label.png -o out.png", "no pixel of the mask is above 127", true},
      {smooth + "lying.png", "lies on its side", true},
      {smooth + "large.png", "note: the mask was scaled from 1024x1024 to 511x511", false},
      {smooth + "odd.png", "note: the mask was scaled from 511x600 to 442x520", false},
      {"sticker -o out.png " + photo + " odd.png", "from 511x600 to 512x600", false},
      {"sticker -o out.png --expand 0 " + photo + " black.png", "the mask is black", true},
      {"forehead shares.txt --image-size 99x99", "--normalised multiplies", true},
      {"forehead shares.txt --image-size 99x99 --normalised", "", false},
      {"outline --mode polar --center 3,4 " + mask, "--center does nothing", true},
      {"blur --filter mean --sigma-x 5 -o out.png " + photo, "--sigma-x and", true},
      {"blur --filter median --sigma-space 5 -o out.png " + photo, "--sigma-space do", true},
      {"convert pictures/surplus.jpg -o out.png", "bytes too many before the JPEG's end", true},
  };
  for (const Case& each : cases) {
    expect_said(each.arguments, 0, each.sentence);
    expect_said(each.arguments + " --quiet", 0, "");
    if (each.warning) expect_said("--strict " + each.arguments, 2, each.sentence);
  }
  expect_said("convert pictures/cmyk.jpg -o out.png", 2, "CMYK");
  expect_said("convert pictures/animation.webp -o out.png", 2, "animation");
  expect_said("convert heic -o out.png", 2, "heif-convert");
  expect_said("fill-polygon --points ' ' --size 9x9 -o out.png", 2, "at least one corner");
  const std::string pipe = "cat samples/hopper_landmarks106.txt | ";
  EXPECT_EQ(std::system(("cd " + folder_.string() + "; " + pipe +
                         MORVIK_TOOL " forehead /dev/stdin --image-size 512x600 >piped.txt")
                            .c_str()),
            0);
  EXPECT_EQ(text_of("piped.txt"),
            run("forehead samples/hopper_landmarks106.txt --image-size 512x600").out);
}

}  // namespace
