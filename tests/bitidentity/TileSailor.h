#ifndef QUARNEL_TESTS_BITIDENTITY_TILE_SAILOR_H
#define QUARNEL_TESTS_BITIDENTITY_TILE_SAILOR_H

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionTileCoding.h>
#include <quarnel/ActionTilings.h>
#include <quarnel/Sarsa.h>
#include <quarnel/State.h>

#include <algorithm>
#include <list>
#include <string>

/// Learns to cross a channel against a tide that goes around, with tile coding over all three types
/// of tiles: a position across, one along, and the phase of the tide.
class TileSailor : public Sarsa {
 public:
  explicit TileSailor(const std::string& configuration) : Sarsa(configuration) {
    ACTION_SELECTION = EPSILON_GREEDY;
    auto* const state = new State;
    acrossId = state->registerVariable("across", 0.0, 1.0);
    alongId = state->registerVariable("along", -0.5, 0.5);
    phaseId = state->registerVariable("phase", 0.0, 1.0);
    auto* const tiles = new ActionTileCoding(state);
    for (int i = 0; i < COURSES; ++i) {
      tiles->registerAction(new AbstractAction);
    }
    tiles->registerTiling(
        new ActionTilings(8, {{acrossId, 0.02, Types::WRAP}, {alongId, 0.03, Types::CLIP}}));
    tiles->registerTiling(
        new ActionTilings(3, {{acrossId, 0.1, Types::CLIP}, {phaseId, 0.07, Types::CIRCLE}}));
    avfPtr = tiles;
  }

  const int save(const std::string& fileName) const { return avfPtr->save(fileName); }

 protected:
  void setInitialState() override {
    across = 0.0;
    along = 0.0;
    writeState();
  }

  void takeAction() override {
    const int course = avfPtr->getActiveActionIndex() - 1;  // -1, 0 or 1 along the channel
    phase += 0.03;
    phase = phase >= 1.0 ? phase - 1.0 : phase;
    const double tide = 0.06 * (phase < 0.5 ? 4.0 * phase - 1.0 : 3.0 - 4.0 * phase);
    across = std::min(across + 0.04 - 0.01 * course * course, 1.0);
    along = std::clamp(along + 0.05 * course + tide, -0.5, 0.5);
  }

  const bool observeState() override {
    writeState();
    return across < 1.0;
  }

  const double calculateReward() override {
    const double missed = across < 1.0 ? 0.0 : along * along;
    return -0.01 - missed;
  }

  void finishEpisode() override { continueLearning = episodes < EPISODES; }

 private:
  static constexpr int COURSES = 3;
  static constexpr int EPISODES = 500;

  void writeState() {
    State& state = *avfPtr->getStatePtr();
    state.setValueDbl(acrossId, across);
    state.setValueDbl(alongId, along);
    state.setValueDbl(phaseId, phase);
  }

  unsigned int acrossId = 0;
  unsigned int alongId = 0;
  unsigned int phaseId = 0;
  double across = 0.0;
  double along = 0.0;
  double phase = 0.0;
};

#endif
