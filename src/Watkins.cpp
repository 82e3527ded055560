#include "Watkins.h"

#include "LearnerSteps.h"

Watkins::Watkins(const std::string& fileName) : Quarnel(fileName), avfPtr(nullptr) {}

Watkins::~Watkins() { delete avfPtr; }

const bool Watkins::checkValueFunction() const { return avfPtr != nullptr; }

void Watkins::initEpisode() {
  if (!LearnerSteps::checkPresent(avfPtr != nullptr, QUARNEL_PLACE)) {
    return;
  }
  LearnerSteps::countUp(episodes);
  steps = 0;
  LearnerSteps::clearMemory(*avfPtr, TRACES);
  setInitialState();
  avfPtr->setState();
  value = avfPtr->setGreedyActionIndex();
}

void Watkins::step() {
  if (!LearnerSteps::checkPresent(avfPtr != nullptr, QUARNEL_PLACE)) {
    continueEpisode = false;
    return;
  }
  LearnerSteps::countUp(steps);
  chooseBehaviour(QUARNEL_PLACE);
  LearnerSteps::markVisit(*avfPtr, TRACES, TRACE_VALUE, QUARNEL_PLACE);

  takeAction();
  continueEpisode = observeState();
  avfPtr->setState();

  const double reward = calculateReward();
  double delta = reward - value;
  if (continueEpisode) {
    value = avfPtr->setGreedyActionIndex();
    delta += value * GAMMA;
  }
  avfPtr->updateWeights(ALPHA, delta);
  if (continueEpisode) {
    // The update may have changed Q(s', a') too, where the pair has been visited before.
    value = avfPtr->getActionValue(avfPtr->getActiveActionIndex());
  }
}

void Watkins::chooseBehaviour(const QuarnelUtility::Place& place) {
  switch (ACTION_SELECTION) {
    case GREEDY:
      decayTraces();
      break;
    case EPSILON_GREEDY:
      if (randomAction()) {
        value = avfPtr->setRandomActionIndex();
        cutTraces();
      } else {
        decayTraces();
      }
      break;
    case SOFTMAX: {
      const int greedy = avfPtr->getActiveActionIndex();
      value = avfPtr->setSoftMaxActionIndex(TEMPERATURE);
      if (avfPtr->getActiveActionIndex() == greedy) {
        decayTraces();
      } else {
        cutTraces();
      }
      break;
    }
    default:
      QUARNEL_ERROR_AT(place, "Unknown ACTION_SELECTION " << ACTION_SELECTION);
  }
}

void Watkins::decayTraces() {
  if (TRACES != NONE) {
    avfPtr->updateEligibilityTraces(GAMMA, LAMBDA);
  }
}

void Watkins::cutTraces() {
  if (TRACES != NONE) {
    avfPtr->initEligibilityTraces();
  }
}
