#ifndef QUARNEL_TESTS_TABLES_H
#define QUARNEL_TESTS_TABLES_H

#include <gtest/gtest.h>
#include <quarnel/Types.h>

#include <new>
#include <string>
#include <vector>

#include "FailingNew.h"
#include "Files.h"
#include "Reports.h"

/// What the tests of the lookup tables share: their messages, the bytes of their files, and short
/// memory (see FailingNew.h: one source file of a program may include this).
namespace Tables {

const char* const NO_WEIGHTS = "weights == 0 --> Maybe forgot to call create?";
const char* const NO_ARRAY_TRACES =
    "traceStorage == ARRAY and eTraces == 0 --> Set traceStorage to MAP or call "
    "initEligibilityTraces before calling updateWeights!";

/// A trace storage that does not exist.
const auto UNKNOWN = static_cast<Types::TRACE_STORAGE>(2);

/// The errors since the last call, each as "Class::function: message".
inline std::vector<std::string> errors(Reports& reports) {
  std::vector<std::string> list;
  for (const Report& report : reports.takeErrors()) {
    list.push_back(report.file + "::" + report.function + ": " + report.message);
  }
  return list;
}

/// The record of an integer variable.
inline std::string variableRecord(const std::string& name, int min, int max) {
  return bytes(static_cast<unsigned int>(name.size())) + name + bytes(min) + bytes(max);
}

/// A table's block.
inline std::string block(int traceStorage, const std::vector<int>& placeValues, int size,
                         const std::vector<double>& weights) {
  std::string text = bytes(traceStorage);
  for (const int placeValue : placeValues) {
    text += bytes(placeValue);
  }
  text += bytes(size);
  for (const double weight : weights) {
    text += bytes(weight);
  }
  return text;
}

/// The bits of numbers, which tell -0.0 from 0.0 and one NaN from another.
inline std::string bits(const std::vector<double>& numbers) {
  std::string text;
  for (const double number : numbers) {
    text += bytes(number);
  }
  return text;
}

/// The numbers 1.0, 2.0, ... up to `count`.
inline std::vector<double> ascending(int count) {
  std::vector<double> numbers;
  for (int i = 1; i <= count; ++i) {
    numbers.push_back(i);
  }
  return numbers;
}

/// A test in which memory is short. It is left out where a checker (Valgrind) keeps operators of
/// its own, under which no call of `new` can fail.
class InShortMemory : public testing::Test {
 protected:
  void SetUp() override {
    void* block = nullptr;
    {
      const FailingNew memory(FailingNew::ONE, 1);
      block = ::operator new(1, std::nothrow);
    }
    ::operator delete(block);
    if (block != nullptr) {
      GTEST_SKIP() << "the operators new and delete belong to a checker";
    }
  }
};

}  // namespace Tables

#endif
