#include "Utility.h"

#include <cstring>
#include <string_view>

namespace QuarnelUtility {

namespace {

std::string_view sourceName(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string_view::npos) {
    path.remove_prefix(slash + 1);
  }
  return path.substr(0, path.rfind('.'));
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const Place& place) {
  return os << "File: " << sourceName(place.file) << "   "
            << "Function: " << place.function << "   "
            << "Line: " << place.line << "   "
            << " --> ";
}

std::ostream& operator<<(std::ostream& os, const Errno& failure) {
  return os << "errno = " << failure.number << failure.separator << std::strerror(failure.number);
}

}  // namespace QuarnelUtility
