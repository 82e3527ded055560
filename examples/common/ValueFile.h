#ifndef QUARNEL_EXAMPLES_VALUE_FILE_H
#define QUARNEL_EXAMPLES_VALUE_FILE_H

#include <quarnel/ValueFunction.h>

#include <string>

/// Saves a value function. @return false after a message on standard error.
const bool saveValues(const ValueFunction& valueFunction, const std::string& fileName);

/// Loads a file into a value function, and checks that the file was saved
/// from one over the same variables: loading replaces them.
///
/// @return false after a message on standard error; the value function is then not to be used.
const bool loadValues(ValueFunction& valueFunction, const std::string& fileName);

#endif
