#include "common/Gnuplot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/Files.h"

namespace {

// A folder in which only a script of the test stands for gnuplot.
class Gnuplots : public testing::Test {
 protected:
  Gnuplots() : path(std::getenv("PATH")) {}

  ~Gnuplots() override { setenv("PATH", path.c_str(), 1); }

  void install(const std::string& script) {
    const std::string program = directory.file("gnuplot");
    writeFile(program, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    setenv("PATH", (directory.file("") + ":" + path).c_str(), 1);
  }

  const TemporaryDirectory directory;
  const std::string picture = directory.file("it's a picture.png");
  const std::string path;
};

}  // namespace

TEST_F(Gnuplots, OnlyPngAndSvgAreDrawn) {
  install("");
  EXPECT_EQ(Gnuplot::findObstacle("a.png"), "");
  EXPECT_EQ(Gnuplot::findObstacle("a.svg"), "");
  EXPECT_EQ(Gnuplot::findObstacle("a.gif"),
            "can not draw 'a.gif': its name has to end in .png or .svg");
  EXPECT_EQ(Gnuplot::findObstacle("png"),
            "can not draw 'png': its name has to end in .png or .svg");
}

TEST_F(Gnuplots, AMissingProgramIsNamedWithItsPackage) {
  setenv("PATH", directory.file("nothing").c_str(), 1);
  EXPECT_EQ(Gnuplot::findObstacle("a.png"),
            "gnuplot, which draws 'a.png', is not installed (Debian: gnuplot-nox)");
}

TEST_F(Gnuplots, TheProgramGetsTerminalFileAndCommands) {
  const std::string input = directory.file("input");
  install("cat >'" + input + "'; cp '" + input + "' \"" + picture + "\"");
  EXPECT_EQ(Gnuplot::draw(picture, "plot x"), "");
  std::string name = picture;
  name.replace(name.find('\''), 1, "''");
  EXPECT_EQ(readFile(input),
            "set terminal png size 1600,600\nset output '" + name + "'\nplot x\nset output\n");
}

TEST_F(Gnuplots, AFailureIsToldWithItsExitCode) {
  install("cat >/dev/null; exit 3");
  EXPECT_EQ(Gnuplot::draw(picture, "plot x"), "gnuplot has failed with exit code 3");
}

TEST_F(Gnuplots, AProgramThatReadsNothingDoesNotEndThisOne) {
  install("exit 0");
  EXPECT_EQ(Gnuplot::draw(picture, std::string(1000000, ' ')), "gnuplot has ended too early");
}

TEST_F(Gnuplots, AnOlderFileDoesNotPassForTheNewOne) {
  install("cat >/dev/null");
  writeFile(picture, "old");
  EXPECT_EQ(Gnuplot::draw(picture, "plot x"), "gnuplot has not written '" + picture + "'");
}

TEST_F(Gnuplots, AnEmptyFileIsNotAPicture) {
  install("cat >/dev/null; : >\"" + picture + "\"");
  EXPECT_EQ(Gnuplot::draw(picture, "plot x"), "gnuplot has not written '" + picture + "'");
}
