#ifndef QUARNEL_ACTION_VALUE_FUNCTION_H
#define QUARNEL_ACTION_VALUE_FUNCTION_H

#include <cstddef>
#include <vector>

#include "AbstractAction.h"
#include "ValueFunction.h"

/// The interface of every representation of an action-value function Q(s, a), which `Sarsa` and
/// `Watkins` learn: the registry of actions, the choice among them, and the named file.
///
/// Register the actions, then call the representation's `create()`, which sizes itself by their
/// number. Registered actions are owned here. A named file holds the state record, the number of
/// actions (4 bytes) and the representation's block, but no action objects: after a `load()` put
/// them back with `setAction()`.
///
/// Every choice draws exactly one number from `rand()`.
///
/// Source of the choices: Sutton and Barto, Reinforcement Learning, 2nd edition, sections 2.2
/// (greedy, epsilon-greedy) and 2.8 (softmax, here over values scaled to their range).
class ActionValueFunction : public ValueFunction {
 public:
  /// @param aStatePtr the state to read, which the value function deletes in the end; null where it
  ///   is still to be read from a file.
  explicit ActionValueFunction(State* aStatePtr);

  /// Deletes the registered actions and the state.
  ~ActionValueFunction() override;

  /// Writes the state, the number of actions and the representation to the named file, which is
  /// created or replaced.
  ///
  /// @param fileName path of the file.
  /// @return 0; -1 after a report, with the file closed and left as far as it was written.
  const int save(const std::string& fileName) const override;

  /// Reads the state, or makes one where there is none, the number of actions and the
  /// representation from the named file. The registered actions are deleted; `getAction()` gives
  /// null until `setAction()` puts an action in.
  ///
  /// @param fileName path of a file that `save()` has written.
  /// @return 0; -1 after a report, with what was read before the failure kept. More than 65,536
  ///   actions are believed only where the rest of the file has 8 bytes for each.
  const int load(const std::string& fileName) override;

 protected:
  const int save(FILE* file) const override = 0;
  const int load(FILE* file) override = 0;

 public:
  /// Appends an action, which is owned from now on; its index is the number of actions before it.
  /// Has no effect on a representation that is already created.
  ///
  /// @param actionPtr the action; the same one may be registered more than once. Where there is no
  ///   memory, that is reported and the caller still owns it.
  virtual void registerAction(const AbstractAction* actionPtr);

  /// Takes an action out of the registry and the representation; the caller owns it again. Does
  /// nothing for an action that is not registered.
  ///
  /// The number of actions falls by one here. An `ActionLookupTable` that carries the removal out
  /// lowers it, on purpose, once more, and counts no cells then.
  ///
  /// @param actionPtr the action, as it was registered.
  virtual void unregisterAction(const AbstractAction* actionPtr);

  /// Takes the action at an index out, as above; an index outside [0, `getNumberOfActions()`) is
  /// reported and changes nothing.
  ///
  /// @param actionIndex the action's index; those of the actions behind it fall by one.
  virtual void unregisterAction(int actionIndex);

  /// Deletes the action at an index and puts another in its place, which is owned from now on. An
  /// index outside [0, `getNumberOfActions()`) is reported and changes nothing.
  ///
  /// @param actionIndex the index.
  /// @param actionPtr the new action; null for none.
  virtual void setAction(int actionIndex, const AbstractAction* actionPtr);

  /// Chooses the action of the highest value; one of several at random.
  ///
  /// @return the value. Where no value can be compared (no actions, or none but NaN) no action is
  ///   chosen: the index is -1 and the result -1.7976931348623157e308.
  virtual const double setGreedyActionIndex();

  /// Chooses any action, all with the same probability.
  ///
  /// @return its value. Without actions the index is -1, which the representation reports.
  virtual const double setRandomActionIndex();

  /// Chooses an action with a probability in proportion to exp(v / TEMPERATURE), where v is the
  /// action's value scaled to [0, 1] by the range of the values; any action where all values are
  /// equal. Actions registered after the first call of this operation weigh nothing where the
  /// values differ.
  ///
  /// @param TEMPERATURE the temperature, above 0; a high one evens the choice out, a low one makes
  ///   it greedy.
  /// @return the value of the chosen action. Rounding may leave none chosen: the index is then the
  ///   number of actions, which the representation reports.
  virtual const double setSoftMaxActionIndex(double TEMPERATURE);

  /// @param actionIndex the action's index, in [0, `getNumberOfActions()`).
  /// @return the value of an action in the state that was active at the last `setState()`.
  virtual const double getActionValue(int actionIndex) const = 0;

 protected:
  /// Takes an action out of the representation, before the number of actions is lowered.
  ///
  /// @param actionIndex the action's index.
  virtual void removeAction(int actionIndex) = 0;

 public:
  /// @return the index chosen last; -1 before the first choice.
  const int getActiveActionIndex() const { return activeActionIndex; }

  /// @return the action chosen last; null where there is none.
  const AbstractAction* getActiveAction() const { return getAction(activeActionIndex); }

  /// @param actionIndex any number.
  /// @return the action at an index; null where there is none.
  const AbstractAction* getAction(int actionIndex) const {
    return isRegistered(actionIndex) ? registeredActions[static_cast<std::size_t>(actionIndex)]
                                     : nullptr;
  }

  /// @return the number of actions.
  const int getNumberOfActions() const { return ACTIONS; }

 protected:
  int ACTIONS;            ///< Number of actions.
  int activeActionIndex;  ///< The action chosen last; -1 before the first choice.
  std::vector<const AbstractAction*> registeredActions;  ///< By index; owned, may be null.

  /// Where softmax choices compute the weight of each action; null before the first one.
  double* actionValues;

  /// Length of `actionValues`: that of the first softmax choice.
  int actionValuesSize;

 private:
  const bool isRegistered(int actionIndex) const {
    return actionIndex >= 0 && static_cast<std::size_t>(actionIndex) < registeredActions.size();
  }

  const bool isActionIndex(int actionIndex) const {
    return actionIndex < ACTIONS && isRegistered(actionIndex);
  }

  void unregisterAt(int actionIndex);
  void deleteActions(std::size_t count);
  const bool loadNumberOfActions(FILE* file, const QuarnelUtility::Place& place);

  const double rememberedValue(int actionIndex) const;
  void rememberValue(int actionIndex, double actionValue);
  const int drawSoftMaxIndex(double minActionValue, double scale);
};

#endif
