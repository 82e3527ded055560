#ifndef QUARNEL_EXAMPLES_CONTROL_AGENT_H
#define QUARNEL_EXAMPLES_CONTROL_AGENT_H

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionTileCoding.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "common/Control.h"
#include "common/ReportingAgent.h"
#include "common/Trial.h"
#include "common/ValueFile.h"

/// How an agent lays tilings over the variables of a world.
struct TilingPlan {
  /// The tiles along a variable.
  struct Tiles {
    int count;
    Types::TILE_TYPE type;
  };

  int tilings;
  std::vector<Tiles> tiles;  ///< For every variable of the world.
};

/// An agent that learns to control a world with a continuous state, which it sees through tilings.
///
/// @tparam Learner `Watkins` or `Sarsa`.
/// @tparam World a world such as `MountainCar`.
/// @tparam Tilings a group of tilings.
template <class Learner, class World, class Tilings = ActionTilings>
class ControlAgent : public ReportingAgent<Learner> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param plan how to lay the tilings.
  /// @param seed seed of the random numbers.
  ControlAgent(const Options& newOptions, const TilingPlan& plan, unsigned int seed)
      : ReportingAgent<Learner>(newOptions) {
    State* const state = new State;
    std::list<Types::TILINGS_VAR_STRUCT> variables;
    for (std::size_t i = 0; i < World::VARIABLES.size(); ++i) {
      const Control::Variable& variable = World::VARIABLES[i];
      const unsigned int id = state->registerVariable(variable.name, variable.min, variable.max);
      // Half a tile too few: rounding must not make it one tile more, and the library takes as many
      // whole tiles as are needed.
      const double tiles = plan.tiles[i].count - 0.5;
      const double resolution = (variable.max - variable.min) / (tiles * plan.tilings);
      variables.push_back({id, resolution, plan.tiles[i].type});
    }
    ActionTileCoding* const tileCoding = new ActionTileCoding(state);
    for (int i = 0; i < World::ACTIONS; ++i) {
      tileCoding->registerAction(new AbstractAction);
    }
    tileCoding->registerTiling(new Tilings(plan.tilings, variables));
    avfPtr = tileCoding;
    // The learner's constructor has seeded the generator with 1.
    std::srand(seed);
  }

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const { return saveValues(*avfPtr, fileName); }

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  const bool load(const std::string& fileName) {
    if (!loadValues(*avfPtr, fileName)) {
      return false;
    }
    if (avfPtr->getNumberOfActions() != World::ACTIONS) {
      std::cerr << "'" << fileName << "' holds the values of other actions" << std::endl;
      return false;
    }
    return true;
  }

  /// Acts by the best action of every state, the first of several, and learns nothing. The starts
  /// are always the same.
  const Trial tryGreedily() {
    Trial trial;
    std::mt19937 generator;
    const Control::Uniform uniform = [&generator] { return std::ldexp(generator(), -32); };
    World attempt;
    for (int i = 0; i < Trial::STARTS; ++i) {
      attempt.reset(uniform);
      int count = 0;
      double sum = 0.0;
      do {
        attempt.step(bestAction(attempt));
        sum += attempt.getReward();
        ++count;
      } while (!attempt.isAtEnd() && count < World::STEP_LIMIT);
      trial.steps.add(count);
      trial.returns.add(sum);
    }
    return trial;
  }

  /// @return the value learnt for a state, that of its best action.
  const double getStateValue(const World& there) {
    const int action = bestAction(there);
    return avfPtr->getActionValue(action);
  }

 protected:
  void step() override {
    Learner::step();
    // An episode that is broken off has not come to its end: its last state keeps a value.
    if (this->steps >= World::STEP_LIMIT) {
      this->continueEpisode = false;
    }
  }

  void setInitialState() override {
    world.reset([] { return std::rand() / (RAND_MAX + 1.0); });
    show(world);
  }

  void takeAction() override { world.step(avfPtr->getActiveActionIndex()); }

  const bool observeState() override {
    show(world);
    return !world.isAtEnd();
  }

  const double calculateReward() override { return this->earn(world.getReward()); }

 private:
  // A template has to name what it uses of its base.
  using Learner::avfPtr;

  void show(const World& there) {
    unsigned int id = 0;
    for (const double number : there.getObservation()) {
      avfPtr->getStatePtr()->setValueDbl(id, number);
      ++id;
    }
  }

  const int bestAction(const World& there) {
    show(there);
    avfPtr->setState();
    int best = 0;
    for (int i = 1; i < World::ACTIONS; ++i) {
      if (avfPtr->getActionValue(i) > avfPtr->getActionValue(best)) {
        best = i;
      }
    }
    return best;
  }

  World world;
};

#endif
