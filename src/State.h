#ifndef QUARNEL_STATE_H
#define QUARNEL_STATE_H

#include <cstdio>
#include <string>
#include <vector>

#include "Utility.h"
#include "VarValues.h"
#include "VarValuesDouble.h"
#include "VarValuesInt.h"

/// The agent's observation: an ordered registry of named variables, all integer or all real.
///
/// An application registers the variables once, with their ranges, and writes their current values
/// in `setInitialState()` and `observeState()`. Value functions read values and ranges by id and
/// turn them into table cells, tiles or network inputs. A variable's id is its position in the
/// order of registration, from 0; it never changes, and no variable is ever removed.
///
/// The variables outlive the `State`: neither its destructor nor `load()` destroys them.
class State {
 public:
  /// The kind of all variables of a state.
  enum TYPE : int {
    UNDEF = 0,  ///< Nothing is registered yet.
    INT = 1,    ///< Integer variables.
    DOUBLE = 2  ///< Real variables.
  };

  /// A state without variables; the first registration decides its kind.
  State();

  /// Reads the state from a file with `load()`, whose failures are only reported.
  ///
  /// @param file open for reading, at a state record.
  explicit State(FILE* file);

  ~State();

  State(const State&) = delete;
  State& operator=(const State&) = delete;

  /// Registers an integer variable, which starts at the middle of its range.
  ///
  /// @param name the variable's name; names need not differ.
  /// @param a one end of the range.
  /// @param b the other end; the ends may be given in either order.
  /// @return the variable's id; 4294967295 after a report when the state holds real variables,
  ///   or when there is no memory.
  const unsigned int registerVariable(const std::string& name, int a, int b);

  /// Registers a real variable, which starts at the middle of its range.
  ///
  /// @param name the variable's name; names need not differ.
  /// @param a one end of the range.
  /// @param b the other end; the ends may be given in either order (where one is not a number they
  ///   are taken as lower and upper end).
  /// @return the variable's id; 4294967295 after a report when the state holds integer
  ///   variables, or when there is no memory.
  const unsigned int registerVariable(const std::string& name, double a, double b);

  /// @param name the name to look for.
  /// @return the id of the first variable with exactly this name; 4294967295 after a report when
  ///   there is none.
  const unsigned int getVariableId(const std::string& name) const;

  /// @return the number of registered variables; ids lie below it.
  const unsigned int getNumberOfVariables() const { return static_cast<unsigned int>(vars.size()); }

  /// @param id any number.
  /// @return true when there is a real variable with this id; nothing is reported.
  const bool isRealVariable(unsigned int id) const { return varType == DOUBLE && id < vars.size(); }

  /// @name Integer variables
  /// A wrong kind of state or an unknown id is reported; the getters then return 0 and the setters
  /// change nothing. The setters do not keep a value within its range.
  /// @{

  /// @param id the variable's id.
  /// @return its current value.
  const int getValueInt(unsigned int id) const;

  /// @param id the variable's id.
  /// @return the lower end of its range.
  const int getMinValueInt(unsigned int id) const;

  /// @param id the variable's id.
  /// @return the upper end of its range.
  const int getMaxValueInt(unsigned int id) const;

  /// @param id the variable's id.
  /// @param value its new value.
  void setValueInt(unsigned int id, int value);

  /// @param id the variable's id.
  /// @param minValue the new lower end of its range; tables and tilings keep their size.
  void setMinValueInt(unsigned int id, int minValue);

  /// @param id the variable's id.
  /// @param maxValue the new upper end of its range; tables and tilings keep their size.
  void setMaxValueInt(unsigned int id, int maxValue);

  /// @}

  /// @name Real variables
  /// A wrong kind of state or an unknown id is reported; the getters then return 0.0 and the
  /// setters change nothing. The setters do not keep a value within its range.
  /// @{

  /// @param id the variable's id.
  /// @return its current value.
  const double getValueDbl(unsigned int id) const;

  /// @param id the variable's id.
  /// @return the lower end of its range.
  const double getMinValueDbl(unsigned int id) const;

  /// @param id the variable's id.
  /// @return the upper end of its range.
  const double getMaxValueDbl(unsigned int id) const;

  /// @param id the variable's id.
  /// @param value its new value.
  void setValueDbl(unsigned int id, double value);

  /// @param id the variable's id.
  /// @param minValue the new lower end of its range; tables and tilings keep their size.
  void setMinValueDbl(unsigned int id, double minValue);

  /// @param id the variable's id.
  /// @param maxValue the new upper end of its range; tables and tilings keep their size.
  void setMaxValueDbl(unsigned int id, double maxValue);

  /// @}

  /// Writes the state record: the number of variables and their kind (4 bytes each), then the
  /// record of each variable in the order of ids. Current values are not part of it.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after an errno report.
  const int save(FILE* file) const;

  /// Replaces the registry with the state record at the file's position; every value then stands
  /// in the middle of its range.
  ///
  /// @param file open for reading, at a state record.
  /// @return 0; -1 after a report when the number of variables or their kind can't be read, when
  ///   there are said to be more than 1024 variables and the file can't hold them (a pipe: when it
  ///   ends before them), or when there is no memory for them. A
  ///   variable that can't be read is reported and registered all the same. A kind other than `INT`
  ///   and `DOUBLE` is reported and gives an empty state and 0: files of empty states look so.
  const int load(FILE* file);

 protected:
  TYPE varType;                  ///< The kind of all variables.
  std::vector<VarValues*> vars;  ///< The variables by id; never deleted here.

 private:
  // The variable with this id; null after a report where there is none of the kind.
  VarValuesInt* intVariable(unsigned int id, const QuarnelUtility::Place& place) const;
  VarValuesDouble* doubleVariable(unsigned int id, const QuarnelUtility::Place& place) const;
  void reportNoVariable(unsigned int id, const char* wrongType,
                        const QuarnelUtility::Place& place) const;

  template <typename Variable, typename Number>
  const unsigned int append(const std::string& name, Number minValue, Number maxValue,
                            const QuarnelUtility::Place& place);
  template <typename Variable>
  const int loadVariables(FILE* file, unsigned int count, const QuarnelUtility::Place& place);
};

inline VarValuesInt* State::intVariable(unsigned int id, const QuarnelUtility::Place& place) const {
  if (varType == INT && id < vars.size()) {
    return static_cast<VarValuesInt*>(vars[id]);
  }
  reportNoVariable(id, varType == INT ? nullptr : "Not an Int-State!", place);
  return nullptr;
}

inline VarValuesDouble* State::doubleVariable(unsigned int id,
                                              const QuarnelUtility::Place& place) const {
  if (varType == DOUBLE && id < vars.size()) {
    return static_cast<VarValuesDouble*>(vars[id]);
  }
  reportNoVariable(id, varType == DOUBLE ? nullptr : "Not a Double-State!", place);
  return nullptr;
}

// The places are constants: put together for each call they would cost more than the access.

inline const int State::getValueInt(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesInt* const variable = intVariable(id, place);
  return variable != nullptr ? variable->getValue() : 0;
}

inline const int State::getMinValueInt(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesInt* const variable = intVariable(id, place);
  return variable != nullptr ? variable->getMinValue() : 0;
}

inline const int State::getMaxValueInt(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesInt* const variable = intVariable(id, place);
  return variable != nullptr ? variable->getMaxValue() : 0;
}

inline void State::setValueInt(unsigned int id, int value) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesInt* const variable = intVariable(id, place)) {
    variable->setValue(value);
  }
}

inline void State::setMinValueInt(unsigned int id, int minValue) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesInt* const variable = intVariable(id, place)) {
    variable->setMinValue(minValue);
  }
}

inline void State::setMaxValueInt(unsigned int id, int maxValue) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesInt* const variable = intVariable(id, place)) {
    variable->setMaxValue(maxValue);
  }
}

inline const double State::getValueDbl(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesDouble* const variable = doubleVariable(id, place);
  return variable != nullptr ? variable->getValue() : 0.0;
}

inline const double State::getMinValueDbl(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesDouble* const variable = doubleVariable(id, place);
  return variable != nullptr ? variable->getMinValue() : 0.0;
}

inline const double State::getMaxValueDbl(unsigned int id) const {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  const VarValuesDouble* const variable = doubleVariable(id, place);
  return variable != nullptr ? variable->getMaxValue() : 0.0;
}

inline void State::setValueDbl(unsigned int id, double value) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesDouble* const variable = doubleVariable(id, place)) {
    variable->setValue(value);
  }
}

inline void State::setMinValueDbl(unsigned int id, double minValue) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesDouble* const variable = doubleVariable(id, place)) {
    variable->setMinValue(minValue);
  }
}

inline void State::setMaxValueDbl(unsigned int id, double maxValue) {
  static constexpr QuarnelUtility::Place place = QUARNEL_PLACE;
  if (VarValuesDouble* const variable = doubleVariable(id, place)) {
    variable->setMaxValue(maxValue);
  }
}

#endif
