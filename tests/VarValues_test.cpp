#include <gtest/gtest.h>
#include <quarnel/VarValues.h>
#include <quarnel/VarValuesDouble.h>
#include <quarnel/VarValuesInt.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"

namespace {

class Named : public VarValues {
 public:
  explicit Named(const std::string& newName) : VarValues(newName), destroyed(nullptr) {}
  Named(const std::string& newName, bool& tellDestroyed)
      : VarValues(newName), destroyed(&tellDestroyed) {}
  ~Named() override {
    if (destroyed != nullptr) {
      *destroyed = true;
    }
  }
  const int save(FILE*) const override { return 11; }
  const int load(FILE*) override { return 22; }

 private:
  bool* destroyed;
};

std::string fileNameOf(const VarValuesInt*) { return "VarValuesInt"; }
std::string fileNameOf(const VarValuesDouble*) { return "VarValuesDouble"; }

// Reports without their lines, which no test can know.
std::vector<Report> withoutLines(std::vector<Report> reports) {
  for (Report& report : reports) {
    report.line = 0;
  }
  return reports;
}

}  // namespace

TEST(VarValues, IsAbstract) {
  EXPECT_TRUE(std::is_abstract_v<VarValues>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VarValues>);
}

TEST(VarValues, KeepsTheNameItIsMadeWith) {
  EXPECT_EQ(Named("speed").getName(), "speed");
  EXPECT_EQ(Named("").getName(), "");
  const std::string anyBytes("a\0b\xFF", 4);
  EXPECT_EQ(Named(anyBytes).getName(), anyBytes);
}

TEST(VarValues, SetNameReplacesTheName) {
  Named variable("speed");
  variable.setName("a longer name than before");
  EXPECT_EQ(variable.getName(), "a longer name than before");
  variable.setName("");
  EXPECT_EQ(variable.getName(), "");
}

TEST(VarValues, GivesTheNameItselfNotACopy) {
  Named variable("speed");
  const std::string& name = variable.getName();
  variable.setName("angle");
  EXPECT_EQ(name, "angle");
}

TEST(VarValues, IsDestroyedSavedAndLoadedAsWhatItIs) {
  bool destroyed = false;
  std::unique_ptr<VarValues> variable = std::make_unique<Named>("speed", destroyed);
  EXPECT_EQ(variable->save(nullptr), 11);
  EXPECT_EQ(variable->load(nullptr), 22);
  variable.reset();
  EXPECT_TRUE(destroyed);
}

// What the records of both kinds have in common.
template <typename Variable>
class VariableRecord : public testing::Test {
 protected:
  using Number = std::decay_t<decltype(std::declval<Variable>().getMinValue())>;

  static std::string record(const std::string& name, Number minValue, Number maxValue) {
    return bytes(static_cast<std::uint32_t>(name.size())) + name + bytes(minValue) +
           bytes(maxValue);
  }

  static std::vector<Report> errnoReport(const char* function, int number) {
    const std::string file = fileNameOf(static_cast<const Variable*>(nullptr));
    return {{true, file, function, 0, errnoMessage(number, "  -->  ")}};
  }

  // Number of the field, from 0, in which a byte of the record of "abc" lies.
  static int fieldOf(std::size_t byte) {
    if (byte < 4) {
      return 0;
    }
    if (byte < 7) {
      return 1;
    }
    return byte < 7 + sizeof(Number) ? 2 : 3;
  }

  // What is read before byte `cut` of the record ("abc", 1, 4) has changed ("old", 10, 20), whose
  // value was 19.
  static void expectReadUpTo(std::size_t cut, const Variable& variable) {
    const int field = fieldOf(cut);
    EXPECT_EQ(variable.getName(), field > 1 ? "abc" : "old") << cut;
    EXPECT_EQ(variable.getMinValue(), Number(field > 2 ? 1 : 10)) << cut;
    EXPECT_EQ(variable.getMaxValue(), Number(20)) << cut;
    EXPECT_EQ(variable.getValue(), Number(19)) << cut;
  }

  static Variable oldVariable() {
    Variable variable("old", 10, 20);
    variable.setValue(19);
    return variable;
  }

  void load(Variable& variable, FILE* file, int expectedErrno) {
    Reports reports;
    errno = expectedErrno;
    EXPECT_EQ(variable.load(file), -1);
    EXPECT_EQ(withoutLines(reports.takeErrors()), errnoReport("load", expectedErrno));
  }
};

using Kinds = testing::Types<VarValuesInt, VarValuesDouble>;
TYPED_TEST_SUITE(VariableRecord, Kinds);

TYPED_TEST(VariableRecord, IsLengthNameAndBothEndsOfTheRange) {
  const TypeParam variable("abc", 1, 4);
  const MemoryFile file;
  Reports reports;
  EXPECT_EQ(variable.save(file), 0);
  EXPECT_EQ(file.content(), this->record("abc", 1, 4));
  EXPECT_EQ(file.content().size(), sizeof(typename TestFixture::Number) == 4 ? 15u : 23u);
  EXPECT_EQ(reports.errors(), messages({}));
}

TYPED_TEST(VariableRecord, OfAnEmptyNameHasNoNameBytes) {
  const MemoryFile file;
  EXPECT_EQ(TypeParam("", 1, 4).save(file), 0);
  EXPECT_EQ(file.content(), this->record("", 1, 4));
  EXPECT_EQ(file.content().size(), sizeof(typename TestFixture::Number) == 4 ? 12u : 20u);
  file.rewind();
  TypeParam variable("old", 10, 20);
  Reports reports;
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getName(), "");
  EXPECT_EQ(variable.getMinValue(), 1);
  EXPECT_EQ(variable.getMaxValue(), 4);
  EXPECT_EQ(reports.errors(), messages({}));
}

TYPED_TEST(VariableRecord, KeepsZeroBytesInTheName) {
  const std::string name("\0a\0\0b\0", 6);
  const MemoryFile file;
  EXPECT_EQ(TypeParam(name, 1, 4).save(file), 0);
  EXPECT_EQ(file.content(), this->record(name, 1, 4));
  file.rewind();
  TypeParam variable("old", 10, 20);
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getName(), name);
}

TYPED_TEST(VariableRecord, KeepsLongNames) {
  for (const std::size_t length : {65535u, 65536u, 65537u, 131072u, 200000u}) {
    std::string name(length, 'n');
    name.front() = '<';
    name.back() = '>';
    const MemoryFile file;
    EXPECT_EQ(TypeParam(name, 1, 4).save(file), 0);
    file.rewind();
    TypeParam variable("old", 10, 20);
    EXPECT_EQ(variable.load(file), 0);
    EXPECT_TRUE(variable.getName() == name) << length;
    EXPECT_EQ(variable.getMaxValue(), 4);
  }
}

TYPED_TEST(VariableRecord, DoesNotHoldTheValue) {
  TypeParam variable("abc", 0, 8);
  variable.setValue(7);
  const MemoryFile file;
  EXPECT_EQ(variable.save(file), 0);
  EXPECT_EQ(file.content(), this->record("abc", 0, 8));
  file.rewind();
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getValue(), 4);
}

TYPED_TEST(VariableRecord, HoldsTheRangeAsTheSettersLeftIt) {
  TypeParam variable("abc", 0, 8);
  variable.setMinValue(-6);
  variable.setMaxValue(2);
  variable.setName("xy");
  const MemoryFile file;
  EXPECT_EQ(variable.save(file), 0);
  EXPECT_EQ(file.content(), this->record("xy", -6, 2));
}

TYPED_TEST(VariableRecord, ReplacesEverythingOnLoading) {
  const MemoryFile file(this->record("abc", 2, 6));
  TypeParam variable = this->oldVariable();
  Reports reports;
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getName(), "abc");
  EXPECT_EQ(variable.getMinValue(), 2);
  EXPECT_EQ(variable.getMaxValue(), 6);
  EXPECT_EQ(variable.getValue(), 4);
  EXPECT_EQ(reports.errors(), messages({}));
}

TYPED_TEST(VariableRecord, IsWrittenAtTheFilesPosition) {
  const MemoryFile file;
  std::fputs("before", file);
  EXPECT_EQ(TypeParam("abc", 1, 4).save(file), 0);
  EXPECT_EQ(TypeParam("de", 5, 9).save(file), 0);
  EXPECT_EQ(file.content(), "before" + this->record("abc", 1, 4) + this->record("de", 5, 9));
}

TYPED_TEST(VariableRecord, IsReadAtTheFilesPositionAndNoFurther) {
  const std::string first = "before" + this->record("abc", 1, 4);
  const MemoryFile file(first + "behind");
  std::fseek(file, 6, SEEK_SET);
  TypeParam variable("old", 10, 20);
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getName(), "abc");
  EXPECT_EQ(std::ftell(file), static_cast<long>(first.size()));
}

TYPED_TEST(VariableRecord, IsReadFromAStreamThatCanNotSeek) {
  const std::string record = this->record("abc", 1, 4);
  const FailingFile file(record, record.size() + 1, "r");
  TypeParam variable("old", 10, 20);
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getName(), "abc");
  EXPECT_EQ(variable.getMinValue(), 1);
  EXPECT_EQ(variable.getMaxValue(), 4);
}

TYPED_TEST(VariableRecord, CutAtAnyByteIsReadUpToThere) {
  const std::string record = this->record("abc", 1, 4);
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    TypeParam variable = this->oldVariable();
    this->load(variable, MemoryFile(record.substr(0, cut)), ERANGE);
    this->expectReadUpTo(cut, variable);
  }
}

TYPED_TEST(VariableRecord, CutAtAnyByteOfAStreamIsReadUpToThere) {
  const std::string record = this->record("abc", 1, 4);
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    TypeParam variable = this->oldVariable();
    this->load(variable, FailingFile(record.substr(0, cut), cut + 1, "r"), ERANGE);
    this->expectReadUpTo(cut, variable);
  }
}

TYPED_TEST(VariableRecord, WhoseReadFailsAtAnyByteIsReadUpToThere) {
  const std::string record = this->record("abc", 1, 4);
  for (std::size_t limit = 0; limit < record.size(); ++limit) {
    TypeParam variable = this->oldVariable();
    this->load(variable, FailingFile(record, limit, "r"), EIO);
    this->expectReadUpTo(limit, variable);
  }
}

TYPED_TEST(VariableRecord, WhoseWriteFailsAtAnyByteStopsThere) {
  const TypeParam variable("abc", 1, 4);
  const std::string record = this->record("abc", 1, 4);
  for (std::size_t limit = 0; limit < record.size(); ++limit) {
    const FailingFile file("", limit, "w");
    Reports reports;
    EXPECT_EQ(variable.save(file), -1) << limit;
    EXPECT_EQ(withoutLines(reports.takeErrors()), this->errnoReport("save", EIO)) << limit;
    EXPECT_EQ(file.written(), record.substr(0, limit)) << limit;
  }
  const FailingFile file("", record.size(), "w");
  EXPECT_EQ(variable.save(file), 0);
}

TYPED_TEST(VariableRecord, ReportsAFullDisk) {
  FILE* const file = std::fopen("/dev/full", "w");
  ASSERT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
  Reports reports;
  EXPECT_EQ(TypeParam("abc", 1, 4).save(file), -1);
  EXPECT_EQ(reports.errors(), messages({"errno = 28  -->  No space left on device"}));
  std::fclose(file);
}

TYPED_TEST(VariableRecord, ReportsEachFieldFromALineOfItsOwn) {
  const std::string record = this->record("abc", 1, 4);
  std::set<int> saveLines;
  std::set<int> loadLines;
  for (std::size_t limit = 0; limit < record.size(); ++limit) {
    Reports reports;
    TypeParam variable("abc", 1, 4);
    variable.save(FailingFile("", limit, "w"));
    variable.load(FailingFile(record, limit, "r"));
    const std::vector<Report> errors = reports.takeErrors();
    ASSERT_EQ(errors.size(), 2u);
    saveLines.insert(errors[0].line);
    loadLines.insert(errors[1].line);
  }
  EXPECT_EQ(saveLines.size(), 4u);
  EXPECT_EQ(loadLines.size(), 4u);
}

TYPED_TEST(VariableRecord, WithANameLengthUpToTheRestOfTheFileIsTried) {
  // The name takes up both ends of the range, so that it is the lower end that is missing.
  const std::string name(2 * sizeof(typename TestFixture::Number), 'n');
  TypeParam variable = this->oldVariable();
  this->load(variable, MemoryFile(bytes(static_cast<std::uint32_t>(name.size())) + name), ERANGE);
  EXPECT_EQ(variable.getName(), name);
  EXPECT_EQ(variable.getMinValue(), 10);
}

TYPED_TEST(VariableRecord, WithANameLengthBeyondTheRestOfTheFileIsAShortRead) {
  const std::string rest = "abc" + bytes(1.0) + bytes(4.0);
  for (const std::uint32_t length : {static_cast<std::uint32_t>(rest.size()) + 1, 0x7FFFFFFFu,
                                     0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    TypeParam variable = this->oldVariable();
    this->load(variable, MemoryFile(bytes(length) + rest), ERANGE);
    EXPECT_EQ(variable.getName(), "old") << length;
    EXPECT_EQ(variable.getMinValue(), 10) << length;
    EXPECT_EQ(variable.getMaxValue(), 20) << length;
    EXPECT_EQ(variable.getValue(), 19) << length;
  }
}

TYPED_TEST(VariableRecord, WithAHugeNameLengthDoesNotAskForThatMuchMemory) {
  const MemoryFile file(bytes(0xFFFFFFFFu) + "abc");
  TypeParam variable = this->oldVariable();
  Reports reports;
  std::size_t requested = 0;
  int status = 0;
  {
    FailingNew memory;
    status = variable.load(file);
    requested = memory.largestRequest();
  }
  EXPECT_EQ(status, -1);
  EXPECT_LE(requested, 131072u);
}

TYPED_TEST(VariableRecord, WithAHugeNameLengthIsReadFromAStreamAsFarAsItGoes) {
  const FailingFile file(bytes(0xFFFFFFFFu) + "abc", 100, "r");
  TypeParam variable = this->oldVariable();
  Reports reports;
  std::size_t requested = 0;
  int status = 0;
  errno = ERANGE;
  {
    FailingNew memory;
    status = variable.load(file);
    requested = memory.largestRequest();
  }
  EXPECT_EQ(status, -1);
  EXPECT_LE(requested, 131072u);
  EXPECT_EQ(variable.getName(), "old");
  EXPECT_EQ(withoutLines(reports.takeErrors()), this->errnoReport("load", ERANGE));
}

TYPED_TEST(VariableRecord, MakesAVariable) {
  const MemoryFile file(this->record("abc", 2, 6));
  Reports reports;
  const TypeParam variable(file);
  EXPECT_EQ(variable.getName(), "abc");
  EXPECT_EQ(variable.getMinValue(), 2);
  EXPECT_EQ(variable.getMaxValue(), 6);
  EXPECT_EQ(variable.getValue(), 4);
  EXPECT_EQ(reports.errors(), messages({}));
}

TYPED_TEST(VariableRecord, CutAtAnyByteMakesAVariableOfWhatIsThere) {
  const std::string record = this->record("abc", 1, 4);
  for (std::size_t cut = 0; cut < record.size(); ++cut) {
    Reports reports;
    errno = ERANGE;
    const TypeParam variable{static_cast<FILE*>(MemoryFile(record.substr(0, cut)))};
    EXPECT_EQ(withoutLines(reports.takeErrors()), this->errnoReport("load", ERANGE)) << cut;
    const int field = this->fieldOf(cut);
    EXPECT_EQ(variable.getName(), field > 1 ? "abc" : "") << cut;
    EXPECT_EQ(variable.getMinValue(), field > 2 ? 1 : 0) << cut;
    EXPECT_EQ(variable.getMaxValue(), 0) << cut;
    EXPECT_EQ(variable.getValue(), 0) << cut;
  }
}

TYPED_TEST(VariableRecord, OfADerivedClassIsReadByTheClassItself) {
  struct Derived : TypeParam {
    explicit Derived(FILE* file) : TypeParam(file) {}
    const int load(FILE*) override { return 5; }
  };
  const MemoryFile file(this->record("abc", 1, 4));
  EXPECT_EQ(Derived(file).getName(), "abc");
}

TYPED_TEST(VariableRecord, IsSavedAndLoadedThroughTheBase) {
  TypeParam variable("abc", 1, 4);
  VarValues& base = variable;
  const MemoryFile file;
  EXPECT_EQ(base.save(file), 0);
  EXPECT_EQ(file.content(), this->record("abc", 1, 4));
  file.rewind();
  variable.setMinValue(0);
  EXPECT_EQ(base.load(file), 0);
  EXPECT_EQ(variable.getMinValue(), 1);
}

TYPED_TEST(VariableRecord, NeedsAFile) {
  TypeParam variable = this->oldVariable();
  Reports reports;
  errno = EBADF;
  EXPECT_EQ(variable.save(nullptr), -1);
  EXPECT_EQ(withoutLines(reports.takeErrors()), this->errnoReport("save", EBADF));
  this->load(variable, nullptr, EBADF);
  EXPECT_EQ(variable.getName(), "old");
}
