#include "Sarsa.h"

#include "LearnerSteps.h"

Sarsa::Sarsa(const std::string& fileName) : Quarnel(fileName), avfPtr(nullptr) {}

Sarsa::~Sarsa() { delete avfPtr; }

const bool Sarsa::checkValueFunction() const { return avfPtr != nullptr; }

void Sarsa::initEpisode() {
  if (!LearnerSteps::checkPresent(avfPtr != nullptr, QUARNEL_PLACE)) {
    return;
  }
  LearnerSteps::countUp(episodes);
  steps = 0;
  LearnerSteps::clearMemory(*avfPtr, TRACES);
  setInitialState();
  avfPtr->setState();
  selectAction(QUARNEL_PLACE);
}

void Sarsa::step() {
  if (!LearnerSteps::checkPresent(avfPtr != nullptr, QUARNEL_PLACE)) {
    continueEpisode = false;
    return;
  }
  LearnerSteps::countUp(steps);
  if (TRACES != NONE) {
    avfPtr->updateEligibilityTraces(GAMMA, LAMBDA);
  }
  LearnerSteps::markVisit(*avfPtr, TRACES, TRACE_VALUE, QUARNEL_PLACE);

  takeAction();
  continueEpisode = observeState();
  avfPtr->setState();

  const double reward = calculateReward();
  double delta = reward - value;
  if (continueEpisode) {
    selectAction(QUARNEL_PLACE);
    delta += value * GAMMA;
  }
  avfPtr->updateWeights(ALPHA, delta);
  if (continueEpisode) {
    // The update may have changed Q(s', a') too, where the pair has been visited before.
    value = avfPtr->getActionValue(avfPtr->getActiveActionIndex());
  }
}

void Sarsa::selectAction(const QuarnelUtility::Place& place) {
  switch (ACTION_SELECTION) {
    case GREEDY:
      value = avfPtr->setGreedyActionIndex();
      break;
    case EPSILON_GREEDY:
      value = randomAction() ? avfPtr->setRandomActionIndex() : avfPtr->setGreedyActionIndex();
      break;
    case SOFTMAX:
      value = avfPtr->setSoftMaxActionIndex(TEMPERATURE);
      break;
    default:
      QUARNEL_ERROR_AT(place, "Unknown ACTION_SELECTION " << ACTION_SELECTION);
  }
}
