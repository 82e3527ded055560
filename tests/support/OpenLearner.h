#ifndef QUARNEL_TESTS_OPEN_LEARNER_H
#define QUARNEL_TESTS_OPEN_LEARNER_H

#include <quarnel/ActionValueFunction.h>
#include <quarnel/StateValueFunction.h>
#include <quarnel/TD.h>

#include <string>
#include <type_traits>
#include <utility>

#include "Files.h"

/// A configuration file that leaves every parameter as it is; an empty one is not reported as
/// missing.
class EmptyConfiguration {
 public:
  EmptyConfiguration() : fileName(directory.file("learner.conf")) { writeFile(fileName, ""); }

 private:
  TemporaryDirectory directory;

 public:
  const std::string fileName;
};

/// A learner whose operations and parameters a test may use from outside; `Learner` is `TD`,
/// `Sarsa` or `Watkins`.
template <typename Learner>
class OpenLearner : public Learner {
 public:
  static constexpr bool LEARNS_STATES = std::is_base_of_v<TD, Learner>;

  /// The interface of what the learner learns.
  using Values = std::conditional_t<LEARNS_STATES, StateValueFunction, ActionValueFunction>;

  explicit OpenLearner(const std::string& fileName) : Learner(fileName) {}

  /// The learner's pointer to its value function.
  Values*& valueFunction() {
    if constexpr (LEARNS_STATES) {
      return this->svfPtr;
    } else {
      return this->avfPtr;
    }
  }

  using Learner::checkValueFunction;
  using Learner::initEpisode;
  using Learner::randomAction;
  using Learner::step;

  using Learner::ACTION_SELECTION;
  using Learner::ALPHA;
  using Learner::confFileName;
  using Learner::continueEpisode;
  using Learner::continueLearning;
  using Learner::episodes;
  using Learner::EPSILON;
  using Learner::GAMMA;
  using Learner::LAMBDA;
  using Learner::steps;
  using Learner::TEMPERATURE;
  using Learner::TRACE_VALUE;
  using Learner::TRACES;
  using Learner::value;
};

/// Whether a learner's operations may be called from outside of it.
template <typename Learner, typename = void>
constexpr bool startsEpisodesForAnyone = false;
template <typename Learner>
constexpr bool startsEpisodesForAnyone<
    Learner, std::void_t<decltype(std::declval<Learner&>().initEpisode())>> = true;

template <typename Learner, typename = void>
constexpr bool stepsForAnyone = false;
template <typename Learner>
constexpr bool stepsForAnyone<Learner, std::void_t<decltype(std::declval<Learner&>().step())>> =
    true;

template <typename Learner, typename = void>
constexpr bool checksForAnyone = false;
template <typename Learner>
constexpr bool checksForAnyone<
    Learner, std::void_t<decltype(std::declval<const Learner&>().checkValueFunction())>> = true;

#endif
