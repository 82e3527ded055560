// A small learner that compiles, and one mistake of an application for each macro.

#include <quarnel/StateLookupTable.h>
#include <quarnel/TD.h>

#include <string>

class Walk : public TD {
 public:
  using TD::TD;

 protected:
#ifndef WITHOUT_setInitialState
  void setInitialState() override {}
#endif
#ifndef WITHOUT_takeAction
  void takeAction() override {}
#endif
#ifdef WITH_PLAIN_BOOL
  bool observeState() override { return false; }
#elif !defined(WITHOUT_observeState)
  const bool observeState() override { return false; }
#endif
#ifndef WITHOUT_calculateReward
  const double calculateReward() override { return 0.0; }
#endif
};

#ifdef WITH_TEXT_AS_LEARNER
void mistake() { Walk walk = std::string("walk.conf"); }
#endif

#ifdef WITH_TEXT_AS_TABLE
StateLookupTable mistake() { return std::string("walk.values"); }
#endif

#ifdef WITH_MIXED_RANGE
void mistake(State& state) { state.registerVariable("place", 0, 9.5); }
#endif

int main() {
  Walk walk("walk.conf");
  walk.controlLoop();
}
