#ifndef QUARNEL_EXAMPLES_GUIDE_H
#define QUARNEL_EXAMPLES_GUIDE_H

#include <string>

#include "common/Options.h"

/// Tells the user of an example what is going on and what can be done.
namespace Guide {

/// A parameter that is worth changing while an example learns.
struct Knob {
  std::string effect;  ///< What the change does.
  std::string key;     ///< Its name in the configuration.
  std::string changed;
  std::string usual;
};

/// Before learning: what is learnt how, and, where it goes on until stopped, how to steer it.
void introduce(const Options& options, const Knob& knob);

/// After learning: what to try next.
void suggest(const Options& options);

}  // namespace Guide

#endif
