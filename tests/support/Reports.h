#ifndef QUARNEL_TESTS_REPORTS_H
#define QUARNEL_TESTS_REPORTS_H

#include <iosfwd>
#include <sstream>
#include <string>
#include <vector>

/// One line that the library printed, taken apart.
struct Report {
  bool error;            ///< True for "ERROR: File: ...", false for "File: ...".
  std::string file;      ///< The class named as the file.
  std::string function;  ///< The function.
  int line;              ///< The source line.
  std::string message;   ///< All that follows the arrow.
};

bool operator==(const Report& a, const Report& b);
std::ostream& operator<<(std::ostream& os, const Report& report);

/// Takes what goes to standard output and standard error for as long as it lives. A line that is
/// not laid out as a report to the last blank fails the test.
///
/// @code
/// Reports reports;
/// state.getValueInt(3);
/// EXPECT_EQ(reports.errors(), messages({"VarId out of bounds --> 0 <= 3 < 3"}));
/// @endcode
class Reports {
 public:
  Reports();
  ~Reports();
  Reports(const Reports&) = delete;
  Reports& operator=(const Reports&) = delete;

  /// What has been printed on standard error since the last call of this, line by line.
  std::vector<Report> takeErrors();

  /// What has been printed on standard output since the last call of this, line by line.
  std::vector<Report> takeInformation();

  /// The messages alone of `takeErrors()`.
  std::vector<std::string> errors();

  /// The messages alone of `takeInformation()`.
  std::vector<std::string> information();

  /// The text as it was printed on standard error since the last call.
  std::string errorText();

  /// The text as it was printed on standard output since the last call.
  std::string informationText();

 private:
  std::ostringstream outText;
  std::ostringstream errText;
  std::streambuf* outBuffer;
  std::streambuf* errBuffer;
};

/// A list of messages, for comparisons that read well.
std::vector<std::string> messages(std::initializer_list<std::string> list);

/// "errno = 2<separator>No such file or directory" for ENOENT, and so on.
std::string errnoMessage(int number, const std::string& separator);

#endif
