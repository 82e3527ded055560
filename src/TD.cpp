#include "TD.h"

#include "LearnerSteps.h"

TD::TD(const std::string& fileName) : Quarnel(fileName), svfPtr(nullptr) {}

TD::~TD() { delete svfPtr; }

const bool TD::checkValueFunction() const { return svfPtr != nullptr; }

void TD::initEpisode() {
  if (!LearnerSteps::checkPresent(svfPtr != nullptr, QUARNEL_PLACE)) {
    return;
  }
  LearnerSteps::countUp(episodes);
  steps = 0;
  LearnerSteps::clearMemory(*svfPtr, TRACES);
  setInitialState();
  svfPtr->setState();
  value = svfPtr->getStateValue();
}

void TD::step() {
  if (!LearnerSteps::checkPresent(svfPtr != nullptr, QUARNEL_PLACE)) {
    continueEpisode = false;
    return;
  }
  LearnerSteps::countUp(steps);
  if (TRACES != NONE) {
    svfPtr->updateEligibilityTraces(GAMMA, LAMBDA);
  }
  LearnerSteps::markVisit(*svfPtr, TRACES, TRACE_VALUE, QUARNEL_PLACE);

  takeAction();
  continueEpisode = observeState();
  svfPtr->setState();

  const double reward = calculateReward();
  double delta = reward - value;
  if (continueEpisode) {
    value = svfPtr->getStateValue();
    delta += GAMMA * value;
  }
  svfPtr->updateWeights(ALPHA, delta);
  if (continueEpisode) {
    // The update may have changed V(s') too, where s' has been visited before.
    value = svfPtr->getStateValue();
  }
}
