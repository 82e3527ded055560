#include "common/Gnuplot.h"

#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

// What gnuplot calls the kind of a file; empty for endings that are not offered.
std::string terminalFor(const std::string& file) {
  const std::string ending = std::filesystem::path(file).extension().string();
  return ending == ".png" ? "png size 1600,600" : ending == ".svg" ? "svg size 1600,600" : "";
}

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char character : text) {
    result += character == '\'' ? std::string("''") : std::string(1, character);
  }
  return result + "'";
}

std::string errnoText(const std::string& action) {
  return "can not " + action + ": " + std::strerror(errno);
}

// Feeds gnuplot. @return what has gone wrong; empty where nothing has.
std::string feed(const std::string& input) {
  FILE* const pipe = popen("gnuplot", "w");
  if (pipe == nullptr) {
    return errnoText("start gnuplot");
  }
  const bool fed = std::fwrite(input.data(), 1, input.size(), pipe) == input.size();
  const int status = pclose(pipe);
  if (status == -1) {
    return errnoText("wait for gnuplot");
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
    return "gnuplot has failed with exit code " + std::to_string(WEXITSTATUS(status));
  }
  return fed && WIFEXITED(status) ? "" : "gnuplot has ended too early";
}

}  // namespace

namespace Gnuplot {

std::string findObstacle(const std::string& file) {
  if (terminalFor(file).empty()) {
    return "can not draw '" + file + "': its name has to end in .png or .svg";
  }
  if (std::system("command -v gnuplot >/dev/null") != 0) {
    return "gnuplot, which draws '" + file + "', is not installed (Debian: gnuplot-nox)";
  }
  return "";
}

std::string draw(const std::string& file, const std::string& commands) {
  // An older file of this name must not pass for the new one.
  std::error_code failure;
  std::filesystem::remove(file, failure);
  if (failure) {
    return "can not replace '" + file + "': " + failure.message();
  }
  // Where gnuplot ends early, writing to it must fail instead of ending this program.
  void (*const before)(int) = std::signal(SIGPIPE, SIG_IGN);
  const std::string problem = feed("set terminal " + terminalFor(file) + "\nset output " +
                                   quoted(file) + "\n" + commands + "\nset output\n");
  std::signal(SIGPIPE, before);
  if (!problem.empty()) {
    return problem;
  }
  if (std::filesystem::file_size(file, failure) == 0 || failure) {
    return "gnuplot has not written '" + file + "'";
  }
  return "";
}

}  // namespace Gnuplot
