#include "State.h"

#include <limits>
#include <memory>

#include "Allocation.h"
#include "BinaryFile.h"

namespace {

const unsigned int NO_VARIABLE = std::numeric_limits<unsigned int>::max();

// Up to this count a record is followed whatever the file holds: the reports then tell which
// variables are missing. A larger count that the file can't hold is no count.
const unsigned int TRUSTED_COUNT = 1024;

// The smallest record of a variable: a name's length and the two ends of the range.
const unsigned int recordSize(State::TYPE type) {
  return type == State::INT ? 4 + 2 * sizeof(int) : 4 + 2 * sizeof(double);
}

}  // namespace

State::State() : varType(UNDEF) {}

State::State(FILE* file) : State() { load(file); }

State::~State() = default;

const unsigned int State::registerVariable(const std::string& name, int a, int b) {
  if (vars.empty()) {
    varType = INT;
  }
  if (varType != INT) {
    QUARNEL_ERROR("Cannot register Int-Variable!");
    return NO_VARIABLE;
  }
  return a > b ? append<VarValuesInt>(name, b, a, QUARNEL_PLACE)
               : append<VarValuesInt>(name, a, b, QUARNEL_PLACE);
}

const unsigned int State::registerVariable(const std::string& name, double a, double b) {
  if (vars.empty()) {
    varType = DOUBLE;
  }
  if (varType != DOUBLE) {
    QUARNEL_ERROR("Cannot register Double-Variable!");
    return NO_VARIABLE;
  }
  return a > b ? append<VarValuesDouble>(name, b, a, QUARNEL_PLACE)
               : append<VarValuesDouble>(name, a, b, QUARNEL_PLACE);
}

template <typename Variable, typename Number>
const unsigned int State::append(const std::string& name, Number minValue, Number maxValue,
                                 const QuarnelUtility::Place& place) {
  bool named = false;
  const bool appended = Allocation::succeeds(
      [&] {
        auto variable = std::make_unique<Variable>(name, minValue, maxValue);
        // A variable that there was no memory to name has reported it and is none.
        named = variable->getName().size() == name.size();
        if (named) {
          vars.push_back(variable.get());
          static_cast<void>(variable.release());
        }
      },
      "a variable", place);
  return appended && named ? getNumberOfVariables() - 1 : NO_VARIABLE;
}

const unsigned int State::getVariableId(const std::string& name) const {
  for (unsigned int id = 0; id < vars.size(); ++id) {
    if (vars[id]->getName() == name) {
      return id;
    }
  }
  QUARNEL_ERROR("No variable with name = " << name);
  return NO_VARIABLE;
}

void State::reportNoVariable(unsigned int id, const char* wrongType,
                             const QuarnelUtility::Place& place) const {
  if (wrongType != nullptr) {
    QUARNEL_ERROR_AT(place, wrongType);
  } else {
    QUARNEL_ERROR_AT(place, "VarId out of bounds --> 0 <= " << id << " < " << vars.size());
  }
}

const int State::save(FILE* file) const {
  if (!BinaryFile::write(file, getNumberOfVariables(), QUARNEL_PLACE) ||
      !BinaryFile::write(file, varType, QUARNEL_PLACE)) {
    return -1;
  }
  for (const VarValues* const variable : vars) {
    if (const int failure = variable->save(file)) {
      return failure;
    }
  }
  return 0;
}

const int State::load(FILE* file) {
  vars.clear();
  unsigned int count = 0;
  TYPE type = UNDEF;
  if (!BinaryFile::read(file, count, QUARNEL_PLACE) ||
      !BinaryFile::read(file, type, QUARNEL_PLACE)) {
    return -1;
  }
  if (type != INT && type != DOUBLE) {
    varType = type;
    QUARNEL_ERROR("Undef VarType: " << varType);
    return 0;
  }
  if (count > TRUSTED_COUNT && !BinaryFile::mayHold(file, count, recordSize(type))) {
    BinaryFile::reportErrno(QUARNEL_PLACE);
    return -1;
  }
  varType = type;
  return varType == INT ? loadVariables<VarValuesInt>(file, count, QUARNEL_PLACE)
                        : loadVariables<VarValuesDouble>(file, count, QUARNEL_PLACE);
}

template <typename Variable>
const int State::loadVariables(FILE* file, unsigned int count, const QuarnelUtility::Place& place) {
  const bool endUnknown = BinaryFile::remainingBytes(file) < 0;
  for (unsigned int i = 0; i < count; ++i) {
    // A pipe can't tell how much it holds: past the trusted count it is followed to its end only.
    if (endUnknown && i >= TRUSTED_COUNT && (std::feof(file) != 0 || std::ferror(file) != 0)) {
      BinaryFile::reportErrno(place);
      return -1;
    }
    const bool appended = Allocation::succeeds(
        [&] {
          auto variable = std::make_unique<Variable>(file);
          vars.push_back(variable.get());
          static_cast<void>(variable.release());
        },
        "a variable", place);
    if (!appended) {
      return -1;
    }
  }
  return 0;
}
