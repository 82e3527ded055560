#include "Reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iostream>
#include <ostream>

bool operator==(const Report& a, const Report& b) {
  return a.error == b.error && a.file == b.file && a.function == b.function && a.line == b.line &&
         a.message == b.message;
}

std::ostream& operator<<(std::ostream& os, const Report& report) {
  return os << (report.error ? "error from " : "information from ") << report.file
            << "::" << report.function << ": \"" << report.message << "\"";
}

namespace {

// Takes what stands before the next occurrence of a text, and the text, off the front of a line.
bool takeField(std::string& line, const std::string& end, std::string& field) {
  const std::size_t position = line.find(end);
  if (position == std::string::npos) {
    return false;
  }
  field = line.substr(0, position);
  line.erase(0, position + end.size());
  return true;
}

bool isWord(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
    return std::isalnum(character) != 0 || character == '_';
  });
}

bool isNumber(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Three blanks stand between the fields and four before the arrow.
bool parseLine(std::string line, bool error, Report& report) {
  std::string beginning;
  std::string number;
  const bool complete = takeField(line, error ? "ERROR: File: " : "File: ", beginning) &&
                        takeField(line, "   Function: ", report.file) &&
                        takeField(line, "   Line: ", report.function) &&
                        takeField(line, "    --> ", number) && beginning.empty() &&
                        isWord(report.file) && isWord(report.function) && isNumber(number);
  if (complete) {
    report.error = error;
    report.line = std::stoi(number);
    report.message = line;
  }
  return complete;
}

std::vector<Report> parse(const std::string& text, bool error) {
  std::vector<Report> reports;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    Report report{};
    if (parseLine(line, error, report)) {
      reports.push_back(report);
    } else {
      ADD_FAILURE() << "not laid out as a report: \"" << line << "\"";
    }
  }
  if (!text.empty() && text.back() != '\n') {
    ADD_FAILURE() << "a report does not end its line: \"" << text << "\"";
  }
  return reports;
}

std::string take(std::ostringstream& stream) {
  const std::string text = stream.str();
  stream.str("");
  return text;
}

std::vector<std::string> messagesOf(const std::vector<Report>& reports) {
  std::vector<std::string> list;
  for (const Report& report : reports) {
    list.push_back(report.message);
  }
  return list;
}

}  // namespace

Reports::Reports()
    : outBuffer(std::cout.rdbuf(outText.rdbuf())), errBuffer(std::cerr.rdbuf(errText.rdbuf())) {}

Reports::~Reports() {
  std::cout.rdbuf(outBuffer);
  std::cerr.rdbuf(errBuffer);
}

std::vector<Report> Reports::takeErrors() { return parse(take(errText), true); }

std::vector<Report> Reports::takeInformation() { return parse(take(outText), false); }

std::vector<std::string> Reports::errors() { return messagesOf(takeErrors()); }

std::vector<std::string> Reports::information() { return messagesOf(takeInformation()); }

std::string Reports::errorText() { return take(errText); }

std::string Reports::informationText() { return take(outText); }

std::vector<std::string> messages(std::initializer_list<std::string> list) { return list; }

std::string errnoMessage(int number, const std::string& separator) {
  return "errno = " + std::to_string(number) + separator + std::strerror(number);
}
