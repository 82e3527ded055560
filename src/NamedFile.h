#ifndef QUARNEL_NAMED_FILE_H
#define QUARNEL_NAMED_FILE_H

#include <cstdio>
#include <string>

#include "State.h"
#include "Utility.h"

// No part of the interface.
#pragma GCC visibility push(hidden)
/// The steps that state and action value functions share when they save to and load from a named
/// file. Each reports its own failure at the caller's place.
namespace NamedFile {

/// What stands between number and text of libc's error in the reports about named files.
const char* const SEPARATOR = " --> ";

/// @return the open file; null after a report.
FILE* open(const std::string& fileName, const char* mode, const QuarnelUtility::Place& place);

/// Writes the state record. @return false after a report.
const bool saveState(FILE* file, const State* state, const QuarnelUtility::Place& place);

/// Reads the state record into the state, or into a new one where there is none; damage to a new
/// state's record has been reported by the state and is not passed on. @return false after a
/// report.
const bool loadState(FILE* file, State*& state, const QuarnelUtility::Place& place);

/// @param status what saving or loading the representation's block returned.
/// @return true where that was success; false after a report of `message`.
const bool succeeded(int status, const char* message, const QuarnelUtility::Place& place);

/// Closes the file; what libc still held back may fail only here.
/// @return 0; -1 after a report.
const int close(FILE* file, const QuarnelUtility::Place& place);

}  // namespace NamedFile
#pragma GCC visibility pop

#endif
