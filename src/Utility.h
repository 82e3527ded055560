#ifndef QUARNEL_UTILITY_H
#define QUARNEL_UTILITY_H

/// @file
/// The macros that print reports, for the library and for applications.
///
/// A report is one line: errors go to standard error, normal progress to standard output. It names
/// the source file (without folders and extension), the function, the line, and then the message.

#include <iostream>

/// What the report macros are made of.
namespace QuarnelUtility {

/// A place in the source, as reports name it.
struct Place {
  const char* file;      ///< Path of the source file, as the compiler saw it.
  const char* function;  ///< Name of the function.
  int line;              ///< Line in the source file.
};

/// Writes "File: State   Function: load   Line: 12    --> ", with the file's name bare of folders
/// and extension: reports name classes, wherever the library was built.
///
/// @param os the stream to write to.
/// @param place what to write.
/// @return the stream.
std::ostream& operator<<(std::ostream& os, const Place& place);

/// The last failure of a libc call, as reports show it.
struct Errno {
  int number;             ///< The value of `errno`.
  const char* separator;  ///< What stands between the number and the system's text.
};

/// Writes "errno = 2 --> No such file or directory".
///
/// @param os the stream to write to.
/// @param failure what to write.
/// @return the stream.
std::ostream& operator<<(std::ostream& os, const Errno& failure);

}  // namespace QuarnelUtility

/// The place at which the macro stands, as a `QuarnelUtility::Place`.
#define QUARNEL_PLACE \
  (QuarnelUtility::Place{__FILE__, static_cast<const char*>(__func__), __LINE__})

/// Reports an error in one line on standard error, as seen from another place.
///
/// @param place a `QuarnelUtility::Place`.
/// @param message what to say; it may be a chain: `QUARNEL_ERROR_AT(place, "index " << index)`.
#define QUARNEL_ERROR_AT(place, message)                       \
  do {                                                         \
    std::cerr << "ERROR: " << (place) << message << std::endl; \
  } while (false)

/// Reports an error in one line on standard error: where it stands, and the message.
///
/// @param message what to say; it may be a chain, as above.
#define QUARNEL_ERROR(message) QUARNEL_ERROR_AT(QUARNEL_PLACE, message)

/// Reports normal progress in one line on standard output, as seen from another place.
///
/// @param place a `QuarnelUtility::Place`.
/// @param message what to say; it may be a chain, as above.
#define QUARNEL_INFORMATION_AT(place, message)    \
  do {                                            \
    std::cout << (place) << message << std::endl; \
  } while (false)

/// Reports normal progress in one line on standard output, in the layout of `QUARNEL_ERROR`.
///
/// @param message what to say; it may be a chain, as above.
#define QUARNEL_INFORMATION(message) QUARNEL_INFORMATION_AT(QUARNEL_PLACE, message)

#endif
