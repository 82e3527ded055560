#include "StateTilings.h"

#include <limits>

StateTilings::StateTilings(int numberOfTilings, const std::list<Types::TILINGS_VAR_STRUCT>& varList)
    : Tilings(numberOfTilings, varList) {}

StateTilings::StateTilings(State* aStatePtr, FILE* file) : Tilings(aStatePtr, file) {}

StateTilings::~StateTilings() = default;

void StateTilings::create(State* aStatePtr) { layOut(aStatePtr, 1, QUARNEL_PLACE); }

void StateTilings::accumulatingTraces(double VALUE) { accumulateTraces(VALUE, 0, QUARNEL_PLACE); }

void StateTilings::replacingTraces(double VALUE) {
  if (!checkTraces(QUARNEL_PLACE)) {
    return;
  }
  for (int t = 0; t < TILINGS; ++t) {
    if (activeTile(t) != -1) {
      setTrace(activeTile(t), VALUE, QUARNEL_PLACE);
    }
  }
}

void StateTilings::storeActiveTiles() { storeTiles(0, QUARNEL_PLACE); }

const double StateTilings::getStateValue() const {
  return checkWeights(QUARNEL_PLACE) ? sumActiveWeights(0) : std::numeric_limits<double>::max();
}

void StateTilings::storeEpisodeState() { rememberTiles(0, QUARNEL_PLACE); }
