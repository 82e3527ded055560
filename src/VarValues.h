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

  VarValues(const VarValues&);
  VarValues& operator=(const VarValues&);

  /// Writes the variable's record at the file's position: the length of the name (4 bytes), the
  /// name, the lower and the upper end of the range. The current value is not part of it.
  ///
  /// @return 0; -1 after an errno report, with the record cut where the write failed.
  virtual const int save(FILE* file) const = 0;

  /// Reads a record; the value then stands in the middle of the range.
  ///
  /// @return 0; -1 after an errno report. What was read before the failure stays, and the value is
  ///   left as it was.
  virtual const int load(FILE* file) = 0;

  /// @return the name, as given at registration or read from a file.
  const std::string& getName() const { return name; }

  /// @param newName replaces the name.
  void setName(const std::string& newName);

 protected:
  std::string name;

  // What the records of both kinds begin with; each reports at the place of the caller.
  const bool saveNameLength(FILE* file, const QuarnelUtility::Place& place) const;
  const bool saveNameText(FILE* file, const QuarnelUtility::Place& place) const;
  const bool loadNameText(FILE* file, unsigned int length, const QuarnelUtility::Place& place);
};

#endif
