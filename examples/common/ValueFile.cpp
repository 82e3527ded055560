#include "common/ValueFile.h"

#include <iostream>
#include <utility>
#include <vector>

namespace {

using Ranges = std::vector<std::pair<int, int>>;

Ranges rangesOf(const State& state) {
  Ranges ranges;
  for (unsigned int id = 0; id < state.getNumberOfVariables(); ++id) {
    ranges.emplace_back(state.getMinValueInt(id), state.getMaxValueInt(id));
  }
  return ranges;
}

}  // namespace

const bool saveValues(const ValueFunction& valueFunction, const std::string& fileName) {
  if (valueFunction.save(fileName) != 0) {
    std::cerr << "can not save the values to '" << fileName << "'" << std::endl;
    return false;
  }
  return true;
}

const bool loadValues(ValueFunction& valueFunction, const std::string& fileName) {
  const Ranges expected = rangesOf(*valueFunction.getStatePtr());
  if (valueFunction.load(fileName) != 0) {
    std::cerr << "can not load values from '" << fileName << "'" << std::endl;
    return false;
  }
  if (rangesOf(*valueFunction.getStatePtr()) != expected) {
    std::cerr << "'" << fileName << "' holds the values of another state" << std::endl;
    return false;
  }
  return true;
}
