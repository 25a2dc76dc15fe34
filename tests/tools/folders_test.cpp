// Runs over folders: pairs, failures, what is there already, interruption.
#include <algorithm>
#include <csignal>

#include "tool_fixture.h"

namespace {

using test::Result;
namespace fs = std::filesystem;

class Folders : public test::Tool {
 protected:
  // count photographs with their masks; those of `broken` are no pictures.
  void make_pairs(int count, const std::vector<int>& broken) const {
    for (const char* folder : {"in", "masks"}) fs::create_directory(folder_ / folder);
    for (int i = 0; i < count; ++i) {
      const std::string name = std::to_string(i);
      const bool whole = std::count(broken.begin(), broken.end(), i) == 0;
      fs::copy(whole ? file("samples/hopper.jpg") : file("samples/README.md"),
               file("in/" + name + ".jpg"));
      fs::copy(file("samples/hopper_mask_256x256.png"), file("masks/" + name + ".png"));
    }
  }
  std::vector<std::string> files_of(const std::string& folder) const {
    std::vector<std::string> names;
    for (const fs::path& path : fs::directory_iterator(folder_ / folder)) {
      names.push_back(path.filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  const std::string stickers_ = "sticker --photos in --masks masks -o out ";
};

TEST_F(Folders, FailuresAreToldAndCounted) {
  make_pairs(6, {1, 4});
  fs::remove(file("masks/5.png"));
  fs::remove(file("in/0.jpg"));
  const Result result = run(stickers_ + "-j 2 --keep-going --failures failed.txt");
  EXPECT_EQ(result.status, 1);
  for (const char* sentence :
       {"in/5.jpg: no 5.* in masks", "masks/0.png: no 0.* in in", "in/1.jpg: neither PNG",
        "in/4.jpg: neither PNG", "2 done, 2 failed, 2 without a partner"}) {
    EXPECT_NE(result.err.find(sentence), std::string::npos) << sentence << "\n" << result.err;
  }
  EXPECT_EQ(files_of("out"), (std::vector<std::string>{"2.png", "3.png"}));
  const std::string failed = text_of("failed.txt");
  EXPECT_EQ(std::count(failed.begin(), failed.end(), '\n'), 4) << failed;

  const Result stopped = run(stickers_ + "-j 1");
  EXPECT_EQ(stopped.status, 1);
  EXPECT_NE(stopped.err.find("1 failed, 2 without a partner, 3 not tried"), std::string::npos)
      << stopped.err;

  fs::copy(file("samples/hopper.jpg"), file("in/0.jpg"));
  for (const char* name : {"1", "4"}) {
    fs::copy(file("samples/hopper.jpg"), file(std::string("in/") + name + ".jpg"),
             fs::copy_options::overwrite_existing);
  }
  fs::remove(file("in/5.jpg"));
  const auto written = fs::last_write_time(file("out/2.png"));
  const Result resumed = run(stickers_ + "--skip-existing");
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  EXPECT_NE(resumed.err.find("3 done, 2 were there before"), std::string::npos) << resumed.err;
  EXPECT_EQ(fs::last_write_time(file("out/2.png")), written);
  EXPECT_EQ(text_of("out/2.png"), text_of("out/0.png"));
}

// Nothing is done when the list of failures could not be kept or would take a place that is taken.
TEST_F(Folders, TheListOfFailuresReplacesNothingElse) {
  make_pairs(2, {});
  const std::string photo = text_of("in/0.jpg");
  for (const std::string list :
       {"in/0.jpg", "./masks/1.png", "out/0.png", "in/../out/1.png", "none/failed.txt", "/"}) {
    EXPECT_EQ(run(stickers_ + "--failures " + list).status, 2) << list;
    EXPECT_TRUE(!fs::exists(file("out")) || files_of("out").empty()) << list;
  }
  EXPECT_TRUE(text_of("in/0.jpg") == photo);
  EXPECT_EQ(run("resize in --to 8x8 -o -").status, 2);
  EXPECT_EQ(run("sticker in masks -o -").status, 2);
  EXPECT_FALSE(fs::exists(file("-")));
}

// One file may be all that a pattern of the shell finds.
TEST_F(Folders, OptionsForManyHoldForOne) {
  make_pairs(2, {1});
  const std::string resize = "resize in/0.jpg --to 8x8 -o one.png ";
  tool::write_file(file("one.png"), "there before");
  EXPECT_EQ(run(resize + "--skip-existing").status, 0);
  EXPECT_EQ(text_of("one.png"), "there before");
  EXPECT_EQ(run(resize + "--failures failed.txt").status, 0);
  EXPECT_EQ(picture("one.png").size(), (tool::Size{8, 8}));
  EXPECT_EQ(text_of("failed.txt"), "");
  EXPECT_EQ(run("resize in/1.jpg --to 8x8 -o two.png --failures failed.txt").status, 1);
  EXPECT_TRUE(text_of("failed.txt").starts_with("in/1.jpg\t")) << text_of("failed.txt");
}

TEST_F(Folders, ALinkToItselfIsPassedOver) {
  make_pairs(3, {});
  fs::create_symlink("loop.jpg", file("in/loop.jpg"));
  const Result result = run("resize in --to 8x8 -o out -j 64");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(files_of("out").size(), 3u);
}

// Interrupted, the files in hand are finished; the rest is done by the next run.
TEST_F(Folders, GoOnAfterAnInterruption) {
  make_pairs(40, {});
  const std::string command = "cd " + folder_.string() + "; " MORVIK_TOOL " " + stickers_;
  const std::string interrupted = command +
                                  "2>err.log & pid=$!; "
                                  "while [ ! -e out/3.png ] && kill -0 $pid; do "
                                  "sleep 0.01; done; kill -TERM $pid; wait $pid";
  const int status = std::system(interrupted.c_str());
  EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
  const std::string err = text_of("err.log");
  EXPECT_NE(err.find("go on with --skip-existing"), std::string::npos) << err;
  const size_t done = files_of("out").size();
  EXPECT_NE(err.find("interrupted: " + std::to_string(done) + " done"), std::string::npos) << err;
  EXPECT_LT(done, 40u);
  EXPECT_EQ(run(stickers_ + "--skip-existing").status, 0);
  const std::vector<std::string> names = files_of("out");
  EXPECT_EQ(names.size(), 40u);
  for (const std::string& name : names) {
    EXPECT_TRUE(text_of("out/" + name) == text_of("out/0.png")) << name;
  }
}

TEST_F(Folders, EveryCommandTakesThem) {
  make_pairs(2, {});
  fs::create_directory(folder_ / "faces");
  for (const char* name : {"faces/0.txt", "faces/1.txt"}) {
    fs::copy(file("samples/hopper_landmarks106.txt"), file(name));
  }
  const std::pair<std::string, std::string> cases[] = {
      {"convert in --as webp", ".webp"},
      {"rotate in --angle 90 --as jpg", ".jpg"},
      {"resize in --to 20x20", ".png"},
      {"blur in --kernel 3", ".png"},
      {"fill-holes masks", ".png"},
      {"morph masks --amount 3", ".png"},
      {"smooth-mask in masks", ".png"},
      {"sticker in masks --as webp", ".webp"},
      {"outline masks --as svg", ".svg"},
      {"outline masks --overlay in --as jpg", ".jpg"},
      {"forehead faces --image-size 512x600", ".txt"},
      {"forehead faces --photos in --as jpg", ".jpg"},
  };
  for (const auto& [arguments, ending] : cases) {
    const Result result = run(arguments + " -o to");
    EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
    EXPECT_NE(result.err.find("2 done; "), std::string::npos) << arguments << "\n" << result.err;
    EXPECT_EQ(files_of("to"), (std::vector<std::string>{"0" + ending, "1" + ending})) << arguments;
    fs::remove_all(folder_ / "to");
  }
  EXPECT_EQ(run("convert in -o in --as jpg").status, 2);
  EXPECT_EQ(run("resize in masks --to 9x9 -o to").status, 2);  // two files of each stem
}

}  // namespace
