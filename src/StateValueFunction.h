#ifndef QUARNEL_STATE_VALUE_FUNCTION_H
#define QUARNEL_STATE_VALUE_FUNCTION_H

#include "ValueFunction.h"

/// The interface of every representation of a state-value function V(s), which `TD` learns.
///
/// A named file holds the state record and, right after it, the representation's block, so that a
/// value function can be rebuilt from the file alone.
class StateValueFunction : public ValueFunction {
 public:
  /// @param state the state to read, which the value function deletes in the end; null where it is
  ///   still to be read from a file.
  explicit StateValueFunction(State* state);

  ~StateValueFunction() override;

  /// Writes the state and the representation to the named file, which is created or replaced.
  ///
  /// @param fileName path of the file.
  /// @return 0; -1 after a report. A write that fails leaves the file open until the process ends.
  const int save(const std::string& fileName) const override;

  /// Reads the state, or makes one where there is none, and the representation from the named file.
  ///
  /// @param fileName path of a file that `save()` has written.
  /// @return 0; -1 after a report. What was read before a failure is kept, and the file then stays
  ///   open until the process ends.
  const int load(const std::string& fileName) override;

 protected:
  const int save(FILE* file) const override = 0;
  const int load(FILE* file) override = 0;

 public:
  /// @return the value of the state that was active at the last `setState()`.
  virtual const double getStateValue() const = 0;
};

#endif
