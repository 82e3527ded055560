#include "NamedFile.h"

#include <new>

#include "BinaryFile.h"

namespace NamedFile {

FILE* open(const std::string& fileName, const char* mode, const QuarnelUtility::Place& place) {
  FILE* const file = std::fopen(fileName.c_str(), mode);
  if (file == nullptr) {
    BinaryFile::reportErrno(place, SEPARATOR);
  }
  return file;
}

const bool saveState(FILE* file, const State* state, const QuarnelUtility::Place& place) {
  return succeeded(state != nullptr ? state->save(file) : -1, "saving state failed", place);
}

const bool loadState(FILE* file, State*& state, const QuarnelUtility::Place& place) {
  if (state != nullptr) {
    return succeeded(state->load(file), "loading state failed", place);
  }
  state = new (std::nothrow) State(file);
  return succeeded(state != nullptr ? 0 : -1, "loading state failed", place);
}

const bool succeeded(int status, const char* message, const QuarnelUtility::Place& place) {
  if (status == 0) {
    return true;
  }
  QUARNEL_ERROR_AT(place, message);
  return false;
}

const int close(FILE* file, const QuarnelUtility::Place& place) {
  if (std::fclose(file) == 0) {
    return 0;
  }
  BinaryFile::reportErrno(place, SEPARATOR);
  return -1;
}

}  // namespace NamedFile
