#ifndef QUARNEL_EXAMPLES_KEEPING_TILINGS_H
#define QUARNEL_EXAMPLES_KEEPING_TILINGS_H

#include <quarnel/ActionTilings.h>

/// Tilings whose replacing traces leave those of the other actions alone: the textbook has both
/// kinds, and the curves in its figure 12.10 are of this one.
class KeepingTilings : public ActionTilings {
 public:
  using ActionTilings::ActionTilings;

  void replacingTraces(double VALUE, int actionIndex) override {
    for (int t = 0; t < TILINGS; ++t) {
      if (activeTile(t) != -1) {
        setTrace(activeTile(t) + actionIndex * TILINGS, VALUE, QUARNEL_PLACE);
      }
    }
  }
};

#endif
