#ifndef QUARNEL_VAR_VALUES_H
#define QUARNEL_VAR_VALUES_H

#include <cstdio>
#include <string>

#include "Utility.h"

/// One named, bounded quantity of the agent's observation.
///
/// `VarValuesInt` and `VarValuesDouble` add the value and its range. A `State` makes and keeps the
/// variables; applications reach them through the `State`, by id.
class VarValues {
 public:
  /// @param newName the variable's name; any bytes, may be empty.
  explicit VarValues(const std::string& newName);

  virtual ~VarValues();

  /// Copies the name.
  VarValues(const VarValues&);

  /// Copies the name. @return this variable.
  VarValues& operator=(const VarValues&);

  /// Writes the variable's record at the file's position: the length of the name (4 bytes), the
  /// name, the lower and the upper end of the range. The current value is not part of it.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after an errno report, with the record cut where the write failed.
  virtual const int save(FILE* file) const = 0;

  /// Reads a record; the value then stands in the middle of the range.
  ///
  /// @param file open for reading, at a record of the same kind.
  /// @return 0; -1 after an errno report. What was read before the failure stays, and the value is
  ///   left as it was.
  virtual const int load(FILE* file) = 0;

  /// @return the name, as given at registration or read from a file.
  const std::string& getName() const { return name; }

  /// @param newName replaces the name.
  void setName(const std::string& newName);

 protected:
  std::string name;  ///< The variable's name.

  /// Writes the length of the name, as 4 bytes: what the records of both kinds begin with.
  ///
  /// @param file open for writing.
  /// @param place where a report is said to come from.
  /// @return false after an errno report.
  const bool saveNameLength(FILE* file, const QuarnelUtility::Place& place) const;

  /// Writes the bytes of the name, which follow its length.
  ///
  /// @param file open for writing.
  /// @param place where a report is said to come from.
  /// @return false after an errno report.
  const bool saveNameText(FILE* file, const QuarnelUtility::Place& place) const;

  /// Reads the bytes of the name; the old name stays where they can't be read.
  ///
  /// @param file open for reading, behind the length of the name.
  /// @param length number of bytes of the name.
  /// @param place where a report is said to come from.
  /// @return false after an errno report.
  const bool loadNameText(FILE* file, unsigned int length, const QuarnelUtility::Place& place);
};

#endif
