#include "common/Guide.h"

#include <unistd.h>

#include <iomanip>
#include <iostream>

namespace {

void offer(const std::string& effect, const std::string& command) {
  std::cout << "  " << std::left << std::setw(24) << effect << std::right << command << std::endl;
}

std::string reload(const Options& options, const std::string& key, const std::string& value) {
  return "sed -i 's/^" + key + " .*/" + key + " " + value + "/' " +
         shellWord(options.configuration) + " && kill -USR1 " + std::to_string(getpid());
}

}  // namespace

namespace Guide {

void introduce(const Options& options, const Knob& knob) {
  std::cout << "Process " << getpid() << " learns with " << options.configuration << ", seed "
            << options.seed << ", ";
  if (options.episodes > 0) {
    std::cout << options.episodes << " episodes.\n" << std::endl;
    return;
  }
  std::cout << "until it is stopped.\n\nFrom another terminal:\n";
  offer(knob.effect, reload(options, knob.key, knob.changed));
  offer("and back", reload(options, knob.key, knob.usual));
  offer("stop after the episode", "kill -TERM " + std::to_string(getpid()));
  std::cout << "In this one:\n";
  offer("stop after the step", "Ctrl-C");
  std::cout << std::endl;
}

void suggest(const Options& options) {
  if (options.episodes == 0) {
    return;
  }
  std::cout << "What to try next: let it learn until you stop it, and steer it while it runs; it "
               "says how.\n\n"
            << "  " << options.commandLine << " --episodes 0\n";
  if (!options.saveFile.empty()) {
    std::cout << "\nOr start from what it has learnt:\n\n"
              << "  " << options.commandLine << " --load " << shellWord(options.saveFile) << '\n';
  }
  std::cout << std::flush;
}

}  // namespace Guide
