#include "common/ValueFile.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <limits>

namespace {

// The variables with their names and ranges, as they lie in a file.
std::string recordOf(const State& state) {
  char* bytes = nullptr;
  std::size_t size = 0;
  FILE* const file = open_memstream(&bytes, &size);
  if (file == nullptr) {
    return "";
  }
  state.save(file);
  std::fclose(file);
  const std::string record(bytes, size);
  std::free(bytes);
  return record;
}

// A file begins with its state.
const bool holdsAnother(const std::string& expected, const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::string found(expected.size(), '\0');
  // What is too short to hold a state is left to the library, which reports what is missing.
  return file.read(found.data(), static_cast<std::streamsize>(found.size())) && found != expected;
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
  if (holdsAnother(recordOf(*valueFunction.getStatePtr()), fileName)) {
    std::cerr << "'" << fileName << "' holds the values of another state" << std::endl;
    return false;
  }
  const bool read = valueFunction.load(fileName) == 0;
  // Tile coding takes a file that is cut short for one whose tilings have no weights.
  const double noWeights = std::numeric_limits<double>::max();
  if (!read || valueFunction.getMinWeight() == noWeights) {
    std::cerr << "can not load values from '" << fileName << "'" << std::endl;
    return false;
  }
  return true;
}
