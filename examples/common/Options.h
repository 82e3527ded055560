#ifndef QUARNEL_EXAMPLES_OPTIONS_H
#define QUARNEL_EXAMPLES_OPTIONS_H

#include <quarnel/Quarnel.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

/// What the command line may set in place of the configuration file.
struct Overrides {
  std::optional<double> alpha;
  std::optional<double> lambda;
  std::optional<double> epsilon;
  std::optional<TRACE_TYPE> traces;
};

/// The command line of an example: the options that all examples have, and room for more.
///
/// @code
/// Options options("windy_gridworld", "Learns the shortest way.", 500);
/// options.parser.add_option("--wind", wind, "Strength of the wind");
/// if (!options.parse(argc, argv)) {
///   return options.exitCode;
/// }
/// @endcode
class Options {
 public:
  /// @param newProgram name of the example, and of its configuration file.
  /// @param purpose one line for --help.
  /// @param defaultEpisodes the number of episodes where the command line names none.
  Options(const std::string& newProgram, const std::string& purpose, int defaultEpisodes);

  /// Offers --learner, for examples whose agent can learn in either way.
  void addLearner();

  /// Offers --alpha, --lambda and --traces, for examples that are measured at many settings.
  void addOverrides();

  /// Offers --epsilon, for examples whose agents choose their actions.
  void addExploration();

  /// Reads the command line and checks it. The configuration file must be there: a learner would
  /// create a missing one wherever the path points to.
  ///
  /// @return false where the program is to end with `exitCode`, after a message or the help text.
  const bool parse(int argc, char** argv);

  /// Prints a message on standard error, with the program's name.
  void complain(const std::string& message) const;

  CLI::App parser;
  std::string program;
  std::string configuration;  ///< Path of an existing file.
  int episodes;               ///< 0: until stopped.
  unsigned int seed = 1;      ///< Seed of the first run.
  int runs = 1;               ///< Runs to average over, with seeds from `seed` on.
  bool verbose = false;       ///< Print the library's report of every episode.
  std::string learner = "watkins";
  Overrides overrides;      ///< Stronger than the configuration, also after it is read again.
  std::string saveFile;     ///< Empty: don't save.
  std::string loadFile;     ///< Empty: start from nothing.
  std::string csvFile;      ///< Empty: no CSV file.
  std::string commandLine;  ///< As it was called, for a shell.
  int exitCode = 0;

 private:
  const bool check() const;
  const bool checkConfiguration() const;
};

/// Writes a word as a shell reads it.
std::string shellWord(const std::string& word);

#endif
