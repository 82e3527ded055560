#include "common/Options.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>

namespace {

std::string failureMessage(const CLI::App* parser, const CLI::Error& error) {
  return parser->get_name() + ": " + error.what() + "\n" + parser->get_name() +
         " --help lists the options\n";
}

// The configuration that lies beside the program, wherever that is called from.
std::string defaultConfiguration(const std::string& program) {
  std::error_code error;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  const auto beside = folder / (program + ".conf");
  const auto file = std::filesystem::canonical(beside, error);
  return std::filesystem::proximate(error ? beside : file, error).string();
}

}  // namespace

Options::Options(const std::string& newProgram, const std::string& purpose, int defaultEpisodes)
    : parser(purpose, newProgram),
      program(newProgram),
      configuration(defaultConfiguration(newProgram)),
      episodes(defaultEpisodes) {
  parser.failure_message(failureMessage);
  // An option that is given again replaces the earlier one, so a line can be varied at its end.
  parser.option_defaults()->take_last();
  parser
      .add_option("--config", configuration, "Configuration file; SIGUSR1 makes it be read again")
      ->type_name("FILE")
      ->capture_default_str();
  parser.add_option("--episodes", episodes, "Episodes to learn from; 0: until stopped")
      ->check(CLI::Range(0, std::numeric_limits<int>::max()))
      ->type_name("N")
      ->capture_default_str();
  parser.add_option("--seed", seed, "Seed of the random numbers")
      ->type_name("N")
      ->capture_default_str();
  parser.add_option("--runs", runs, "Runs to average over, with the seeds from --seed on")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()))
      ->type_name("N")
      ->capture_default_str();
  parser.add_option("--save", saveFile, "Save the values to a file")->type_name("FILE");
  parser.add_option("--load", loadFile, "Start from the values in a file")->type_name("FILE");
  parser.add_option("--csv", csvFile, "Write episode,steps,return to a file")->type_name("FILE");
  parser.add_flag("--verbose", verbose, "Report every episode");
}

void Options::addLearner() {
  parser.add_option("--learner", learner, "How the agent learns")
      ->check(CLI::IsMember({"watkins", "sarsa"}))
      ->capture_default_str();
}

void Options::addExploration() {
  parser
      .add_option("--epsilon", overrides.epsilon,
                  "Explore with this probability, in place of ACTION_SELECTION and EPSILON")
      ->check(CLI::Range(0.0, 1.0));
}

void Options::addOverrides() {
  parser.add_option("--alpha", overrides.alpha, "Step size, in place of ALPHA");
  parser.add_option("--lambda", overrides.lambda, "Trace decay, in place of LAMBDA");
  const std::map<std::string, TRACE_TYPE> kinds = {
      {"none", NONE}, {"replacing", REPLACING}, {"accumulating", ACCUMULATING}};
  parser
      .add_option_function<TRACE_TYPE>(
          "--traces", [this](const TRACE_TYPE& kind) { overrides.traces = kind; },
          "Kind of traces, in place of TRACES: none, replacing or accumulating")
      ->transform(CLI::Transformer(kinds))
      ->type_name("KIND");
}

const bool Options::parse(int argc, char** argv) {
  for (int i = 0; i < argc; ++i) {
    commandLine += (i > 0 ? " " : "") + shellWord(argv[i]);
  }
  try {
    parser.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = parser.exit(error) == 0 ? 0 : 1;
    return false;
  }
  exitCode = check() ? 0 : 1;
  return exitCode == 0;
}

void Options::complain(const std::string& message) const {
  std::cerr << program << ": " << message << std::endl;
}

const bool Options::check() const {
  if (runs > 1 && episodes == 0) {
    complain("--runs needs a number of --episodes above 0");
    return false;
  }
  if (runs > 1 && !(saveFile.empty() && loadFile.empty() && csvFile.empty())) {
    complain("--save, --load and --csv are for a single run; leave them or --runs out");
    return false;
  }
  return checkConfiguration();
}

const bool Options::checkConfiguration() const {
  errno = std::filesystem::is_directory(configuration) ? EISDIR : 0;
  if (errno == 0 && access(configuration.c_str(), R_OK) == 0) {
    return true;
  }
  complain("can not read the configuration file '" + configuration + "': " + std::strerror(errno));
  complain("name one with --config; the sources have examples/" + program + "/" + program +
           ".conf");
  return false;
}

std::string shellWord(const std::string& word) {
  const char* const plain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) {
    return word;
  }
  std::string quoted = "'";
  for (const char character : word) {
    quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return quoted + "'";
}
